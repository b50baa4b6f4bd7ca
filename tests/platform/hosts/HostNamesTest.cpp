// Which host names are displayed decoded, by language.
#include "platform/hosts/HostNames.h"

#include <gtest/gtest.h>

namespace {

using Tessel::Platform::idnToReadableUtf8String;

TEST(HostNamesTest, ANameIsDecodedForThoseWhoReadItsScriptAndNotWhenItMisleads) {
  const struct {
    const char* host;
    const char* language;
    const char* shown;
  } rows[] = {
      {"example.org", "de", "example.org"},
      {"xn--bcher-kva.example", "de", "bücher.example"},
      {"xn--bcher-kva.example", "ja_JP", "bücher.example"},
      {"a.xn--bcher-kva.example.", "en_US", "a.bücher.example."},
      {"XN--BCHER-KVA.example", "", "bücher.example"},
      {"xn--ble-xla.example", "da", "æble.example"},
      // Mixed scripts: "apple" with a Cyrillic letter.
      {"xn--pple-43d.com", "en_US", "xn--pple-43d.com"},
      {"xn--pple-43d.com", "ru", "xn--pple-43d.com"},
      {"аpple.com", "ru", "xn--pple-43d.com"},
      // A single script, with only letters that look like Latin ones.
      {"xn--80ak6aa92e.com", "ru_RU", "xn--80ak6aa92e.com"},
      {"xn--e1afmkfd.com", "ru_RU", "пример.com"},
      {"xn--e1afmkfd.com", "de_DE", "xn--e1afmkfd.com"},
      {"xn--e1afmkfd.xn--p1ai", "uk", "пример.рф"},
      {"xn--r8jz45g.jp", "ja", "例え.jp"},
      {"xn--r8jz45g.jp", "zz,ja", "xn--r8jz45g.jp"},
      // Invalid, or not host names.
      {"xn--a.com", "de", "xn--a.com"},
      {"xn--", "de", "xn--"},
      {"", "de", ""},
      {"[::1]", "de", "[::1]"},
  };
  for (const auto& [host, language, shown] : rows) {
    EXPECT_EQ(idnToReadableUtf8String(host, language).toStdString(), shown)
        << host << " for " << language;
  }
}

}  // namespace

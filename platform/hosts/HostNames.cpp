// Host names for display.
#include "platform/hosts/HostNames.h"

#include <unicode/uidna.h>
#include <unicode/uniset.h>
#include <unicode/uspoof.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Platform {

namespace {

using Checker = std::unique_ptr<USpoofChecker, decltype(&uspoof_close)>;
using Converter = std::unique_ptr<UIDNA, decltype(&uidna_close)>;

// Bytes. A DNS name has at most 253; decoded it may have more.
constexpr std::size_t longestName = 1024;
using Buffer = std::array<char, longestName>;

bool isPlain(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Shared: immutable after creation.
const UIDNA* converter() {
  static const Converter shared = [] {
    UErrorCode status = U_ZERO_ERROR;
    return Converter(
        uidna_openUTS46(UIDNA_USE_STD3_RULES | UIDNA_CHECK_BIDI | UIDNA_CHECK_CONTEXTJ |
                            UIDNA_NONTRANSITIONAL_TO_ASCII | UIDNA_NONTRANSITIONAL_TO_UNICODE,
                        &status),
        uidna_close);
  }();
  return shared.get();
}

// Empty for an invalid name or label.
std::string converted(std::string_view text,
                      int32_t (*convert)(const UIDNA*, const char*, int32_t, char*, int32_t,
                                         UIDNAInfo*, UErrorCode*)) {
  Buffer out;
  UIDNAInfo info = UIDNA_INFO_INITIALIZER;
  UErrorCode status = U_ZERO_ERROR;
  if (!converter()) return {};
  const int32_t size = convert(converter(), text.data(), static_cast<int32_t>(text.size()),
                               out.data(), static_cast<int32_t>(out.size()), &info, &status);
  if (U_FAILURE(status) || info.errors != 0 || size > static_cast<int32_t>(out.size())) return {};
  return std::string(out.data(), static_cast<std::size_t>(size));
}

// The scripts of the language, and Latin.
Checker checkerFor(std::string_view language) {
  const bool isLanguage =
      language.size() <= 64 && std::all_of(language.begin(), language.end(), [](char c) {
        return c == '-' || c == '_' || (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') ||
               (c >= 'a' && c <= 'z');
      });
  const std::string locales = isLanguage ? std::string(language) + ",en" : "en";
  UErrorCode status = U_ZERO_ERROR;
  Checker checker(uspoof_open(&status), uspoof_close);
  uspoof_setChecks(checker.get(), USPOOF_ALL_CHECKS & ~USPOOF_CONFUSABLE, &status);
  uspoof_setRestrictionLevel(checker.get(), USPOOF_HIGHLY_RESTRICTIVE);
  uspoof_setAllowedLocales(checker.get(), locales.c_str(), &status);
  // The characters of those scripts that are recommended for identifiers.
  const icu::UnicodeSet* const ofScripts = uspoof_getAllowedUnicodeSet(checker.get(), &status);
  const icu::UnicodeSet* const inUse = uspoof_getRecommendedUnicodeSet(&status);
  const icu::UnicodeSet* const within = uspoof_getInclusionUnicodeSet(&status);
  if (U_FAILURE(status)) return Checker(nullptr, uspoof_close);
  // Built anew: a copy of a frozen set cannot be modified.
  icu::UnicodeSet allowed;
  allowed.addAll(*inUse).addAll(*within).retainAll(*ofScripts);
  uspoof_setAllowedUnicodeSet(checker.get(), &allowed, &status);
  return U_SUCCESS(status) ? std::move(checker) : Checker(nullptr, uspoof_close);
}

// Whether the label is confusable with an ASCII one. Ligatures do not count as such.
bool looksPlain(const USpoofChecker* checker, std::string_view label) {
  for (const std::string_view ligature : {"æ", "œ"}) {
    if (label.find(ligature) != std::string_view::npos) return false;
  }
  Buffer skeleton;
  UErrorCode status = U_ZERO_ERROR;
  const int32_t size =
      uspoof_getSkeletonUTF8(checker, 0, label.data(), static_cast<int32_t>(label.size()),
                             skeleton.data(), static_cast<int32_t>(skeleton.size()), &status);
  // On failure it counts as confusable.
  if (U_FAILURE(status) || size > static_cast<int32_t>(skeleton.size())) return true;
  return isPlain({skeleton.data(), static_cast<std::size_t>(size)});
}

bool isSafe(const USpoofChecker* checker, std::string_view label, bool isUnderPlainDomain) {
  UErrorCode status = U_ZERO_ERROR;
  const int32_t found =
      uspoof_checkUTF8(checker, label.data(), static_cast<int32_t>(label.size()), nullptr, &status);
  return U_SUCCESS(status) && found == 0 && !(isUnderPlainDomain && looksPlain(checker, label));
}

std::vector<std::string_view> labelsOf(std::string_view name) {
  std::vector<std::string_view> labels;
  for (std::size_t dot = 0; dot != std::string_view::npos; name.remove_prefix(dot + 1)) {
    dot = name.find('.');
    labels.push_back(name.substr(0, dot));
    if (dot == std::string_view::npos) break;
  }
  return labels;
}

}  // namespace

String idnToReadableUtf8String(const String& host, const String& language) {
  const std::string_view name = host.view();
  // Fast path: nothing to decode.
  if (isPlain(name) && name.find("xn--") == std::string_view::npos &&
      name.find("XN--") == std::string_view::npos) {
    return host;
  }
  if (name.size() > longestName) return host;
  const std::string decoded = converted(name, uidna_nameToUnicodeUTF8);
  if (decoded.empty()) return host;
  const Checker checker = checkerFor(language.view());
  const auto labels = labelsOf(decoded);
  std::string_view top = labels.back();
  if (top.empty() && labels.size() > 1) top = labels[labels.size() - 2];
  std::string readable;
  for (const std::string_view label : labels) {
    if (!readable.empty() || label.data() != decoded.data()) readable += '.';
    const bool isShown = isPlain(label) || (checker && isSafe(checker.get(), label, isPlain(top)));
    readable += isShown ? std::string(label) : converted(label, uidna_labelToASCII_UTF8);
  }
  return String(std::move(readable));
}

}  // namespace Tessel::Platform

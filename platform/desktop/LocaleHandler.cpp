// The user's language and region. Main thread.
#include "platform/desktop/LocaleHandler.h"

#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <string_view>

namespace Tessel::Platform {

namespace {

constexpr const char* fallback = "en_US";
using Lookup = std::function<std::string(const char* name)>;

// Strips what follows the region in "de_AT.UTF-8@euro". Empty for no language.
std::string plain(const std::string& locale) {
  std::string text = locale.substr(0, locale.find_first_of(".@"));
  return text == "C" || text == "POSIX" ? std::string() : text;
}

// The first variable that is set counts, as in the C library.
String firstOf(const Lookup& lookup, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    const std::string value = lookup(name);
    if (value.empty()) continue;
    std::string locale = plain(value);
    return locale.empty() ? String(fallback) : String(std::move(locale));
  }
  return fallback;
}

String languageFrom(const Lookup& lookup) {
  return firstOf(lookup, {"LC_ALL", "LC_MESSAGES", "LANG"});
}
String regionFrom(const Lookup& lookup) {
  return firstOf(lookup, {"LC_ALL", "LC_TIME", "LANG"});
}

std::string fromEnvironment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

}  // namespace

LocaleHandler& LocaleHandler::instance() {
  static auto* handler = new LocaleHandler;
  return *handler;
}

LocaleHandler::LocaleHandler()
    : language_(languageFrom(fromEnvironment)), region_(regionFrom(fromEnvironment)) {}

void LocaleHandler::onLanguageChange(const String& language) {
  if (language == language_) return;
  language_ = language;
  listeners_.forEach([&](LocaleListener& listener) { listener.onLanguageChange(language); });
}

void LocaleHandler::onRegionChange(const String& region) {
  if (region == region_) return;
  region_ = region;
  listeners_.forEach([&](LocaleListener& listener) { listener.onRegionChange(region); });
}

void LocaleHandler::takeSettings(const std::vector<std::string>& settings) {
  const Lookup lookup = [&](const char* name) {
    const std::string start = std::string(name) + "=";
    for (const std::string& setting : settings) {
      if (setting.starts_with(start)) return setting.substr(start.size());
    }
    return std::string();
  };
  onLanguageChange(languageFrom(lookup));
  onRegionChange(regionFrom(lookup));
}

}  // namespace Tessel::Platform

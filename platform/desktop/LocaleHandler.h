// The language and the region of the user: from the environment, and from the system's locale
// service once that tells of a change. Main thread.
#pragma once

#include "platform/base/ListenerList.h"
#include "platform/desktop/Listeners.h"

#include <string>
#include <vector>

namespace Tessel::Platform {

class LocaleHandler final : public LocaleListener {
 public:
  // Created on first use; never destroyed.
  static LocaleHandler& instance();

  // Such as "de_AT", without an encoding; "en_US" where the environment names none.
  const String& language() const { return language_; }
  const String& region() const { return region_; }

  // Not owned.
  void addListener(LocaleListener* listener) { listeners_.add(listener); }
  void removeListener(LocaleListener* listener) { listeners_.remove(listener); }

  // Takes the value over and tells the listeners; what it was already is no change.
  void onLanguageChange(const String& language) override;
  void onRegionChange(const String& region) override;

  // What the locale service says: settings such as "LANG=de_AT.UTF-8".
  void takeSettings(const std::vector<std::string>& settings);

 private:
  LocaleHandler();

  String language_;
  String region_;
  ListenerList<LocaleListener> listeners_;
};

}  // namespace Tessel::Platform

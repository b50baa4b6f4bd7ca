// The user's language and region: from the environment, and from the system's locale service once
// it reports a change. Main thread.
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

  // Such as "de_AT", without an encoding; "en_US" if the environment sets none.
  const String& language() const { return language_; }
  const String& region() const { return region_; }

  // Not owned.
  void addListener(LocaleListener* listener) { listeners_.add(listener); }
  void removeListener(LocaleListener* listener) { listeners_.remove(listener); }

  // Stores the value and notifies the listeners if it has changed.
  void onLanguageChange(const String& language) override;
  void onRegionChange(const String& region) override;

  // Applies the locale service's settings, such as "LANG=de_AT.UTF-8".
  void takeSettings(const std::vector<std::string>& settings);

 private:
  LocaleHandler();

  String language_;
  String region_;
  ListenerList<LocaleListener> listeners_;
};

}  // namespace Tessel::Platform

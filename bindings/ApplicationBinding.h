// The application.* functions, and notifications of the chrome about its environment. UI thread.
#pragma once

#include "platform/desktop/Listeners.h"
#include "platform/loop/GuardedPointer.h"

class WebView;

class ApplicationBinding final : public Tessel::Platform::NavigatorListener,
                                 public Tessel::Platform::LocaleListener,
                                 public Tessel::Platform::FontInfoListener {
 public:
  using String = Tessel::Platform::String;
  // Sets the keyboard focus of the application window's group.
  using SetKeyboardFocus = void (*)(int value);

  // Registers the functions, listens from now on, and calls chrome.internal.application of that web
  // view; what happens while it is null or gone is dropped. One per process.
  ApplicationBinding(WebView* root, SetKeyboardFocus setKeyboardFocus);
  ~ApplicationBinding() override;
  ApplicationBinding(const ApplicationBinding&) = delete;
  ApplicationBinding& operator=(const ApplicationBinding&) = delete;

  bool onRotateCheck(const String& orientation, const String& degrees) override;
  void onLanguageChange(const String& language) override;
  void onRegionChange(const String& region) override;
  void onFontInfoChange(const String& family, float points) override;
#define APPLICATION_NOTIFICATION(name, Result, parameters, arguments, text) \
  Result name parameters override;
#include "platform/desktop/Notifications.def"

 private:
  Tessel::Platform::GuardedPointer<WebView> root_;
};

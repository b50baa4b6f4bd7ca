// The program's web view: an OrvWebView with a handle, whose events go to the chrome or, for the
// page that may call native functions, to the binding registry. UI thread.
#pragma once

#include "engine/OrvWebView.h"
#include "platform/graphics/Window.h"
#include "platform/loop/GuardedPointer.h"
#include "registry/Capabilities.h"
#include "webview/events/EventForwarding.h"

#include <array>
#include <chrono>
#include <optional>
#include <string>

class WebView : public OrvWebView,
                public Tessel::Platform::GuardedPointerBase,
                protected EventSink {
 public:
  using String = OrvWebView::String;
  // The handle of the child window with that identifier, 0 when there is none.
  using WindowLookup = int (*)(const std::string& identifier);

  // Raises nothing but Created until more is enabled.
  WebView(unsigned int handle, String windowGroup);
  ~WebView() override;

  unsigned int handle() const { return handle_; }
  const String& windowGroup() const { return windowGroup_; }

  // What the process was started with, as a JSON array of strings, the program's name first.
  void setArguments(int count, char** arguments);
  String arguments() const { return arguments_; }

  // Whether calls of native functions go to the registry or, as events, to the chrome. Either way
  // the page can make them from now on.
  void enableNativeBindings(bool enabled);
  // Which origins may call which of them: those that the page shows because the program has loaded
  // them, and those that are named.
  void setCapabilities(Capabilities capabilities);

  // The members of a JSON object become extra headers of all requests. A number, true, false and
  // null count as their JSON; a list or an object is left out, and so is what no header can be. Of
  // names that differ by their case only, the last counts. False, and an error is reported, for
  // anything but a JSON object.
  bool setExtraHttpHeaders(const String& json);
  // The headers in force as a JSON object.
  String extraHttpHeaders() const;

  // A coloured window over the page, transparent at first. The result is its platform handle, 0
  // when there was no room for it; one that is there already stays as it is.
  int createFadeColorWindow(int x, int y, int width, int height, int zOrder);
  void destroyFadeColorWindow();
  int fadeColorWindowPlatformHandle() const;
  void setFadeColorWindowRect(int x, int y, int width, int height);
  // The colour of the next one. The second and third value change places on their way: chromes
  // rely on it.
  void setFadeWindowColor(int first, int second, int third, int fourth);

  void setGeometry(int x, int y, int width, int height);
  void setLayerTilerPrefillRect(int x, int y, int width, int height);
  std::vector<OrvWebHistoryItem> getHistoryList() { return historyList(); }
  // A host name as a reader of the language can read it without being misled; "" means the user's
  // language.
  String convertIDNtoReadableStringByLanguage(const String& host, const String& language) const;
  void cancelVibration();
  // Fixed: the zoom of a page is its scale.
  int zoomFactor() const { return 1; }
  void setZoomFactor(int) {}
  String eventNames() const;
  // How the chrome sees the web view's window, 0 when it has none.
  int screenWindowHandle() const;
  static void installWindowLookup(WindowLookup lookup);
  // The same for any web view's window, also one of another process.
  static int lookUpWindow(const String& uniqueId);

  // The text as it is, without a line break.
  void printToStdout(const String& text);
  void printToStderr(const String& text);
  void log(const String& text);

  // Whether the page's process has answered within that time; true also while there is none, which
  // starts again by itself. Asks it again. Call it once before its answer counts.
  bool isAliveSince(std::chrono::steady_clock::duration time);
  // With which the program ends when the chrome's process ends again and again: for a supervisor.
  static constexpr int chromeFailedStatus = 3;

 protected:
  void handleWebEvent(OrvWebEvent* event) override;

 private:
  void callNativeFunction(OrvWebJavaScriptCallbackEvent& call);
  void navigationRefused(const String& url) override;
  void gaveUp() override;
  void alive() override { lastAlive_ = std::chrono::steady_clock::now(); }
  void post(EventType event, const String& data) override;
  String send(EventType event, const String& data) override;

  const unsigned int handle_;
  bool nativeBindingsEnabled_ = false;
  Capabilities capabilities_;
  String arguments_;
  const String windowGroup_;
  Tessel::Platform::Graphics::Window* fadeWindow_ = nullptr;
  std::array<std::uint8_t, 4> fadeColor_{0, 0, 0, 255};
  std::optional<std::chrono::steady_clock::time_point>
      lastAlive_;  // none while there was no process
};

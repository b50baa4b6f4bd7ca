// The program's web view: an OrvWebView with a handle. Its events go to the chrome; native calls of
// a page with bindings go to the binding registry. UI thread.
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
  // The handle of the child window with that identifier, 0 if there is none.
  using WindowLookup = int (*)(const std::string& identifier);

  // Only Created is enabled initially.
  WebView(unsigned int handle, String windowGroup);
  ~WebView() override;

  unsigned int handle() const { return handle_; }
  const String& windowGroup() const { return windowGroup_; }

  // The command line of the process, as a JSON array of strings, program name first.
  void setArguments(int count, char** arguments);
  String arguments() const { return arguments_; }

  // Whether native calls go to the registry or, as events, to the chrome. Either way the page can
  // make them from now on.
  void enableNativeBindings(bool enabled);
  // See PageClient::makeOwnWindow.
  void setOwnWindow() { isOwn_ = true; }
  // Sets which origins may call which functions: those that the page shows because the program has
  // loaded them, and the named ones.
  void setCapabilities(Capabilities capabilities);

  // Sets extra headers of all requests from the members of a JSON object. Numbers, true, false and
  // null are converted to their JSON text; arrays, objects and invalid headers are skipped. Names
  // are case-insensitive: the last one wins. False, and an error is reported, for anything but a
  // JSON object.
  bool setExtraHttpHeaders(const String& json);
  // The current extra headers as a JSON object.
  String extraHttpHeaders() const;

  // Creates a coloured window over the page, initially transparent. Returns its platform handle, 0
  // if it could not be created; an existing one is left unchanged.
  int createFadeColorWindow(int x, int y, int width, int height, int zOrder);
  void destroyFadeColorWindow();
  int fadeColorWindowPlatformHandle() const;
  void setFadeColorWindowRect(int x, int y, int width, int height);
  // Sets the colour of the next one. The second and third component are swapped: chromes rely on
  // it.
  void setFadeWindowColor(int first, int second, int third, int fourth);

  void setGeometry(int x, int y, int width, int height);
  void setLayerTilerPrefillRect(int x, int y, int width, int height);
  std::vector<OrvWebHistoryItem> getHistoryList() { return historyList(); }
  // The host name in the form that is safe to display to a reader of the language; "" means the
  // user's language.
  String convertIDNtoReadableStringByLanguage(const String& host, const String& language) const;
  void cancelVibration();
  // Fixed: a page is zoomed by its scale.
  int zoomFactor() const { return 1; }
  void setZoomFactor(int) {}
  String eventNames() const;
  // The chrome's handle of the web view's window, 0 if it has none.
  int screenWindowHandle() const;
  static void installWindowLookup(WindowLookup lookup);
  // As screenWindowHandle for the window of any web view, also one of another process.
  static int lookUpWindow(const String& uniqueId);

  // Prints the text unchanged, without a line break.
  void printToStdout(const String& text);
  void printToStderr(const String& text);
  void log(const String& text);

  // Whether the page's process has answered within that time; true also while there is none, which
  // starts again by itself. Asks it again. Call it once before its answer counts.
  bool isAliveSince(std::chrono::steady_clock::duration time);
  bool isOwnWindow() const override { return isOwn_; }
  // With which the program ends when the chrome's process ends again and again: for a supervisor.
  static constexpr int chromeFailedStatus = 3;

 protected:
  void handleWebEvent(OrvWebEvent* event) override;

 private:
  void callNativeFunction(OrvWebJavaScriptCallbackEvent& call);
  OrvWebView* makeOwnWindow() override;
  void navigationRefused(const String& url) override;
  void drivingProcessEnded() override;
  void drivingDocumentLoaded() override;
  void gaveUp() override;
  void problem(const String& text) override;
  void alive() override { lastAlive_ = std::chrono::steady_clock::now(); }
  void retryScheduled(const OrvWebRetry& retry) override;
  void memoryExceeded(const OrvWebMemoryExcess& excess) override;
  void processStarted(int pid) override;
  void post(EventType event, const String& data) override;
  String send(EventType event, const String& data) override;

  const unsigned int handle_;
  bool nativeBindingsEnabled_ = false;
  bool isOwn_ = false;
  Capabilities capabilities_;
  String arguments_;
  const String windowGroup_;
  Tessel::Platform::Graphics::Window* fadeWindow_ = nullptr;
  std::array<std::uint8_t, 4> fadeColor_{0, 0, 0, 255};
  std::optional<std::chrono::steady_clock::time_point>
      lastAlive_;  // none while there was no process
};

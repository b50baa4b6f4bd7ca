// A web view: one page with its window, its settings and its event mask. UI thread, but for
// executeJavaScriptFunction and executeJavaScriptFunctionSync, which any thread may call while
// it keeps the web view from being deleted.
#pragma once

#include "engine/Enumerations.h"
#include "engine/Page.h"
#include "engine/Records.h"
#include "engine/WebViewSettings.h"
#include "platform/GuardedPointer.h"
#include "platform/graphics/Window.h"

#include <bitset>
#include <memory>
#include <set>
#include <utility>
#include <vector>

class OrvWebView : private PageClient {
 public:
  using String = Tessel::Platform::String;
  using Type = OrvWebEvent::Type;
  using Property = OrvWebPropertyChangedEvent::Property;

  OrvWebView();
  ~OrvWebView() override;
  OrvWebView(const OrvWebView&) = delete;
  OrvWebView& operator=(const OrvWebView&) = delete;

  // Joins the window group and makes the page; Created follows from the main loop. False when
  // there is no such group or no engine. The rotation is the screen's and is kept.
  bool initialize(const String& windowGroup, int rotation);
  // Ends the page; Destroyed follows from the main loop. The object stays until it is deleted.
  void destroy();

  // Which events are raised. All are when the web view is made; a disabled one costs nothing.
  void setWebEventEnabled(Type type, bool enabled) { webEvents_.set(size_t(type), enabled); }
  bool isWebEventEnabled(Type type) const { return webEvents_.test(size_t(type)); }
  void setAllWebEventsEnabled(bool enabled) { enabled ? webEvents_.set() : webEvents_.reset(); }
  bool isAllWebEventsEnabled() const { return webEvents_.all(); }
  bool isAnyWebEventsEnabled() const { return webEvents_.any(); }
  // A property change is raised when both the property and the PropertyChanged event are enabled.
  void setPropertyChangedEventEnabled(Property property, bool enabled) {
    properties_.set(size_t(property), enabled);
  }
  bool isPropertyChangedEventEnabled(Property property) const {
    return properties_.test(size_t(property));
  }
  void setAllPropertyChangedEventsEnabled(bool enabled) {
    enabled ? properties_.set() : properties_.reset();
  }
  bool isAllPropertyChangedEventsEnabled() const { return properties_.all(); }
  bool isAnyPropertyChangedEventsEnabled() const { return properties_.any(); }

  void loadURL(const String& url);
  void loadString(const String& text, const String& mimeType);
  void loadStringWithBase(const String& text, const String& baseURL, const String& mimeType);
  void reload();
  void stop();
  void goBack();
  void goForward();
  std::vector<OrvWebHistoryItem> historyList();

#define STATE(type, getter, start, property) \
  type getter() const {                      \
    return pageState_.getter;                \
  }
#include "engine/PageState.def"
#undef STATE

#define SETTING(type, getter, setter, start, property)                        \
  type getter() const {                                                       \
    return settings_.getter;                                                  \
  }                                                                           \
  void setter(type value) {                                                   \
    changeSetting(settings_.getter, std::move(value), WebViewSetting::getter, \
                  OrvWebPropertyChangedEvent::property);                      \
  }
#include "engine/WebViewSettings.def"
#undef SETTING

  // The place of the web view in its window group, and how it is shown there.
  void setViewport(const OrvWebRect& rect);
  OrvWebRect viewport() const;
  void setVisible(bool visible);
  bool isVisible() const {
    return visible_;
  }
  void setZOrder(int zOrder);
  int zOrder() const {
    return zOrder_;
  }
  // Gives the page the keyboard of its window, or only remembers that it is to have it no more.
  void setActive(bool active);
  bool isActive() const {
    return active_;
  }
  String applicationWindowGroup() const {
    return windowGroup_;
  }
  // Names the web view's window; empty before initialize.
  String windowUniqueId() const {
    return window_ ? window_->identifier() : String();
  }

  // The headers that are added to every request of the page from now on.
  void setCustomHTTPHeaders(const OrvWebHeader* headers, unsigned int count);
  // Whether the page may call native functions; from its next document on.
  void enableOrvJavaScriptObject(bool enabled);
  bool isOrvJavaScriptObjectEnabled() const {
    return callbackObjectEnabled_;
  }
  // This is the page that drives the application; see Page::setDrivesApplication. Call it after
  // initialize and before the first load.
  void setDrivesApplication(const String& loadFailureHint);

  // Runs a script; the result is an id, under which JavaScriptResult brings the value.
  String executeJavaScript(const String& script, OrvWebJavaScriptWorld world);
  // Calls a function of the page by its path from the global object: posted, or waited for (see
  // Page::callFunction for what ends the wait). The posted form gives an id, under which
  // JavaScriptFunctionResult brings the value; the empty text where that event is not enabled.
  String executeJavaScriptFunction(const std::vector<String>& path,
                                   const std::vector<JavaScriptVariant>& arguments);
  JavaScriptVariant executeJavaScriptFunctionSync(const std::vector<String>& path,
                                                  const std::vector<JavaScriptVariant>& arguments);

  // FindString tells what was found. The empty text ends the search.
  void findString(const String& text, bool forward, bool caseSensitive, bool wrap,
                  bool highlightAll);

  // Answers to questions that an event was told to leave open (setWait), by the number that the
  // event carried. Numbers that are not open any more are ignored.
  void dialogResponse(unsigned int number, bool accepted, const String& result,
                      const String& username, const String& password);
  // Paths, each in a line of its own; none cancels.
  void chooseFileResponse(unsigned int number, const String& files);
  // "granted", "denied" or, for anything else, to be asked.
  void notificationPermissionCheckResponse(unsigned int number, const String& state);
  // Any text names a device and grants; none refuses.
  void setAllowUserMedia(unsigned int number, const String& device);
  void setAllowGeolocation(const String& origin, bool allowed);
  void setAllowNotification(const String& origin, bool allowed);
  // The window that a page opens is shown by that web view, which must not have loaded anything;
  // null opens none.
  void openWindowResponse(unsigned int number, OrvWebView* popup);
  // The web view that shows the next window the page opens, if nothing else is answered.
  void setPopupWebView(OrvWebView* popup);

  // Downloads an address into a file; an empty name leaves it to DownloadRequest. The size is what
  // the caller expects and is not needed here.
  void downloadUrl(const String& url, const String& filename, unsigned long long size);
  void downloadCancel(unsigned int id) {
    stepDownload(id, DownloadStep::Cancel);
  }
  void downloadPause(unsigned int id) {
    stepDownload(id, DownloadStep::Pause);
  }
  void downloadResume(unsigned int id) {
    stepDownload(id, DownloadStep::Resume);
  }
  void downloadRetry(unsigned int id) {
    stepDownload(id, DownloadStep::Retry);
  }
  void downloadRemove(unsigned int id) {
    stepDownload(id, DownloadStep::Remove);
  }
  // Decides about a download that was left pending.
  void downloadUpdate(unsigned int id, OrvWebDownloadAction action, const String& filename);

 protected:
  // Every event that is enabled arrives here. The override calls eventHandled when it is done.
  virtual void handleWebEvent(OrvWebEvent* event) {
    eventHandled(event);
  }
  void eventHandled(OrvWebEvent* event) {
    static_cast<void>(event);
  }

 private:
  // Events that must not be raised inside the call that causes them come from the main loop, and
  // do not come when the web view is gone by then.
  class Later;

  const WebViewSettings& settings() const override {
    return settings_;
  }
  bool wants(Type type) const override {
    return isWebEventEnabled(type);
  }
  void raise(OrvWebEvent& event) override;
  void raisePropertyChanged(Property property) override;
  void raiseLater(Type type);
  void stepDownload(unsigned int id, DownloadStep step);
  OrvWebView* popupView() override;
  std::shared_ptr<Page> pageOf(OrvWebView* view) override;
  // Empty before initialize. A copy, so that the page lives through whatever it is asked.
  std::shared_ptr<Page> page() const {
    return page_;
  }

  template <typename Value>
  void changeSetting(Value& stored, Value value, WebViewSetting setting, Property property) {
    if (stored == value) return;
    stored = std::move(value);
    if (page_) page_->settingChanged(setting);
    if (property != OrvWebPropertyChangedEvent::PropertyMax) raisePropertyChanged(property);
  }

  std::bitset<OrvWebEvent::typeCount> webEvents_;
  std::bitset<OrvWebPropertyChangedEvent::propertyCount> properties_;
  WebViewSettings settings_;
  String windowGroup_;
  OrvWebRect viewport_;
  bool visible_ = true;
  int zOrder_ = 0;
  bool active_ = false;
  bool callbackObjectEnabled_ = true;
  bool destroyed_ = false;
  OrvWebView* popup_ = nullptr;    // shows the next window that the page opens
  std::set<OrvWebView*> openers_;  // whose next window this one shows
  std::vector<OrvWebHeader> headers_;
  std::unique_ptr<Later> later_;
  std::unique_ptr<Tessel::Platform::Graphics::Window> window_;
  std::shared_ptr<Page> page_;
};

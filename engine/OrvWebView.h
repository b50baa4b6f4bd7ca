// A web view: one page with its window, its settings and its event mask. UI thread, but for
// executeJavaScriptFunction and executeJavaScriptFunctionSync, which any thread may call while
// it keeps the web view from being deleted.
#pragma once

#include "engine/Enumerations.h"
#include "engine/Page.h"
#include "engine/Records.h"
#include "engine/SecurityRecords.h"
#include "engine/WebViewSettings.h"
#include "platform/graphics/Window.h"
#include "platform/loop/GuardedPointer.h"
#include "platform/sockets/SendBounds.h"

#include <bitset>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

class OrvWebView : private PageClient {
 public:
  using String = Tessel::Platform::String;
  using Type = OrvWebEvent::Type;
  using Property = OrvWebPropertyChangedEvent::Property;

  // Bytes of all texts of one call of a page's function: what is larger is not sent.
  static constexpr std::size_t largestCall =
      Tessel::Platform::largestMessage - Tessel::Platform::SendBounds::smallMessage;

  OrvWebView();
  ~OrvWebView() override;
  OrvWebView(const OrvWebView&) = delete;
  OrvWebView& operator=(const OrvWebView&) = delete;

  // Joins the window group and makes the page; Created follows from the main loop. False when
  // there is no such group or no engine. The rotation is the screen's and is kept.
  bool initialize(const String& windowGroup, int rotation);
  // Ends the page; Destroyed follows from the main loop. The object stays until it is deleted.
  void destroy();
  bool isDestroyed() const { return destroyed_; }

  // Which events are raised. All are when the web view is made; a disabled one costs nothing.
  void setWebEventEnabled(Type type, bool enabled);
  bool isWebEventEnabled(Type type) const { return webEvents_.test(size_t(type)); }
  void setAllWebEventsEnabled(bool enabled);
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

  // Property changes are queued while there are more locks than unlocks; each queued property is
  // reported once, in order, at the last unlock.
  void lockProperties() { ++propertyLocks_; }
  void unlockProperties();

  void loadURL(const String& url);
  // A file of this machine, by its path. The second text is not needed here.
  void loadFile(const String& path, const String&);
  void loadString(const String& text, const String& mimeType);
  void loadStringWithBase(const String& text, const String& baseURL, const String& mimeType);
  void reload();
  void stop();
  // See Page::setAutoReload and Page::endProcess. With a number of bytes the program's memory has
  // exceeded that limit, of which the page's process takes the second number.
  void setAutoReload(bool enabled);
  void endProcess(unsigned long long limit, unsigned long long taken);
  void goBack();
  void goForward();
  std::vector<OrvWebHistoryItem> historyList();
  void setHistoryPosition(int position);
  void clearHistory() { clearBackForwardList(true); }
  void clearBackForwardList(bool keepCurrent);
  // SessionInfo brings what restoreSession takes. The position is that of the entry to show.
  void requestSession();
  void restoreSession(const String& session, int position);
  // Ends the page if its document agrees; see destroy.
  void destroyIfNotRejectedByUser();

#define STATE(type, getter, start, property) \
  type getter() const {                      \
    return pageState_.getter;                \
  }
#include "engine/PageState.def"

#define SETTING(type, getter, setter, start, property)                        \
  type getter() const {                                                       \
    return settings_.getter;                                                  \
  }                                                                           \
  void setter(type value) {                                                   \
    if (!accepts(WebViewSetting::getter, value)) return;                      \
    changeSetting(settings_.getter, std::move(value), WebViewSetting::getter, \
                  OrvWebPropertyChangedEvent::property);                      \
  }
#include "engine/WebViewSettings.def"

  // The place of the web view in its window group, and how it is shown there.
  void setViewport(const OrvWebRect& rect);
  OrvWebRect viewport() const;
  // The engine's own certificates are not counted.
  OrvWebCertificateInfo certificateInfo() const {
    return {};
  }
  // CurrentContext is reported whether it has changed or not.
  void requestCurrentContextUpdate() {
    act(PageAction::describe);
  }
  // There are no plug-ins, and nothing swipes in from the edge of a screen.
  bool isPluginFullScreen() const {
    return false;
  }
  bool applicationSwipeInEvent() const {
    return false;
  }
  void updateDisabledPluginFiles(const String&, bool) {}
  void clearWebFileSystem() {}
  // A desktop window does not rotate, the engine tells pages itself that a notification is shown,
  // and no menu is kept open that the chrome could cancel.
  void notifyApplicationOrientationDone() {}
  void notificationShown(const String&) {}
  void notifyContextMenuCancelled() {}

  // Puts a text into the field that FormAutofillRequestEvent was about.
  void autofillTextField(const String& text);
  // Forgets what was typed into forms, and the log-ins, of all pages.
  void clearAutofillData() {
    forget(AutofillData::Texts);
  }
  void clearCredentials() {
    forget(AutofillData::Logins);
  }
  // What proxies are answered from now on.
  void syncProxyCredential(const String& username, const String& password);
  void notifyOpen(unsigned int stream, int status, const String& message);
  void notifyHeaderReceived(unsigned int stream, const String& key, const String& value);
  // No more bytes than the data has.
  void notifyDataReceived(unsigned int stream, const String& data, unsigned int length);
  void notifyDone(unsigned int stream);
  void notificationError(const String& id) {
    notificationClosed(id);
  }
  // Only reports a move that was made elsewhere; the window has the new position.
  void notifyViewportChanged(const OrvWebRect&);
  void setVisible(bool visible);
  bool isVisible() const {
    return visible_;
  }
  void setZOrder(int zOrder);
  int zOrder() const {
    return zOrder_;
  }
  // Gives the page its window's keyboard focus, or only records that it shall not have it.
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
  const std::vector<OrvWebHeader>& customHTTPHeaders() const {
    return headers_;
  }
  // Whether the page may call native functions; from its next document on.
  void enableOrvJavaScriptObject(bool enabled);
  bool isOrvJavaScriptObjectEnabled() const {
    return callbackObjectEnabled_;
  }
  // Whether that is only for documents that the program has loaded; see Page::bindCallbackObject.
  void bindOrvJavaScriptObject(bool bound, std::vector<String> furtherOrigins);
  // This is the page that drives the application; see Page::setDrivesApplication. Call it after
  // initialize and before the first load.
  void setDrivesApplication(const String& loadFailureHint);
  // See Page::askWhetherAlive.
  bool askWhetherAlive();

  // Scrolls the document: in its own units, at once or animated.
  void setScrollPosition(const OrvWebPoint& position) {
    act(PageAction::scrollTo, {position.x, position.y});
  }
  void animateToDocumentScrollPosition(const OrvWebPoint& position) {
    act(PageAction::animateTo, {position.x, position.y});
  }
  void startAnimatedScroll(const OrvWebPoint& distance) {
    act(PageAction::animateBy, {distance.x, distance.y});
  }
  void stopAnimatedScroll() {
    act(PageAction::stopScrolling);
  }
  void scrollBy(int x, int y) {
    act(PageAction::scrollBy, {x, y});
  }
  // The scale becomes so many times what it is, within the limits; what is at the first point of
  // the view is at the second afterwards.
  void bitmapZoom(double factor, const OrvWebPoint& from, const OrvWebPoint& to);
  void animateZoomBy(double factor, const OrvWebPoint& center) {
    bitmapZoom(factor, center, center);
  }
  void animateToScaleAndDocumentScrollPosition(double scale, const OrvWebPoint& position);

  void clearFocus() {
    act(PageAction::clearFocus);
  }
  void focusNextField() {
    act(PageAction::focusNext);
  }
  void focusPreviousField() {
    act(PageAction::focusPrevious);
  }
  // Gives the page the keyboard, and its first or last control.
  void assignFocus(OrvWebFocusDirection direction);
  void submitForm() {
    act(PageAction::submitForm);
  }
  void fullScreenVideoExited(bool) {
    act(PageAction::exitFullScreen);
  }

  // CaptureContents brings a picture of a part of the document (all of it for an empty rectangle),
  // scaled by a factor and to fit into a size (unless that is empty).
  void captureContents(double scale, const OrvWebRect& part, const OrvWebSize& size);
  // TextAttributeQuery tells whether the text that would be typed now has it.
  void textHasAttribute(const String& name);
  // Does what an item of the last context menu says; some are the chrome's own.
  void handleContextMenuResponse(OrvWebContextMenuItem item);
  // What the second number of the function below means.
  enum InspectorNotice { FrontEndMessage = 0, FrontEndGone = 0, FrontEndCame = 1, ServerPort = 2 };
  // A message of an inspector's front end. An empty one tells that the front end has come or gone.
  // With ServerPort it is the new value of webInspectorPort, in decimal. InspectorMessage brings
  // what the engine's inspector has to say.
  void handleWebInspectorMessageToBackend(const String& message, int notice);
  // Raises AutomationLog.
  void automationLog(const String& message);

  // What pages left behind: of every page of the process, those of private web views apart.
  void clearBrowsingData() {
    clear(SiteData::Everything);
  }
  void clearCache() {
    clear(SiteData::Caches);
  }
  void clearCookies() {
    clear(SiteData::Cookies);
  }
  void clearDatabases() {
    clear(SiteData::Databases);
  }
  void clearLocalStorage() {
    clear(SiteData::LocalStorage);
  }
  void notifySystemLowMemory() {
    clear(SiteData::MemoryCache);
  }
  // CookieResult brings the cookies of an address.
  void getCookies(const String& url);
  void setCookies(const String& url, const std::vector<String>& cookies);

  // Scripts of the page may read that target origin, optionally with its subdomains. The source
  // origin is not used by this engine.
  void addOriginAccessWhitelistEntry(const String& source, const String& destination,
                                     bool subdomains);
  void removeOriginAccessWhitelistEntry(const String& source, const String& destination,
                                        bool subdomains);

  // The certificates that the user has accepted, by host: a page of that host loads with that
  // certificate and no other. Adding is false for a text that is no certificate, removing for one
  // that is not there.
  const SSLCertificateMap& knownSSLCertificates() const {
    return knownCertificates_;
  }
  SSLCertificateInfo knownSSLCertificate(const String& host) const;
  bool addKnownSSLCertificate(const String& host, const SSLCertificateInfo& certificate);
  bool addKnownSSLCertificates(const SSLCertificateMap& certificates);
  bool removeKnownSSLCertificate(const String& host, const SSLCertificateInfo& certificate);
  void removeAllKnownSSLCertificates();
  // Trusting accepts the certificate and loads the page again.
  void continueSSLHandshaking(unsigned int connection, OrvWebSSLCertificateAction action);
  // The certificate in words.
  std::vector<String> getSSLCertificateDetails(const SSLCertificateInfo& certificate) const;
  // The above hold no resources that would have to be freed.
  void cleanupSSLCertificateDetails(const std::vector<String>&) {}

  // What an origin may do is remembered, and told by UpdateGeolocationFilter.
  void updateGeolocationFilter(const String& origin, bool allowed);
  void removeGeolocationFilter(const String& origin);
  void updateNotificationPermission(const String& origin, bool allowed);
  void notificationClicked(const String& id);
  void notificationClosed(const String& id);

  // Runs a script; the result is an id, under which JavaScriptResult brings the value.
  String executeJavaScript(const String& script, OrvWebJavaScriptWorld world);
  // Runs a script in the page's world; the function is told its value as JSON. No event is raised.
  // Not called if the page is gone first.
  void evaluate(const String& script, ScriptDone done);
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

  // Answers to prompts that an event was told to leave open (setWait), by the number that the
  // event carried. Numbers that are not open any more are ignored.
  void dialogResponse(unsigned int number, bool accepted, const String& result,
                      const String& username, const String& password);
  // Paths, each in a line of its own; none cancels.
  void chooseFileResponse(unsigned int number, const String& files);
  // "granted", "denied" or, for anything else, to be asked.
  void notificationPermissionCheckResponse(unsigned int number, const String& state);
  // A device name grants the request; the empty text refuses it.
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
  OrvWebView* makeOwnWindow() override {
    return nullptr;
  }
  bool isOwnWindow() const override {
    return false;
  }
  void navigationRefused(const String&) override {}
  void drivingProcessEnded() override {}
  void drivingDocumentLoaded() override {}
  void gaveUp() override {}
  void problem(const String&) override {}
  void alive() override {}
  void retryScheduled(const OrvWebRetry&) override {}
  void memoryExceeded(const OrvWebMemoryExcess&) override {}
  void processStarted(int) override {}

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
  void closeAllowed() override {
    destroy();
  }
  const SSLCertificateMap& knownCertificates() const override {
    return knownCertificates_;
  }
  void acceptCertificate(const SSLCertificateInfo& certificate) override;
  std::optional<bool> decisionFor(PagePermission permission, const String& origin) const override;
  void raise(OrvWebEvent& event) override;
  void raisePropertyChanged(Property property) override;
  void raiseLater(Type type);
  void act(PageAction action, std::vector<JavaScriptVariant> arguments = {});
  void clear(SiteData data);
  void forget(AutofillData what);
  void scaleTo(double scale, const OrvWebPoint& scrollPosition);
  void settingStored(WebViewSetting setting);
  // False for an invalid value, which is reported to the chrome: the old one stays.
  template <typename Value>
  bool accepts(WebViewSetting, const Value&) {
    return true;
  }
  bool accepts(WebViewSetting setting, const String& value);
  void allowedOriginsChanged();
  void knownCertificatesChanged();
  void stepDownload(unsigned int id, DownloadStep step);
  OrvWebView* popupView() override;
  std::shared_ptr<Page> pageOf(OrvWebView* view) override;
  // Null before initialize. A copy, so that the page outlives the operation called on it.
  std::shared_ptr<Page> page() const {
    return page_;
  }

  template <typename Value>
  void changeSetting(Value& stored, Value value, WebViewSetting setting, Property property) {
    if (stored == value) return;
    stored = std::move(value);
    settingStored(setting);
    if (property != OrvWebPropertyChangedEvent::PropertyMax) raisePropertyChanged(property);
  }

  std::bitset<OrvWebEvent::typeCount> webEvents_;
  std::bitset<OrvWebPropertyChangedEvent::propertyCount> properties_;
  WebViewSettings settings_;
  String windowGroup_;
  OrvWebRect viewport_;  // until there is a window
  bool visible_ = true;
  int zOrder_ = 0;
  bool active_ = false;
  bool callbackObjectEnabled_ = true;
  bool callbackObjectBound_ = false;
  std::vector<String> furtherOrigins_;
  bool destroyed_ = false;
  OrvWebView* popup_ = nullptr;    // shows the next window that the page opens
  std::set<OrvWebView*> openers_;  // whose next window this one shows
  std::vector<OrvWebHeader> headers_;
  SSLCertificateMap knownCertificates_;
  // Decisions that were made about origins.
  std::map<std::pair<PagePermission, String>, bool> decisions_;
  std::set<std::pair<String, bool>> allowedOrigins_;  // with or without their subdomains
  int propertyLocks_ = 0;
  std::vector<Property> heldProperties_;
  std::unique_ptr<Later> later_;
  std::unique_ptr<Tessel::Platform::Graphics::Window> window_;
  std::shared_ptr<Page> page_;
};

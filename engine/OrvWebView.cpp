// A web view: one page with its window, its settings and its event mask. UI thread.
#include "engine/OrvWebView.h"

#include "engine/Certificates.h"
#include "engine/OrvWebEvents.h"
#include "platform/base/ErrorReport.h"
#include "platform/loop/MessageClient.h"
#include "platform/loop/MethodDelegate.h"

#include <glib.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

using Tessel::Platform::executableMessage;
using Tessel::Platform::GuardedPointer;
using Tessel::Platform::GuardedPointerBase;
using Tessel::Platform::IntRect;
using Tessel::Platform::IntSize;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::MethodDelegate1;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowType;

namespace {

PageFactory* pageFactory = nullptr;

// Names one result of a script or function among all of the process.
Tessel::Platform::String nextResultId() {
  static unsigned long long last = 0;
  return Tessel::Platform::String::fromUnsignedInteger(++last);
}

}  // namespace

PageFactory* PageFactory::current() {
  return pageFactory;
}
void PageFactory::install(PageFactory* factory) {
  pageFactory = factory;
}

class OrvWebView::Later final : public GuardedPointerBase {
 public:
  explicit Later(OrvWebView& view) : view_(view) {}

  void raise(int type) {
    OrvWebEvent event(static_cast<Type>(type));
    view_.raise(event);
  }
  void raiseEvent(OrvWebEvent& event) { view_.raise(event); }

 private:
  OrvWebView& view_;
};

OrvWebView::OrvWebView() : later_(std::make_unique<Later>(*this)) {
  webEvents_.set();
  properties_.set();
}

OrvWebView::~OrvWebView() {
  setPopupWebView(nullptr);
  for (OrvWebView* opener : openers_) opener->popup_ = nullptr;
  if (page_) page_->close();
}

bool OrvWebView::initialize(const String& windowGroup, int rotation) {
  if (page_ || !PageFactory::current() || !Window::topLevelOf(windowGroup)) return false;
  windowGroup_ = windowGroup;
  window_ = std::make_unique<Window>(WindowType::Child, nullptr, viewport_, IntRect(), IntSize(), 0,
                                     false, windowGroup);
  window_->setOrientation(rotation);
  window_->setVisible(visible_);
  window_->setZOrder(zOrder_);
  settingStored(WebViewSetting::sensitivity);
  page_ = PageFactory::current()->createPage(*this, *window_);
  if (!page_) return false;
  page_->bindCallbackObject(callbackObjectBound_, furtherOrigins_);
  page_->setCallbackObjectEnabled(callbackObjectEnabled_);
  page_->setRequestHeaders(headers_);
  allowedOriginsChanged();
  raiseLater(OrvWebEvent::Created);
  return true;
}

void OrvWebView::destroy() {
  if (destroyed_) return;
  destroyed_ = true;
  if (auto page = this->page()) page->close();
  raiseLater(OrvWebEvent::Destroyed);
}

void OrvWebView::raise(OrvWebEvent& event) {
  // Nothing may follow the handler: it may have deleted this web view.
  if (wants(event.type())) handleWebEvent(&event);
}

void OrvWebView::raisePropertyChanged(Property property) {
  if (!properties_.test(size_t(property)) || !wants(OrvWebEvent::PropertyChanged)) return;
  if (propertyLocks_ > 0) {
    const auto held = std::find(heldProperties_.begin(), heldProperties_.end(), property);
    if (held == heldProperties_.end()) heldProperties_.push_back(property);
    return;
  }
  OrvWebPropertyChangedEvent event(property);
  handleWebEvent(&event);
}

void OrvWebView::raiseLater(Type type) {
  if (auto* client = MainMessageClient::instance()) {
    client->dispatchMessage(
        executableMessage(MethodDelegate1<Later, int>(later_.get(), &Later::raise, type)));
  }
}

void OrvWebView::loadURL(const String& url) {
  if (auto page = this->page()) page->load(url);
}

void OrvWebView::loadString(const String& text, const String& mimeType) {
  loadStringWithBase(text, String(), mimeType);
}

void OrvWebView::loadStringWithBase(const String& text, const String& baseURL,
                                    const String& mimeType) {
  if (auto page = this->page()) page->loadText(text, mimeType, baseURL);
}

void OrvWebView::reload() {
  if (auto page = this->page()) page->reload();
}

void OrvWebView::stop() {
  if (auto page = this->page()) page->stop();
}

void OrvWebView::setAutoReload(bool enabled) {
  if (auto page = this->page()) page->setAutoReload(enabled);
}

void OrvWebView::endProcess(unsigned long long limit, unsigned long long taken) {
  auto page = this->page();
  if (!page) return;
  if (limit == 0) return page->endProcess(nullptr);
  OrvWebMemoryExcess excess;
  excess.bytes = taken;
  excess.limit = limit;
  excess.reason = "program";
  page->endProcess(&excess);
}

void OrvWebView::goBack() {
  if (auto page = this->page()) page->goBack();
}

void OrvWebView::goForward() {
  if (auto page = this->page()) page->goForward();
}

std::vector<OrvWebHistoryItem> OrvWebView::historyList() {
  auto page = this->page();
  return page ? page->history() : std::vector<OrvWebHistoryItem>();
}

void OrvWebView::notifyOpen(unsigned int stream, int status, const String& message) {
  if (auto page = this->page())
    page->stepResource(stream, {ResourceStep::Kind::Open, status, message, {}});
}

void OrvWebView::notifyHeaderReceived(unsigned int stream, const String& key, const String& value) {
  if (auto page = this->page())
    page->stepResource(stream, {ResourceStep::Kind::Header, 0, key, value});
}

void OrvWebView::notifyDataReceived(unsigned int stream, const String& data, unsigned int length) {
  const std::string_view bytes(data.utf8(), data.length());
  if (auto page = this->page())
    page->stepResource(stream, {ResourceStep::Kind::Data, 0, {}, String(bytes.substr(0, length))});
}

void OrvWebView::notifyDone(unsigned int stream) {
  if (auto page = this->page()) page->stepResource(stream, {});
}

void OrvWebView::notifyViewportChanged(const OrvWebRect&) {
  raisePropertyChanged(OrvWebPropertyChangedEvent::Viewport);
}

void OrvWebView::setViewport(const OrvWebRect& rect) {
  if (!window_) {
    if (viewport_ == rect) return;
    viewport_ = rect;
  } else {
    // A web view that fills its group keeps doing so until it is given a rectangle.
    const auto& state = window_->state();
    if (state.fillsParent && rect == OrvWebRect()) return;
    const bool changes = state.fillsParent || state.rect != rect;
    window_->setWindowRectangle(rect);
    if (!changes) return;
  }
  raisePropertyChanged(OrvWebPropertyChangedEvent::Viewport);
}

OrvWebRect OrvWebView::viewport() const {
  // Others move the window as well: animations, the user's finger.
  return window_ ? window_->windowRectangle() : viewport_;
}

void OrvWebView::setVisible(bool visible) {
  if (visible_ == visible) return;
  visible_ = visible;
  if (window_) window_->setVisible(visible);
  raisePropertyChanged(OrvWebPropertyChangedEvent::Visible);
}

void OrvWebView::setZOrder(int zOrder) {
  if (zOrder_ == zOrder) return;
  zOrder_ = zOrder;
  if (window_) window_->setZOrder(zOrder);
  raisePropertyChanged(OrvWebPropertyChangedEvent::ZOrder);
}

void OrvWebView::setActive(bool active) {
  // The focus may have moved elsewhere meanwhile, so a repeated request is valid.
  if (active && window_ && window_->surface()) window_->surface()->requestKeyboardFocus();
  if (active_ == active) return;
  active_ = active;
  raisePropertyChanged(OrvWebPropertyChangedEvent::Active);
}

void OrvWebView::setCustomHTTPHeaders(const OrvWebHeader* headers, unsigned int count) {
  std::vector<OrvWebHeader> list(headers, headers + count);
  if (list == headers_) return;
  headers_ = std::move(list);
  if (auto page = this->page()) page->setRequestHeaders(headers_);
  raisePropertyChanged(OrvWebPropertyChangedEvent::CustomHTTPHeaders);
}

void OrvWebView::enableOrvJavaScriptObject(bool enabled) {
  callbackObjectEnabled_ = enabled;
  if (auto page = this->page()) page->setCallbackObjectEnabled(enabled);
}

void OrvWebView::bindOrvJavaScriptObject(bool bound, std::vector<String> furtherOrigins) {
  callbackObjectBound_ = bound;
  furtherOrigins_ = std::move(furtherOrigins);
  if (auto page = this->page()) page->bindCallbackObject(bound, furtherOrigins_);
}

bool OrvWebView::askWhetherAlive() {
  const auto page = this->page();
  return page && page->askWhetherAlive();
}

void OrvWebView::setDrivesApplication(const String& loadFailureHint) {
  if (auto page = this->page()) page->setDrivesApplication(loadFailureHint);
}

OrvWebView::String OrvWebView::executeJavaScript(const String& script,
                                                 OrvWebJavaScriptWorld world) {
  auto page = this->page();
  if (!page || world == OrvWebJavaScriptWorld::NoWorld) return String();
  String id = nextResultId();
  page->runScript(script, {.isolated = world == OrvWebJavaScriptWorld::IsolatedWorld},
                  [later = GuardedPointer<Later>(later_.get()), id](OrvWebJavaScriptResultType type,
                                                                    const String& text) {
                    OrvWebJavaScriptResultEvent event;
                    event.resultId = id;
                    event.resultType = type;
                    event.resultString = text;
                    if (later) later->raiseEvent(event);
                  });
  return id;
}

void OrvWebView::evaluate(const String& script, ScriptDone done) {
  if (auto page = this->page()) page->runScript(script, {.asJson = true}, std::move(done));
}

OrvWebView::String OrvWebView::executeJavaScriptFunction(
    const std::vector<String>& path, const std::vector<JavaScriptVariant>& arguments) {
  auto page = this->page();
  if (!page) return String();
  String id = wants(OrvWebEvent::JavaScriptFunctionResult) ? nextResultId() : String();
  page->postFunction({path, arguments}, id);
  return id;
}

void OrvWebView::findString(const String& text, bool forward, bool caseSensitive, bool wrap,
                            bool highlightAll) {
  if (auto page = this->page()) {
    page->findString(text, {forward, caseSensitive, wrap, highlightAll});
  }
}

void OrvWebView::dialogResponse(unsigned int number, bool accepted, const String& result,
                                const String& username, const String& password) {
  if (auto page = this->page()) {
    page->answerPrompt(number, {accepted, result, username, password});
  }
}

void OrvWebView::chooseFileResponse(unsigned int number, const String& files) {
  if (auto page = this->page()) page->answerPrompt(number, {!files.isEmpty(), files, {}, {}});
}

void OrvWebView::notificationPermissionCheckResponse(unsigned int number, const String& state) {
  if (auto page = this->page()) page->answerPrompt(number, {true, state, {}, {}});
}

void OrvWebView::setAllowUserMedia(unsigned int number, const String& device) {
  if (auto page = this->page()) page->answerPrompt(number, {!device.isEmpty(), device, {}, {}});
}

void OrvWebView::setAllowGeolocation(const String& origin, bool allowed) {
  if (auto page = this->page()) page->answerOrigin(PagePermission::Geolocation, origin, allowed);
}

void OrvWebView::setAllowNotification(const String& origin, bool allowed) {
  if (auto page = this->page()) page->answerOrigin(PagePermission::Notification, origin, allowed);
}

void OrvWebView::openWindowResponse(unsigned int number, OrvWebView* popup) {
  if (auto page = this->page()) page->answerOpenWindow(number, pageOf(popup));
}

void OrvWebView::setPopupWebView(OrvWebView* popup) {
  if (popup_) popup_->openers_.erase(this);
  popup_ = popup;
  if (popup_) popup_->openers_.insert(this);
}

void OrvWebView::downloadUrl(const String& url, const String& filename, unsigned long long) {
  if (auto page = this->page()) page->download(url, filename);
}

void OrvWebView::stepDownload(unsigned int id, DownloadStep step) {
  if (auto page = this->page()) page->stepDownload(id, step);
}

void OrvWebView::downloadUpdate(unsigned int id, OrvWebDownloadAction action,
                                const String& filename) {
  auto page = this->page();
  if (!page || action == OrvWebDownloadAction::ActionPending) return;
  page->updateDownload(id, action == OrvWebDownloadAction::ActionSave, filename);
}

std::shared_ptr<Page> OrvWebView::pageOf(OrvWebView* view) {
  return view ? view->page() : nullptr;
}

OrvWebView* OrvWebView::popupView() {
  OrvWebView* popup = popup_;
  setPopupWebView(nullptr);
  return popup;
}

JavaScriptVariant OrvWebView::executeJavaScriptFunctionSync(
    const std::vector<String>& path, const std::vector<JavaScriptVariant>& arguments) {
  auto page = this->page();
  return page ? page->callFunction({path, arguments}) : JavaScriptVariant();
}

void OrvWebView::setWebEventEnabled(Type type, bool enabled) {
  if (webEvents_.test(size_t(type)) == enabled) return;
  webEvents_.set(size_t(type), enabled);
  if (auto page = this->page()) page->wantedEventsChanged();
}

void OrvWebView::setAllWebEventsEnabled(bool enabled) {
  enabled ? webEvents_.set() : webEvents_.reset();
  if (auto page = this->page()) page->wantedEventsChanged();
}

void OrvWebView::unlockProperties() {
  if (propertyLocks_ == 0 || --propertyLocks_ > 0) return;
  // A handler may lock again, which keeps the rest queued, or delete this web view.
  const GuardedPointer<Later> self(later_.get());
  std::vector<Property> held = std::exchange(heldProperties_, {});
  for (const Property property : held) {
    raisePropertyChanged(property);
    if (!self) return;
  }
}

bool OrvWebView::accepts(WebViewSetting setting, const String& value) {
  auto page = this->page();
  if (setting != WebViewSetting::userAgent || !page || page->takesUserAgent(value)) return true;
  Tessel::Platform::reportError("A user agent is refused: the text is not valid in a header.");
  return false;
}

void OrvWebView::settingStored(WebViewSetting setting) {
  if (setting == WebViewSetting::sensitivity && window_) {
    window_->setSensitivity(
        static_cast<Tessel::Platform::Graphics::Sensitivity>(settings_.sensitivity));
  }
  if (auto page = this->page()) page->settingChanged(setting);
}

void OrvWebView::act(PageAction action, std::vector<JavaScriptVariant> arguments) {
  if (auto page = this->page()) page->act(action, std::move(arguments));
}

void OrvWebView::loadFile(const String& path, const String&) {
  gchar* url = g_filename_to_uri(path.utf8(), nullptr, nullptr);
  // Anything but a path is an address that cannot be loaded: the page shows the error.
  loadURL(url ? String(url) : path);
  g_free(url);
}

void OrvWebView::setHistoryPosition(int position) {
  if (auto page = this->page()) page->goTo(position);
}

void OrvWebView::clearBackForwardList(bool keepCurrent) {
  if (auto page = this->page()) page->clearHistory(keepCurrent);
}

void OrvWebView::requestSession() {
  if (auto page = this->page()) page->requestSession();
}

void OrvWebView::restoreSession(const String& session, int position) {
  if (auto page = this->page()) page->restoreSession(session, position);
}

void OrvWebView::destroyIfNotRejectedByUser() {
  if (auto page = this->page()) page->tryClose();
}

void OrvWebView::bitmapZoom(double factor, const OrvWebPoint& from, const OrvWebPoint& to) {
  const double before = scale();
  const double after = std::clamp(before * factor, minimumScale(), maximumScale());
  const auto along = [&](int scrolled, int first, int second) {
    return static_cast<int>(std::lround(scrolled + first / before - second / after));
  };
  const OrvWebPoint position = scrollPosition();
  scaleTo(after, {along(position.x, from.x, to.x), along(position.y, from.y, to.y)});
}

void OrvWebView::animateToScaleAndDocumentScrollPosition(double scale,
                                                         const OrvWebPoint& position) {
  scaleTo(std::clamp(scale, minimumScale(), maximumScale()), position);
}

void OrvWebView::scaleTo(double scale, const OrvWebPoint& scrollPosition) {
  auto page = this->page();
  if (!page) return;
  const bool changes = scale != this->scale();
  page->setZoom(scale);
  page->act(changes ? PageAction::scrollAfterZoom : PageAction::scrollTo,
            {scrollPosition.x, scrollPosition.y});
}

void OrvWebView::assignFocus(OrvWebFocusDirection direction) {
  setActive(true);
  if (direction == OrvWebFocusDirection::FocusDirectionNone) return;
  act(PageAction::focusEdge, {direction == OrvWebFocusDirection::FocusDirectionBottom});
}

void OrvWebView::captureContents(double scale, const OrvWebRect& part, const OrvWebSize& size) {
  if (auto page = this->page()) page->capture(scale, part, size);
}

void OrvWebView::textHasAttribute(const String& name) {
  auto page = this->page();
  if (!page) return;
  OrvWebTextAttributeQueryEvent event;
  event.queryString = name;
  event.queryResult = String(page->hasTypingAttribute(name) ? "true" : "false");
  raise(event);
}

void OrvWebView::handleContextMenuResponse(OrvWebContextMenuItem item) {
  if (auto page = this->page()) page->runMenuItem(item);
}

void OrvWebView::handleWebInspectorMessageToBackend(const String& message, int notice) {
  if (notice == ServerPort) {
    const long port = std::strtol(message.utf8(), nullptr, 10);
    return update<&PageState::webInspectorPort>(static_cast<int>(std::clamp(port, 0L, 65535L)));
  }
  if (auto page = this->page()) page->inspectorMessage(message, notice != FrontEndMessage);
}

void OrvWebView::automationLog(const String& message) {
  OrvWebAutomationLogEvent event;
  event.message = message;
  raise(event);
}

void OrvWebView::clear(SiteData data) {
  if (auto page = this->page()) page->clear(data);
}

void OrvWebView::forget(AutofillData what) {
  if (auto page = this->page()) page->forget(what);
}

void OrvWebView::autofillTextField(const String& text) {
  if (auto page = this->page()) page->fillField(text);
}

void OrvWebView::syncProxyCredential(const String& username, const String& password) {
  if (auto page = this->page()) page->keepProxyLogin(username, password);
}

void OrvWebView::getCookies(const String& url) {
  if (auto page = this->page()) page->requestCookies(url);
}

void OrvWebView::setCookies(const String& url, const std::vector<String>& cookies) {
  if (auto page = this->page()) page->addCookies(url, cookies);
}

void OrvWebView::addOriginAccessWhitelistEntry(const String&, const String& destination,
                                               bool subdomains) {
  if (allowedOrigins_.emplace(destination, subdomains).second) allowedOriginsChanged();
}

void OrvWebView::removeOriginAccessWhitelistEntry(const String&, const String& destination,
                                                  bool subdomains) {
  if (allowedOrigins_.erase({destination, subdomains}) > 0) allowedOriginsChanged();
}

void OrvWebView::allowedOriginsChanged() {
  auto page = this->page();
  if (!page) return;
  std::vector<String> patterns;
  for (const auto& [origin, subdomains] : allowedOrigins_) {
    const std::string_view text = origin.view();
    const std::size_t scheme = text.find("://");
    if (scheme == std::string_view::npos) continue;
    std::string_view host = text.substr(scheme + 3, text.find('/', scheme + 3) - scheme - 3);
    // The engine's patterns know no ports: one with a port would never match.
    const std::size_t port = host.rfind(':');
    if (port != std::string_view::npos &&
        host.find_first_not_of("0123456789", port + 1) == std::string_view::npos) {
      host = host.substr(0, port);
    }
    const std::string start(text.substr(0, scheme + 3));
    patterns.emplace_back(start + std::string(host) + "/*");
    if (subdomains) patterns.emplace_back(start + "*." + std::string(host) + "/*");
  }
  page->setAllowedOrigins(patterns);
}

SSLCertificateInfo OrvWebView::knownSSLCertificate(const String& host) const {
  const auto found = knownCertificates_.find(host);
  return found == knownCertificates_.end() ? SSLCertificateInfo() : found->second;
}

bool OrvWebView::addKnownSSLCertificate(const String& host, const SSLCertificateInfo& certificate) {
  return addKnownSSLCertificates({{host, certificate}});
}

bool OrvWebView::addKnownSSLCertificates(const SSLCertificateMap& certificates) {
  // All or nothing: a partial list would be a state that was never requested.
  SSLCertificateMap complete = certificates;
  for (auto& [host, record] : complete) {
    SSLCertificate details;
    if (host.isEmpty() || !readCertificate(record.certificate, details)) return false;
    record.host = host;
    record.subject = details.subject.name;
    record.issuer = details.issuer.name;
  }
  for (auto& [host, record] : complete) knownCertificates_[host] = std::move(record);
  knownCertificatesChanged();
  return true;
}

bool OrvWebView::removeKnownSSLCertificate(const String& host,
                                           const SSLCertificateInfo& certificate) {
  const auto found = knownCertificates_.find(host);
  if (found == knownCertificates_.end()) return false;
  // Without a certificate it is the host that is meant.
  if (!certificate.certificate.isEmpty() &&
      !isSameCertificate(certificate.certificate, found->second.certificate)) {
    return false;
  }
  knownCertificates_.erase(found);
  knownCertificatesChanged();
  return true;
}

void OrvWebView::removeAllKnownSSLCertificates() {
  knownCertificates_.clear();
  knownCertificatesChanged();
}

void OrvWebView::knownCertificatesChanged() {
  if (auto page = this->page()) page->knownCertificatesChanged();
}

void OrvWebView::acceptCertificate(const SSLCertificateInfo& certificate) {
  addKnownSSLCertificate(certificate.host, certificate);
}

void OrvWebView::continueSSLHandshaking(unsigned int connection,
                                        OrvWebSSLCertificateAction action) {
  auto page = this->page();
  if (!page || action == OrvWebSSLCertificateAction::SSLActionNone) return;
  page->continueHandshake(connection, action == OrvWebSSLCertificateAction::SSLActionTrust);
}

std::vector<OrvWebView::String> OrvWebView::getSSLCertificateDetails(
    const SSLCertificateInfo& certificate) const {
  return certificateDetails(certificate.certificate);
}

std::optional<bool> OrvWebView::decisionFor(PagePermission permission, const String& origin) const {
  const auto found = decisions_.find({permission, origin});
  return found == decisions_.end() ? std::nullopt : std::optional(found->second);
}

void OrvWebView::updateGeolocationFilter(const String& origin, bool allowed) {
  decisions_[{PagePermission::Geolocation, origin}] = allowed;
  OrvWebUpdateGeolocationFilterEvent event;
  event.mask = origin;
  event.allow = allowed;
  raise(event);
}

void OrvWebView::removeGeolocationFilter(const String& origin) {
  decisions_.erase({PagePermission::Geolocation, origin});
}

void OrvWebView::updateNotificationPermission(const String& origin, bool allowed) {
  decisions_[{PagePermission::Notification, origin}] = allowed;
}

void OrvWebView::notificationClicked(const String& id) {
  if (auto page = this->page()) page->stepNotification(id, NotificationStep::Clicked);
}

void OrvWebView::notificationClosed(const String& id) {
  if (auto page = this->page()) page->stepNotification(id, NotificationStep::Closed);
}

// A web view: one page with its window, its settings and its event mask. UI thread.
#include "engine/OrvWebView.h"

#include "platform/messages/MessageClient.h"
#include "platform/messages/MethodDelegate.h"

using Tessel::Platform::executableMessage;
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
  page_ = PageFactory::current()->createPage(*this, *window_);
  if (!page_) return false;
  page_->setCallbackObjectEnabled(callbackObjectEnabled_);
  page_->setRequestHeaders(headers_);
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

void OrvWebView::setViewport(const OrvWebRect& rect) {
  if (viewport_ == rect) return;
  viewport_ = rect;
  if (window_) window_->setWindowRectangle(rect);
  raisePropertyChanged(OrvWebPropertyChangedEvent::Viewport);
}

OrvWebRect OrvWebView::viewport() const {
  // One that was never placed covers its window group, whatever size that has.
  if (viewport_ != OrvWebRect() || !window_) return viewport_;
  const IntSize size = window_->surfaceSize();
  return {0, 0, size.width, size.height};
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
  // The keyboard may have gone elsewhere meanwhile: asking again is no mistake.
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

void OrvWebView::setDrivesApplication(const String& loadFailureHint) {
  if (auto page = this->page()) page->setDrivesApplication(loadFailureHint);
}

OrvWebView::String OrvWebView::executeJavaScript(const String& script,
                                                 OrvWebJavaScriptWorld world) {
  auto page = this->page();
  if (!page || world == OrvWebJavaScriptWorld::NoWorld) return String();
  String id = nextResultId();
  page->runScript(script, world == OrvWebJavaScriptWorld::IsolatedWorld, id);
  return id;
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
    page->answerQuestion(number, {accepted, result, username, password});
  }
}

void OrvWebView::chooseFileResponse(unsigned int number, const String& files) {
  if (auto page = this->page()) page->answerQuestion(number, {!files.isEmpty(), files, {}, {}});
}

void OrvWebView::notificationPermissionCheckResponse(unsigned int number, const String& state) {
  if (auto page = this->page()) page->answerQuestion(number, {true, state, {}, {}});
}

void OrvWebView::setAllowUserMedia(unsigned int number, const String& device) {
  if (auto page = this->page()) page->answerQuestion(number, {!device.isEmpty(), device, {}, {}});
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

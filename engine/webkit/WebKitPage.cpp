// One page of the WebKitGTK engine. Main thread, but for the calls of page functions.
#include "engine/webkit/WebKitPage.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/PageReports.h"
#include "engine/webkit/WebKitEngine.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/features/Dialogs.h"
#include "engine/webkit/features/PageCapture.h"
#include "engine/webkit/network/FailurePage.h"
#include "engine/webkit/network/SiteDataStore.h"
#include "platform/base/Log.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

using link_protocol::NativeArguments;
using Tessel::Platform::concat;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::String;
using Tessel::Platform::Graphics::GtkWindowSystem;
using Tessel::Platform::Graphics::Window;

namespace {

// A view that is covered while it first paints can stay blank when the engine's shared buffers
// are off; these milliseconds after the load cover every case that was seen.
constexpr std::array<guint, 4> redrawTimes{50, 200, 600, 1200};

// The engine connects ahead of the load of a page. It gives that up after ten seconds, or when it
// does not know the server's certificate; and when the load has taken the connection over just
// then, the load is cancelled with it, although nobody wants that. What is asked for again gets a
// connection of its own, and by so many times also one that is not given up at the wrong moment.
constexpr unsigned int mostRepeats = 5;

// From the answer of a server to the document, which only the engine lies between.
constexpr gint64 longestCommit = G_TIME_SPAN_SECOND;

// What the module in the page's process has to know.
constexpr std::array settingsOfModule{WebViewSetting::isDeferNetworkingAndJavaScript,
                                      WebViewSetting::isEnableDownloadableBinaryFonts,
                                      WebViewSetting::isEnableNetworkResourceRequestedEvents,
                                      WebViewSetting::isStandalone,
                                      WebViewSetting::isEnableFormAutofill,
                                      WebViewSetting::isEnableCredentialAutofill,
                                      WebViewSetting::isZoomToFitWidthOnLoad};

// An address in the form in which the engine will ask for it.
String asRequested(const String& url) {
  const ObjectPointer<WebKitURIRequest> request(webkit_uri_request_new(url.utf8()));
  return String(webkit_uri_request_get_uri(request.get()));
}

}  // namespace

WebKitPage::WebKitPage(WebKitEngine& engine, PageClient& client, Window& window)
    : engine_(engine), client_(&client), window_(window) {}

WebKitPage::~WebKitPage() {
  close();
}

WebKitWebView* WebKitPage::makeView(WebKitWebView* opener) {
  if (!client_) return nullptr;
  WebKitSettings* settings = PageSettings::make(client_->settings());
  // A window that a page opens shares its opener's web process: the engine will not have it
  // otherwise.
  auto* created = WEBKIT_WEB_VIEW(
      opener ? g_object_new(WEBKIT_TYPE_WEB_VIEW, "related-view", opener, "settings", settings,
                            "user-content-manager", webkit_user_content_manager_new(), nullptr)
             : g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context",
                            engine_.context(client_->settings().isPrivateBrowsing), "settings",
                            settings, nullptr));
  g_object_unref(settings);
  if (!GtkWindowSystem::embed(window_, GTK_WIDGET(created))) {
    g_object_ref_sink(created);
    g_object_unref(created);
    return nullptr;
  }
  view_ = created;
  listenToPage();

  const auto connect = [&](const char* signal, auto handler) {
    g_signal_connect(view_, signal, G_CALLBACK(handler), this);
  };
  connect("notify::page-id", onPageNumber);
  connect("notify::title", onTitle);
  connect("notify::uri", onLocation);
  connect("notify::is-loading", onLoading);
  connect("notify::estimated-load-progress", onProgress);
  connect("notify::zoom-level", onZoom);
  connect("notify::favicon", onFavicon);
  connect("load-changed", onLoadChanged);
  connect("load-failed", onLoadFailed);
  connect("web-process-terminated", onProcessEnded);
  connect("user-message-received", onEngineMessage);
  parts_ = std::make_unique<Parts>(*this, view_);
  parts_->settings.setAllowedOrigins(allowedOrigins_);
  if (zoom_ != 1) webkit_web_view_set_zoom_level(view_, zoom_);
  engine_.downloads().registerPage(view_, weak_from_this());
  engine_.inspector().expectConnections();
  if (hasFrontEnd_) parts_->inspector.message(String(), true);
  return view_;
}

void WebKitPage::close() {
  if (!client_) return;
  client_ = nullptr;
  dropView();
}

void WebKitPage::dropView() {
  // A process that stands still could not end.
  if (const auto link = link_.exchange(nullptr); link && setup_.deferred) {
    link->changeSetup(number_, link_protocol::PageSetup());
  }
  if (!view_) return;
  engine_.links().forgetPage(number_);
  number_ = 0;
  engine_.downloads().forgetPage(view_);
  failureFollows_ = showingFailure_ = repeating_ = isOnItsWay_ = false;
  g_signal_handlers_disconnect_by_data(view_, this);
  const bool later = parts_ && parts_->fullScreen.isMoving();
  parts_.reset();
  PageFullScreen::destroy(view_, later);
  view_ = nullptr;
}

// For what the engine fixes when it makes a view. The page starts anew at its address.
void WebKitPage::remakeView(bool withHistory) {
  if (!view_) return;
  const String location(webkit_web_view_get_uri(view_));
  const String session = withHistory ? parts_->history.session() : String();
  const bool hasHistory = withHistory && !parts_->history.items().empty();
  const bool isOwn = loads_.isOwn();
  dropView();
  // Whichever way it begins anew.
  if (isOwn) loads_.expect(location);
  if (hasHistory && view() && parts_->history.restore(session, -1)) return;
  if (!location.isEmpty()) loadUrl(location, isOwn);
}

// A chrome that is loaded anew would lose what it drives: it keeps what it was allowed.
void WebKitPage::forgetTakenOrigins() {
  if (parts_ && parts_->settings.originsTakenBack() && !setup_.drivesApplication) remakeView(true);
}

void WebKitPage::load(const String& url) {
  loadUrl(url, true);
}

void WebKitPage::loadAgain(const String& url) {
  loads_.expectAgain(url);
  loadUrl(url, false);
}

void WebKitPage::loadUrl(const String& url, bool isOfProgram) {
  if (!view()) return;
  GError* error = nullptr;
  if (!g_uri_is_valid(url.utf8(), G_URI_FLAGS_PARSE_RELAXED, &error)) {
    showFailure(url, concat("This is no address: ", error->message));
    g_error_free(error);
    return;
  }
  if (isOfProgram) loads_.expect(asRequested(url));
  startLoad([this, url] { webkit_web_view_load_uri(view_, url.utf8()); });
}

void WebKitPage::loadText(const String& text, const String& mimeType, const String& baseURL) {
  if (!view()) return;
  loads_.expect(baseURL.isEmpty() ? "about:blank" : asRequested(baseURL), true);
  loadContent(text, mimeType, "utf-8", baseURL);
}

void WebKitPage::loadContent(const String& content, const String& mimeType, const String& encoding,
                             const String& baseURL) {
  const auto orNull = [](const String& text) { return text.isEmpty() ? nullptr : text.utf8(); };
  if (!view()) return;
  startLoad([=, this] {
    supplied_ = baseURL;
    // The engine takes no empty document; a byte order mark is none of the text.
    constexpr std::string_view nothing = "\xEF\xBB\xBF";
    const std::string_view text = content.isEmpty() ? nothing : content.view();
    GBytes* bytes = g_bytes_new(text.data(), text.size());
    webkit_web_view_load_bytes(view_, bytes, mimeType.utf8(), orNull(encoding), orNull(baseURL));
    g_bytes_unref(bytes);
  });
}

void WebKitPage::startLoad(std::function<void()> load) {
  repeats_ = 0;
  unstartedLoad_ = std::move(load);
  if (parts_ && parts_->hangMonitor.isStuck()) return parts_->hangMonitor.endProcess();
  // The engine loses what is asked for while it begins to show a page of its own.
  if (!failureFollows_ && !showingFailure_ && !startsLater_) unstartedLoad_();
}

// From the main loop: inside a signal about the last load the engine may lose the next one.
void WebKitPage::later(guint pause, std::function<void()> call) {
  struct Call {
    std::weak_ptr<WebKitPage> page;
    std::function<void()> call;
  };
  g_timeout_add_full(
      G_PRIORITY_DEFAULT, pause,
      [](gpointer data) -> gboolean {
        const auto* const next = static_cast<Call*>(data);
        if (const auto page = next->page.lock()) next->call();
        return G_SOURCE_REMOVE;
      },
      new Call{weak_from_this(), std::move(call)},
      [](gpointer data) { delete static_cast<Call*>(data); });
}

void WebKitPage::startLater() {
  startsLater_ = true;
  later(0, [this] {
    startsLater_ = false;
    // Copied, because it may put another in its place.
    const auto load = view_ ? unstartedLoad_ : nullptr;
    if (load) load();
  });
}

void WebKitPage::reload() {
  if (parts_ && parts_->hangMonitor.isStuck()) {
    return loadUrl(client_->pageState().location, loads_.isOwn());
  }
  if (view_) webkit_web_view_reload(view_);
}

void WebKitPage::stop() {
  unstartedLoad_ = nullptr;
  loads_.expectNothing();
  if (parts_ && parts_->hangMonitor.isStuck()) return parts_->hangMonitor.endProcess();
  // The page about a failure is there at once, and must be told of before anything else can load.
  if (view_ && !failureFollows_ && !showingFailure_) webkit_web_view_stop_loading(view_);
}

void WebKitPage::goBack() {
  if (parts_) parts_->history.goBy(-1);
}

void WebKitPage::goForward() {
  if (parts_) parts_->history.goBy(1);
}

std::vector<OrvWebHistoryItem> WebKitPage::history() {
  return parts_ ? parts_->history.items() : std::vector<OrvWebHistoryItem>();
}

void WebKitPage::goTo(int position) {
  if (parts_) parts_->history.goTo(position);
}

void WebKitPage::clearHistory(bool keepCurrent) {
  if (parts_) parts_->history.clear(keepCurrent);
}

void WebKitPage::requestSession() {
  OrvWebSessionInfoEvent event;
  event.version = "1";
  if (parts_) event.data = parts_->history.session();
  raise(event);
}

bool WebKitPage::restoreSession(const String& session, int position) {
  if (view() && parts_->history.restore(session, position)) return true;
  logAlways(LogError, "A session is not restored: the text is none.");
  return false;
}

void WebKitPage::tryClose() {
  closeRequested_ = view_ != nullptr;
  // What stands still cannot be asked.
  if (view_ && !setup_.deferred) return webkit_web_view_try_close(view_);
  // Nothing was loaded that could object.
  if (client_) client_->closeAllowed();
}

bool WebKitPage::takesUserAgent(const String& text) const {
  return PageSettings::takesUserAgent(text);
}

void WebKitPage::settingChanged(WebViewSetting setting) {
  if (setting == WebViewSetting::isPrivateBrowsing) return remakeView(false);
  if (parts_) parts_->settings.changed(setting);
  if (setting == WebViewSetting::isEnableCrossSiteXHR) forgetTakenOrigins();
  if (setting == WebViewSetting::isEnableWebInspector && parts_) {
    parts_->inspector.message(String(), hasFrontEnd_);
  }
  if (setting == WebViewSetting::javaScriptInterruptTimeout && parts_)
    parts_->hangMonitor.limitChanged();
  if (std::ranges::find(settingsOfModule, setting) != settingsOfModule.end()) sendSetup();
  // Last: it raises an event, and the page may be gone after that.
  if (setting == WebViewSetting::fullScreenVideoCapable && parts_) {
    parts_->fullScreen.capableChanged();
  }
}

void WebKitPage::wantedEventsChanged() {
  if (client_ && watchedBy(*client_) != setup_.watched) sendSetup();
}

void WebKitPage::knownCertificatesChanged() {
  if (parts_) parts_->security.letInKnown();
}

void WebKitPage::setAllowedOrigins(const std::vector<String>& patterns) {
  allowedOrigins_ = patterns;
  if (parts_) parts_->settings.setAllowedOrigins(patterns);
  forgetTakenOrigins();
}

void WebKitPage::setRequestHeaders(const std::vector<OrvWebHeader>& headers) {
  setup_.requestHeaders = headers;
  sendSetup();
}

void WebKitPage::setCallbackObjectEnabled(bool enabled) {
  setup_.callbackObject = enabled;
  sendSetup();
}

void WebKitPage::bindCallbackObject(bool bound, const std::vector<String>& furtherOrigins) {
  std::vector<Origin> further;
  further.reserve(furtherOrigins.size());
  for (const String& each : furtherOrigins) further.push_back(Origin::of(each.view()));
  loads_.setFurtherOrigins(std::move(further));
  if (setup_.bound == bound) return;
  setup_.bound = bound;
  sendSetup();
}

void WebKitPage::setDrivesApplication(const String& loadFailureHint) {
  setup_.drivesApplication = true;
  loadFailureHint_ = loadFailureHint;
  if (const auto link = link_.load()) link->serveInEveryWait();
  sendSetup();
}

void WebKitPage::sendSetup() {
  refreshSetup();
  if (const auto link = link_.load()) link->changeSetup(number_, setup_);
}

void WebKitPage::refreshSetup() {
  if (!client_) return;
  const WebViewSettings& settings = client_->settings();
  setup_.downloadableFonts = settings.isEnableDownloadableBinaryFonts;
  setup_.standalone = settings.isStandalone;
  setup_.watched = watchedBy(*client_);
  // The page that drives the program could never be released.
  setup_.deferred = settings.isDeferNetworkingAndJavaScript && !setup_.drivesApplication;
}

void WebKitPage::act(const char* action, std::vector<JavaScriptVariant> arguments) {
  if (const auto link = link_.load()) {
    link->postAction(number_, {{String(action)}, std::move(arguments)});
  }
}

void WebKitPage::setZoom(double level) {
  zoom_ = level;
  if (parts_) parts_->fit.zoomChosen();
  if (view_) webkit_web_view_set_zoom_level(view_, level);
  updateScale();
}

void WebKitPage::setPinch(double factor) {
  pinch_ = factor;
  updateScale();
}

void WebKitPage::updateScale() {
  update<&PageState::scale>(zoom_ * pinch_);
}

void WebKitPage::capture(double scale, const OrvWebRect& part, const OrvWebSize& size) {
  if (view()) capturePage(view_, weak_from_this(), scale, part, size);
}

void WebKitPage::clear(SiteData data) {
  if (view()) clearSiteData(view_, data);
}

void WebKitPage::stepResource(unsigned int stream, const ResourceStep& step) {
  engine_.resources().step(stream, step);
}

void WebKitPage::requestCookies(const String& url) {
  if (view()) ::requestCookies(view_, weak_from_this(), url);
}

void WebKitPage::addCookies(const String& url, const std::vector<String>& cookies) {
  if (view()) ::addCookies(view_, url, cookies);
}

void WebKitPage::continueHandshake(unsigned int number, bool trust) {
  if (parts_) parts_->security.continueHandshake(number, trust);
}

void WebKitPage::stepNotification(const String& id, NotificationStep step) {
  if (parts_) parts_->notifications.step(id, step);
}

bool WebKitPage::hasTypingAttribute(const String& name) {
  return view_ && ::hasTypingAttribute(webkit_web_view_get_editor_state(view_), name);
}

void WebKitPage::runMenuItem(OrvWebContextMenuItem item) {
  if (parts_) parts_->menu.run(item);
}

void WebKitPage::fillField(const String& text) {
  if (parts_) parts_->forms.fill(text);
}

void WebKitPage::forget(AutofillData what) {
  engine_.forget(what);
}

void WebKitPage::keepProxyLogin(const String& username, const String& password) {
  engine_.setProxyLogin({{}, username, password});
}

void WebKitPage::runScript(const String& script, bool isolated, const String& resultId) {
  if (!view()) return;
  struct Running {
    std::weak_ptr<WebKitPage> page;
    String resultId;
  };
  webkit_web_view_evaluate_javascript(
      view_, script.utf8(), static_cast<gssize>(script.length()),
      isolated ? "pagehost-isolated" : nullptr, nullptr, nullptr,
      [](GObject* view, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Running> running(static_cast<Running*>(data));
        GError* error = nullptr;
        JSCValue* value =
            webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, &error);
        OrvWebJavaScriptResultEvent event;
        event.resultId = running->resultId;
        event.resultType = value ? resultTypeOf(value) : OrvWebJavaScriptResultType::JSException;
        gchar* text = value ? jsc_value_to_string(value) : nullptr;
        event.resultString = String(value ? text : error->message);
        g_free(text);
        g_clear_object(&value);
        g_clear_error(&error);
        if (const auto page = running->page.lock()) page->raise(event);
      },
      new Running{weak_from_this(), resultId});
}

void WebKitPage::inspectorMessage(const String& message, bool connected) {
  // For a view that is made later, or anew.
  if (message.isEmpty()) hasFrontEnd_ = connected;
  if (parts_) parts_->inspector.message(message, connected);
}

void WebKitPage::findString(const String& text, const FindOptions& options) {
  if (parts_) parts_->find.find(text, options);
}

void WebKitPage::answerQuestion(unsigned int number, const QuestionAnswer& answer) {
  if (parts_) parts_->prompts.answer(number, answer);
}

void WebKitPage::answerOrigin(PagePermission permission, const String& origin, bool granted) {
  if (parts_) parts_->prompts.answerOrigin(permission, origin, granted);
}

void WebKitPage::answerOpenWindow(unsigned int number, std::shared_ptr<Page> page) {
  if (parts_) parts_->windows.answer(number, std::dynamic_pointer_cast<WebKitPage>(page));
}

void WebKitPage::download(const String& url, const String& filename) {
  if (view()) engine_.downloads().start(view_, url, filename);
}

void WebKitPage::stepDownload(unsigned int id, DownloadStep step) {
  engine_.downloads().step(id, step);
}

void WebKitPage::updateDownload(unsigned int id, bool save, const String& filename) {
  engine_.downloads().decide(id, save, filename);
}

void WebKitPage::postFunction(const FunctionCall& call, const String& resultId) {
  if (const auto link = link_.load()) link->postFunction(number_, call, resultId);
}

JavaScriptVariant WebKitPage::callFunction(const FunctionCall& call) {
  const auto link = link_.load();
  return link ? link->callFunction(number_, call).value_or(JavaScriptVariant())
              : JavaScriptVariant();
}

void WebKitPage::linkReady(std::shared_ptr<PageLink> link) {
  if (setup_.drivesApplication) link->serveInEveryWait();
  // The module asks for it next.
  refreshSetup();
  link_.store(std::move(link));
}

WebKitPage::String WebKitPage::nativeCall(const NativeArguments& arguments) {
  if (!client_) return String();
  std::vector<const char*> texts;
  texts.reserve(arguments.size());
  for (const auto& argument : arguments) texts.push_back(argument ? argument->c_str() : nullptr);
  const auto self = shared_from_this();
  if (setup_.bound && !isTrusted()) {
    logAlways(LogError, "A native call of %s is refused: the program has not loaded that page.",
              loads_.origin().isEmpty() ? "a page" : loads_.origin().utf8());
    return String();
  }
  if (!client_) return String();
  OrvWebJavaScriptCallbackEvent event(std::move(texts));
  event.setCaller(loads_.origin(), loads_.isOwn());
  client_->raise(event);
  return event.result();
}

link_protocol::DialogAnswer WebKitPage::dialog(const link_protocol::DialogQuestion& question) {
  return view_ ? runDialog(view_, question) : link_protocol::DialogAnswer();
}

String WebKitPage::report(const FunctionCall& report) {
  const auto self = shared_from_this();
  return handleReport(*this, report);
}

void WebKitPage::onFavicon(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  WebKitFaviconDatabase* database =
      webkit_web_context_get_favicon_database(webkit_web_view_get_context(view));
  const char* location = webkit_web_view_get_uri(view);
  gchar* url = location ? webkit_favicon_database_get_favicon_uri(database, location) : nullptr;
  const String address(url);
  g_free(url);
  self->client_->update<&PageState::favicon>(
      faviconFrom(webkit_web_view_get_favicon(view), address));
}

void WebKitPage::listenToPage() {
  if (number_ != 0) engine_.links().forgetPage(number_);
  number_ = webkit_web_view_get_page_id(view_);
  engine_.links().registerPage(number_, shared_from_this());
}

// A new web process numbers the page anew.
void WebKitPage::onPageNumber(WebKitWebView*, GParamSpec*, WebKitPage* page) {
  page->listenToPage();
}

void WebKitPage::onTitle(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  self->client_->update<&PageState::title>(String(webkit_web_view_get_title(view)));
}

void WebKitPage::onLocation(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  const char* uri = webkit_web_view_get_uri(view);
  // On the way to a document that the chrome provides.
  if (Resources::isStream(uri) || (!uri && self->repeating_)) return;
  self->updateLocation();
  if (self->parts_ && !self->isOnItsWay_) self->parts_->navigation.moved();
}

// What is shown, or what the program waits for. Where a page wants to go by itself is not told
// before it is there: it may never come, and the address would stand over something else.
void WebKitPage::updateLocation() {
  if (const auto destination = loads_.destination()) {
    return update<&PageState::location>(*destination);
  }
  if (!view_ || isOnItsWay_) return;
  shownAddress_ = String(webkit_web_view_get_uri(view_));
  update<&PageState::location>(shownAddress_);
}

void WebKitPage::onLoading(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  if (webkit_web_view_is_loading(view) || !page->loads_.destination()) return;
  // This may be the end of the load before, told while the next one is on its way to the web
  // process. That nothing begins, as for a port that is not allowed, the engine does not tell.
  constexpr guint longestStart = 1000;  // milliseconds
  page->later(longestStart, [page] { page->forgetDestination(); });
}

// What the program asked for was only another place in the document, or nothing at all.
void WebKitPage::forgetDestination() {
  const bool waits = startsLater_ || failureFollows_ || showingFailure_ || isOnItsWay_;
  if (!view_ || webkit_web_view_is_loading(view_) || waits || !loads_.destination()) return;
  loads_.expectNothing();
  updateLocation();
}

void WebKitPage::onProgress(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  const double progress = webkit_web_view_get_estimated_load_progress(view);
  self->client_->update<&PageState::loadProgress>(static_cast<int>(std::lround(progress * 100)));
}

void WebKitPage::onZoom(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  self->zoom_ = webkit_web_view_get_zoom_level(view);
  self->updateScale();
}

void WebKitPage::onLoadChanged(WebKitWebView*, WebKitLoadEvent event, WebKitPage* page) {
  const auto self = page->shared_from_this();
  if (event == WEBKIT_LOAD_STARTED) self->loadStarted();
  if (event == WEBKIT_LOAD_COMMITTED) self->loadCommitted();
  if (event == WEBKIT_LOAD_FINISHED) self->loadFinished();
}

void WebKitPage::loadStarted() {
  loads_.started();
  refused_ = hasWaited_ = false;
  isOnItsWay_ = true;
  showingFailure_ = std::exchange(failureFollows_, false);
  if (!showingFailure_) unstartedLoad_ = nullptr;
  // It stayed when it was asked to go.
  closeRequested_ = false;
}

// Whoever hears of it may close the page.
void WebKitPage::loadCommitted() {
  repeats_ = 0;
  supplied_ = String();
  isOnItsWay_ = false;
  committed();
  updateLocation();
  if (!parts_) return;
  if (!showingFailure_ && !parts_->security.committed()) return;
  if (!parts_) return;
  parts_->fit.documentGone();
  parts_->fullScreen.documentGone();
  if (parts_) parts_->apis.documentGone();
  if (!parts_) return;
  parts_->navigation.committed();
  raise(OrvWebEvent::DocumentLoadCommitted);
}

void WebKitPage::loadFinished() {
  isOnItsWay_ = false;
  if (!failureFollows_ && !unstartedLoad_) updateLocation();
  if (!parts_) return;
  redrawAfterLoad();
  parts_->prompts.loaded();
  if (!parts_) return;
  // Not finished, but to be begun again.
  const bool repeating = std::exchange(repeating_, false);
  if (std::exchange(showingFailure_, false) || repeating) {
    if (unstartedLoad_) startLater();
    return;
  }
  // A program whose chrome answers "not found" would only show that to somebody who cannot tell
  // what to do about it.
  const guint status = statusOf(view_);
  if (setup_.drivesApplication && isFailedStatus(status)) {
    showFailure(webkit_web_view_get_uri(view_),
                concat("The answer was ", String::fromUnsignedInteger(status), "."));
  }
  raise(OrvWebEvent::DocumentLoadFinished);
}

bool WebKitPage::mayGo(const String& url, bool isKnown) {
  if (isKnown || !setup_.bound || !setup_.drivesApplication || showingFailure_) return true;
  if (std::exchange(refused_, true)) return false;
  logAlways(LogError, "The page that drives the application does not go to %s.", url.utf8());
  if (client_) client_->navigationRefused(url);
  return false;
}

void WebKitPage::committed() {
  const bool wasTrusted = loads_.isTrusted();
  loads_.committed(webkit_web_view_get_uri(view_));
  const String url = loads_.address();
  shownAddress_ = url;
  if (!setup_.bound || loads_.isTrusted() || showingFailure_) return;
  if (wasTrusted) {
    logAlways(LogNotice, "%s is shown without native functions: the program has not loaded it.",
              url.utf8());
  }
  // An empty document is there before anybody could refuse it.
  if (setup_.drivesApplication && !mayGo(url, false) && !loads_.home().isEmpty()) {
    unstartedLoad_ = [this, home = loads_.home()] { loadUrl(home, true); };
    startLater();
  }
}

// By what the engine has told of the document that is shown. A document calls as soon as it is
// there, and what the engine tells of it may still be on its way: that is waited for.
bool WebKitPage::isTrusted() {
  if (loads_.changesCaller() && loads_.isTrustedNext().value_or(false) && !hasWaited_) {
    const gint64 end = g_get_monotonic_time() + longestCommit;
    const auto tick = [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; };
    const guint timer = g_timeout_add(20, tick, nullptr);
    while (client_ && loads_.isTrustedNext() && g_get_monotonic_time() < end) {
      g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(timer);
    hasWaited_ = loads_.isTrustedNext().has_value();
  }
  return loads_.isTrusted() && !loads_.changesCaller();
}

// Whether a load was cancelled by nobody, and will begin again.
bool WebKitPage::repeatLoad(const gchar* uri) {
  // Something else was asked for meanwhile: that is what shall be loaded.
  if (unstartedLoad_) return true;
  if (!parts_ || !parts_->navigation.isRepeatable() || repeats_ == mostRepeats) return false;
  ++repeats_;
  logAlways(LogNotice, "The engine has given up the connection to %s: loading it again.", uri);
  // Nothing starts inside the signal: the end of the cancelled load comes next.
  repeating_ = true;
  loads_.expectAgain(String(uri));
  unstartedLoad_ = [this, url = String(uri)] { webkit_web_view_load_uri(view_, url.utf8()); };
  return true;
}

gboolean WebKitPage::onLoadFailed(WebKitWebView*, WebKitLoadEvent when, const gchar* uri,
                                  GError* error, WebKitPage* page) {
  const auto self = page->shared_from_this();
  self->loads_.ended();
  Resources::DocumentEnd provided;
  if (Resources::isStream(uri)) {
    provided = self->engine_.resources().takeDocument(uri);
    if (provided.kind != Resources::DocumentEnd::Kind::Failed) {
      self->showProvided(provided);
      return TRUE;
    }
    uri = provided.url.utf8();
  }
  // When it is stopped by somebody, the engine says so in another way.
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) &&
      (when != WEBKIT_LOAD_STARTED || self->repeatLoad(uri))) {
    return TRUE;
  }
  // Stopped by somebody, or turned into something else: nothing has failed.
  if (g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
      g_error_matches(error, WEBKIT_POLICY_ERROR,
                      WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE)) {
    return TRUE;
  }
  OrvWebNetworkErrorEvent event;
  event.message = String(error->message);
  event.status = error->code;
  event.url = String(uri);
  self->raise(event);
  // Prevented, the chrome shows a page of its own; or it has asked for something else meanwhile.
  if (!event.isPreventDefault() && !self->unstartedLoad_) self->showFailure(uri, error->message);
  self->raise(OrvWebEvent::DocumentLoadFailed);
  return TRUE;
}

// From the page's module, by way of the engine, which knows what page it comes from.
gboolean WebKitPage::onEngineMessage(WebKitWebView*, WebKitUserMessage* message, WebKitPage* page) {
  GVariant* token = webkit_user_message_get_parameters(message);
  const bool isPlace =
      g_strcmp0(webkit_user_message_get_name(message), link_protocol::placeMessage) == 0 && token &&
      g_variant_is_of_type(token, G_VARIANT_TYPE_STRING);
  if (isPlace) {
    const auto self = page->shared_from_this();
    self->engine_.links().placePage(self->number_, g_variant_get_string(token, nullptr));
  }
  return isPlace ? TRUE : FALSE;
}

void WebKitPage::onProcessEnded(WebKitWebView* view, WebKitWebProcessTerminationReason reason,
                                WebKitPage* page) {
  const auto self = page->shared_from_this();
  self->link_.store(nullptr);
  if (self->parts_) self->parts_->hangMonitor.processEnded();
  if (self->parts_) self->parts_->fullScreen.documentGone();
  if (!self->view_) return;
  const char* why = reason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT ? "used too much memory"
                    : reason == WEBKIT_WEB_PROCESS_CRASHED             ? "crashed"
                                                                       : "was ended";
  const char* uri = webkit_web_view_get_uri(view);
  logAlways(LogError,
            "The web process of %s %s. The program goes on; loading again starts a new one.%s%s",
            uri ? uri : "a page", why, self->loadFailureHint_.isEmpty() ? "" : " ",
            self->loadFailureHint_.utf8());
  self->failureFollows_ = self->showingFailure_ = self->repeating_ = self->isOnItsWay_ = false;
  self->loads_.ended();
  // What was asked of the process while it was dying was lost with it.
  if (const auto load = std::exchange(self->unstartedLoad_, nullptr)) return load();
  if (self->setup_.drivesApplication) return;
  const String message = concat("The process of this page ", why, ".");
  OrvWebNetworkErrorEvent event;
  event.message = message;
  event.url = String(uri);
  self->raise(event);
  if (!event.isPreventDefault() && self->view_ && !self->unstartedLoad_) {
    self->unstartedLoad_ = [page, url = String(uri), message] { page->showFailure(url, message); };
    self->startLater();
  }
  self->raise(OrvWebEvent::DocumentLoadFailed);
}

void WebKitPage::showFailure(const String& uri, const String& reason) {
  if (!view_) return;
  logAlways(LogError, "%s could not be loaded: %s %s", uri.utf8(), reason.utf8(),
            loadFailureHint_.utf8());
  unstartedLoad_ = nullptr;
  loads_.substitute(uri.isEmpty() ? "about:blank" : uri);
  failureFollows_ = true;
  supplied_ = uri;
  webkit_web_view_load_alternate_html(view_, failurePage(uri, reason, loadFailureHint_).utf8(),
                                      uri.isEmpty() ? "about:blank" : uri.utf8(), nullptr);
}

// Inside the failure of the load that waited for it.
void WebKitPage::showProvided(const Resources::DocumentEnd& document) {
  if (document.kind != Resources::DocumentEnd::Kind::Ready || !view_) return;
  // The end of that load is not told.
  repeating_ = true;
  const String& url = document.url;
  if (document.isHtml) {
    loads_.substitute(url);
    // In this form, and here, the history goes on as if the load had not failed.
    supplied_ = url;
    webkit_web_view_load_alternate_html(view_, document.content.utf8(), url.utf8(), url.utf8());
    return;
  }
  unstartedLoad_ = [this, document] {
    loadContent(document.content, document.mimeType, document.charset, document.url);
  };
}

void WebKitPage::redrawAfterLoad() {
  for (const guint time : redrawTimes) {
    auto* weak = new std::weak_ptr<WebKitPage>(shared_from_this());
    g_timeout_add_full(
        G_PRIORITY_DEFAULT, time,
        [](gpointer data) -> gboolean {
          const auto page = static_cast<std::weak_ptr<WebKitPage>*>(data)->lock();
          if (page && page->view_) gtk_widget_queue_draw(GTK_WIDGET(page->view_));
          return G_SOURCE_REMOVE;
        },
        weak, [](gpointer data) { delete static_cast<std::weak_ptr<WebKitPage>*>(data); });
  }
}

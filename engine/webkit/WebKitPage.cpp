// One page of the WebKitGTK engine. Main thread, but for the calls of page functions.
#include "engine/webkit/WebKitPage.h"

#include "engine/OrvWebEvents.h"
#include "engine/autofill/PasswordStore.h"
#include "engine/webkit/Automation.h"
#include "engine/webkit/PageConnection.h"
#include "engine/webkit/PageLoad.h"
#include "engine/webkit/PageParts.h"
#include "engine/webkit/PageReports.h"
#include "engine/webkit/WebKitEngine.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/features/Dialogs.h"
#include "engine/webkit/features/PageCapture.h"
#include "engine/webkit/inspector/EngineInspector.h"
#include "engine/webkit/network/Downloads.h"
#include "engine/webkit/network/SiteDataStore.h"
#include "platform/base/Log.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"
#include "platform/os/MemoryStats.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

using link_protocol::NativeArguments;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::String;
using Tessel::Platform::Graphics::GtkWindowSystem;
using Tessel::Platform::Graphics::Window;

namespace {

// The engine goes on with a view after it has told something of it, and who was told may have
// deleted the view meanwhile: its memory stays until no such call is on the stack.
void keepForCallers(WebKitWebView* view) {
  constexpr guint pause = 50;  // milliseconds
  g_object_ref(view);
  g_timeout_add(
      pause,
      [](gpointer data) -> gboolean {
        if (g_main_depth() > 1) return G_SOURCE_CONTINUE;
        g_object_unref(data);
        return G_SOURCE_REMOVE;
      },
      view);
}

}  // namespace

WebKitPage::WebKitPage(WebKitEngine& engine, PageClient& client, Window& window)
    : PageContext(client, window, engine.services()),
      engine_(engine),
      connection_(std::make_unique<PageConnection>(*this)),
      load_(std::make_unique<PageLoad>(*this, connection_->setup())) {}

WebKitPage::~WebKitPage() {
  close();
}

LoadControl& WebKitPage::loadControl() {
  return *load_;
}

std::shared_ptr<WebKitPage> WebKitPage::self() {
  return std::static_pointer_cast<WebKitPage>(shared_from_this());
}

WebKitWebView* WebKitPage::makeView(WebKitWebView* opener) {
  if (!client()) return nullptr;
  WebKitSettings* settings = PageSettings::make(client()->settings());
  WebKitWebContext* const context = engine_.context(client()->settings().isPrivateBrowsing);
  // A window that a page opens shares its opener's web process: the engine requires it.
  auto* created = WEBKIT_WEB_VIEW(
      opener ? g_object_new(WEBKIT_TYPE_WEB_VIEW, "related-view", opener, "settings", settings,
                            "user-content-manager", webkit_user_content_manager_new(), nullptr)
             : g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", context, "settings", settings,
                            "is-controlled-by-automation",
                            gboolean(engine_.automation().drives(context, drivesApplication())),
                            "automation-presentation-type",
                            WEBKIT_AUTOMATION_BROWSING_CONTEXT_PRESENTATION_TAB, nullptr));
  g_object_unref(settings);
  if (!GtkWindowSystem::embed(window(), GTK_WIDGET(created))) {
    g_object_ref_sink(created);
    g_object_unref(created);
    return nullptr;
  }
  view_ = created;
  connection_->attach(view_, self());
  load_->attach(view_);

  const auto connect = [&](const char* signal, auto handler) {
    g_signal_connect(view_, signal, G_CALLBACK(handler), this);
  };
  connect("notify::title", onTitle);
  connect("notify::estimated-load-progress", onProgress);
  connect("notify::zoom-level", onZoom);
  connect("notify::favicon", onFavicon);
  connect("web-process-terminated", onProcessEnded);
  connect("map", onMapped);
  parts_ = std::make_shared<PageParts>(*this, view_);
  load_->setParts(parts_.get());
  parts_->settings.setAllowedOrigins(allowedOrigins_);
  if (zoom_ != 1) webkit_web_view_set_zoom_level(view_, zoom_);
  services().downloads.registerPage(view_, weak_from_this());
  services().inspector.expectConnections();
  if (hasFrontEnd_) parts_->inspector.message(String(), true);
  return view_;
}

void WebKitPage::close() {
  if (!client()) return;
  forgetClient();
  dropView();
}

void WebKitPage::dropView() {
  connection_->detach();
  if (!view_) return;
  services().downloads.forgetPage(view_);
  g_signal_handlers_disconnect_by_data(view_, this);
  load_->detach();
  const bool later = parts_ && parts_->fullScreen.isMoving();
  parts_.reset();
  keepForCallers(view_);
  PageFullScreen::destroy(view_, later);
  view_ = nullptr;
}

// For settings that are fixed when a view is made. The page is loaded again at its address.
void WebKitPage::remakeView(bool withHistory) {
  if (!view_) return;
  const String location(webkit_web_view_get_uri(view_));
  const String session = withHistory ? parts_->history.session() : String();
  const bool hasHistory = withHistory && !parts_->history.items().empty();
  TrustedLoads& loads = load_->trustedLoads();
  const bool isOwn = loads.isOwn();
  dropView();
  // Whichever way it begins anew.
  if (isOwn) loads.expect(location);
  if (hasHistory && view() && parts_->history.restore(session, -1)) return;
  if (!location.isEmpty()) load_->loadUrl(location, isOwn);
}

// Reloading the chrome would lose the application's state: it keeps its allowed origins.
void WebKitPage::forgetTakenOrigins() {
  if (parts_ && parts_->settings.originsTakenBack() && !drivesApplication()) remakeView(true);
}

void WebKitPage::load(const String& url) {
  load_->load(url);
}

void WebKitPage::loadText(const String& text, const String& mimeType, const String& baseURL) {
  load_->loadText(text, mimeType, baseURL);
}

void WebKitPage::reload() {
  load_->reload();
}

void WebKitPage::stop() {
  load_->stop();
}

void WebKitPage::setAutoReload(bool enabled) {
  load_->setAutoReload(enabled);
}

void WebKitPage::endProcess(const OrvWebMemoryExcess* excess) {
  const auto held = self();
  if (!view_ || connection_->pid() == 0) return;
  if (excess) load_->memoryExceeded(*excess, connection_->pid());
  if (view_) webkit_web_view_terminate_web_process(view_);
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
  logAlways(LogError, "A session is not restored: malformed text.");
  return false;
}

void WebKitPage::tryClose() {
  if (parts_) parts_->windows.closeAsked();
  // A suspended page cannot answer.
  if (view_ && !connection_->setup().deferred) return webkit_web_view_try_close(view_);
  // There is no document that could object.
  if (client()) client()->closeAllowed();
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
  connection_->settingChanged(setting);
  // Last: it raises an event, which may close the page.
  if (setting == WebViewSetting::fullScreenVideoCapable && parts_) {
    parts_->fullScreen.capableChanged();
  }
}

void WebKitPage::wantedEventsChanged() {
  connection_->wantedEventsChanged();
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
  connection_->setRequestHeaders(headers);
}

void WebKitPage::setCallbackObjectEnabled(bool enabled) {
  connection_->setCallbackObjectEnabled(enabled);
}

void WebKitPage::bindCallbackObject(bool bound, const std::vector<String>& furtherOrigins) {
  std::vector<Origin> further;
  further.reserve(furtherOrigins.size());
  for (const String& each : furtherOrigins) further.push_back(Origin::of(each.view()));
  load_->trustedLoads().setFurtherOrigins(std::move(further));
  connection_->setBound(bound);
}

void WebKitPage::setDrivesApplication(const String& loadFailureHint) {
  load_->setFailureHint(loadFailureHint);
  connection_->setDrivesApplication();
  engine_.automation().setApplication(weak_from_this());
}

bool WebKitPage::drivesApplication() const {
  return connection_->setup().drivesApplication;
}

std::shared_ptr<PageContext> WebKitPage::windowForAutomation() {
  const auto held = shared_from_this();
  if (!view()) return nullptr;
  if (wants(OrvWebEvent::OpenWindow)) {
    OrvWebOpenWindowEvent event;
    if (auto given = parts_->windows.ask(event)) {
      if (!*given) logAlways(LogError, "The chrome refuses the window that WebDriver asks for.");
      return *std::move(given);
    }
    if (!client()) return nullptr;
  }
  return std::dynamic_pointer_cast<PageContext>(client()->pageOf(client()->makeOwnWindow()));
}

bool WebKitPage::askWhetherAlive() {
  return connection_->ping();
}

void WebKitPage::act(PageAction action, std::vector<JavaScriptVariant> arguments) {
  connection_->act(action, std::move(arguments));
}

void WebKitPage::postFunction(const FunctionCall& call, const String& resultId) {
  connection_->post(call, resultId);
}

JavaScriptVariant WebKitPage::callFunction(const FunctionCall& call) {
  return connection_->call(call);
}

void WebKitPage::linkReady(std::shared_ptr<PageLink> link) {
  connection_->ready(std::move(link));
}

link_protocol::PageSetup WebKitPage::setup() const {
  return connection_->setup();
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
  services().resources.step(stream, step);
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
  services().proxyLogin = {{}, username, password};
}

void WebKitPage::runScript(const String& script, const ScriptOptions& options, ScriptDone done) {
  if (!view()) return;
  struct Running {
    std::weak_ptr<PageContext> page;
    bool asJson;
    ScriptDone done;
  };
  webkit_web_view_evaluate_javascript(
      view_, script.utf8(), static_cast<gssize>(script.length()),
      options.isolated ? "pagehost-isolated" : nullptr, nullptr, nullptr,
      [](GObject* view, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Running> running(static_cast<Running*>(data));
        GError* error = nullptr;
        JSCValue* value =
            webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(view), result, &error);
        const auto type = value ? resultTypeOf(value) : OrvWebJavaScriptResultType::JSException;
        gchar* const own = !value            ? g_strdup(error->message)
                           : running->asJson ? jsc_value_to_json(value, 0)
                                             : jsc_value_to_string(value);
        const String text(own);
        g_free(own);
        g_clear_object(&value);
        g_clear_error(&error);
        const auto page = running->page.lock();
        if (page && page->client()) running->done(type, text);
      },
      new Running{weak_from_this(), options.asJson, std::move(done)});
}

void WebKitPage::inspectorMessage(const String& message, bool connected) {
  // Recorded for a view that is made later.
  if (message.isEmpty()) hasFrontEnd_ = connected;
  if (parts_) parts_->inspector.message(message, connected);
}

void WebKitPage::findString(const String& text, const FindOptions& options) {
  if (parts_) parts_->find.find(text, options);
}

void WebKitPage::answerPrompt(unsigned int number, const PromptAnswer& answer) {
  if (parts_) parts_->prompts.answer(number, answer);
}

void WebKitPage::answerOrigin(PagePermission permission, const String& origin, bool granted) {
  if (parts_) parts_->prompts.answerOrigin(permission, origin, granted);
}

void WebKitPage::answerOpenWindow(unsigned int number, std::shared_ptr<Page> page) {
  if (parts_) parts_->windows.answer(number, std::dynamic_pointer_cast<PageContext>(page));
}

void WebKitPage::download(const String& url, const String& filename) {
  if (view()) services().downloads.start(view_, url, filename);
}

void WebKitPage::stepDownload(unsigned int id, DownloadStep step) {
  services().downloads.step(id, step);
}

void WebKitPage::updateDownload(unsigned int id, bool save, const String& filename) {
  services().downloads.decide(id, save, filename);
}

WebKitPage::String WebKitPage::nativeCall(const NativeArguments& arguments) {
  if (!client()) return String();
  std::vector<const char*> texts;
  texts.reserve(arguments.size());
  for (const auto& argument : arguments) texts.push_back(argument ? argument->c_str() : nullptr);
  const auto held = shared_from_this();
  const TrustedLoads& loads = load_->trustedLoads();
  if (connection_->setup().bound && !load_->isTrusted()) {
    logAlways(LogError, "A native call of %s is refused: the program has not loaded that page.",
              loads.origin().isEmpty() ? "a page" : loads.origin().utf8());
    return String();
  }
  if (!client()) return String();
  OrvWebJavaScriptCallbackEvent event(std::move(texts));
  event.setCaller(loads.origin(), loads.isOwn());
  client()->raise(event);
  return event.result();
}

link_protocol::DialogAnswer WebKitPage::dialog(const link_protocol::DialogQuestion& question) {
  return view_ ? runDialog(view_, question) : link_protocol::DialogAnswer();
}

String WebKitPage::report(const link_protocol::PageReport& report) {
  const auto held = shared_from_this();
  return handleReport(*this, report);
}

// The desktop's window of the application, which is called like the document that drives it; null
// for every other page.
GtkWindow* WebKitPage::windowOfApplication() const {
  if (!connection_->setup().drivesApplication) return nullptr;
  GtkWidget* const top = gtk_widget_get_toplevel(GTK_WIDGET(view_));
  return GTK_IS_WINDOW(top) ? GTK_WINDOW(top) : nullptr;
}

void WebKitPage::onFavicon(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->self();
  WebKitFaviconDatabase* database =
      webkit_web_context_get_favicon_database(webkit_web_view_get_context(view));
  const char* location = webkit_web_view_get_uri(view);
  gchar* url = location ? webkit_favicon_database_get_favicon_uri(database, location) : nullptr;
  const String address(url);
  g_free(url);
  if (GtkWindow* window = self->windowOfApplication()) {
    cairo_surface_t* icon = webkit_web_view_get_favicon(view);
    GdkPixbuf* pixbuf =
        icon ? gdk_pixbuf_get_from_surface(icon, 0, 0, cairo_image_surface_get_width(icon),
                                           cairo_image_surface_get_height(icon))
             : nullptr;
    gtk_window_set_icon(window, pixbuf);
    g_clear_object(&pixbuf);
  }
  self->client()->update<&PageState::favicon>(
      faviconFrom(webkit_web_view_get_favicon(view), address));
}

void WebKitPage::onTitle(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->self();
  const char* title = webkit_web_view_get_title(view);
  GtkWindow* const window = self->windowOfApplication();
  if (window && title && *title) gtk_window_set_title(window, title);
  self->client()->update<&PageState::title>(String(title));
}

void WebKitPage::onProgress(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->self();
  const double progress = webkit_web_view_get_estimated_load_progress(view);
  self->client()->update<&PageState::loadProgress>(static_cast<int>(std::lround(progress * 100)));
}

void WebKitPage::onZoom(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->self();
  self->zoom_ = webkit_web_view_get_zoom_level(view);
  self->updateScale();
}

void WebKitPage::onMapped(GtkWidget*, WebKitPage* page) {
  const auto self = page->self();
  self->load_->shown();
}

void WebKitPage::onProcessEnded(WebKitWebView*, WebKitWebProcessTerminationReason reason,
                                WebKitPage* page) {
  const auto self = page->self();
  const int pid = self->connection_->pid();
  self->connection_->processEnded();
  if (self->parts_) self->parts_->hangMonitor.processEnded();
  if (self->parts_) self->parts_->fullScreen.documentGone();
  if (!self->view_) return;
  if (reason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT) {
    OrvWebMemoryExcess excess;
    excess.limit = self->engine_.processMemoryLimit();
    excess.bytes = std::max(excess.limit(), Tessel::Platform::privateMemoryOf(pid));
    excess.reason = "process";
    self->load_->memoryExceeded(excess, pid);
  }
  if (self->view_) self->load_->processEnded(reason);
}

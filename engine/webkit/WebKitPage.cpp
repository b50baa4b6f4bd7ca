// One page of the WebKitGTK engine. Main thread, but for the calls of page functions.
#include "engine/webkit/WebKitPage.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/Dialogs.h"
#include "engine/webkit/EngineValues.h"
#include "engine/webkit/WebKitEngine.h"
#include "platform/Log.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"

#include <array>
#include <cmath>
#include <utility>

using link_protocol::NativeArguments;
using Tessel::Platform::concat;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::Graphics::GtkWindowSystem;
using Tessel::Platform::Graphics::Window;

namespace {

// A view that is covered while it first paints can stay blank when the engine's shared buffers
// are off; these milliseconds after the load cover every case that was seen.
constexpr std::array<guint, 4> redrawTimes{50, 200, 600, 1200};

bool isFailedStatus(guint status) {
  return status >= 400;
}

}  // namespace

WebKitPage::WebKitPage(WebKitEngine& engine, PageClient& client, Window& window)
    : engine_(engine), client_(&client), window_(window) {}

WebKitPage::~WebKitPage() {
  close();
}

WebKitWebView* WebKitPage::makeView(WebKitWebView* opener) {
  if (!client_) return nullptr;
  WebKitSettings* settings = webkit_settings_new();
#define SETTING(type, getter, setter, start, property) \
  applySetting(settings, WebViewSetting::getter);
#include "engine/WebViewSettings.def"
#undef SETTING
  // A window that a page opens shares its opener's web process: the engine will not have it
  // otherwise.
  auto* created =
      WEBKIT_WEB_VIEW(opener ? g_object_new(WEBKIT_TYPE_WEB_VIEW, "related-view", opener,
                                            "settings", settings, nullptr)
                             : g_object_new(WEBKIT_TYPE_WEB_VIEW, "web-context", engine_.context(),
                                            "settings", settings, nullptr));
  g_object_unref(settings);
  if (!GtkWindowSystem::embed(window_, GTK_WIDGET(created))) {
    g_object_ref_sink(created);
    g_object_unref(created);
    return nullptr;
  }
  view_ = created;
  listenToPage();

  const auto connect = [&](gpointer object, const char* signal, auto handler) {
    g_signal_connect(object, signal, G_CALLBACK(handler), this);
  };
  connect(view_, "notify::page-id", onPageNumber);
  connect(view_, "notify::title", onTitle);
  connect(view_, "notify::uri", onLocation);
  connect(view_, "notify::estimated-load-progress", onProgress);
  connect(webkit_web_view_get_back_forward_list(view_), "changed", onHistory);
  connect(view_, "mouse-target-changed", onPointedAt);
  connect(view_, "load-changed", onLoadChanged);
  connect(view_, "load-failed", onLoadFailed);
  connect(view_, "load-failed-with-tls-errors", onTlsFailed);
  connect(view_, "web-process-terminated", onProcessEnded);
  connect(view_, "focus-in-event", onFocusIn);
  connect(view_, "focus-out-event", onFocusOut);
  connect(view_, "notify::favicon", onFavicon);
  connect(view_, "enter-fullscreen", onEnterFullscreen);
  connect(view_, "leave-fullscreen", onLeaveFullscreen);
  connect(view_, "context-menu", onContextMenu);
  navigations_ = std::make_unique<PageNavigation>(*this, view_);
  questions_ = std::make_unique<PageQuestions>(*this, view_);
  windows_ = std::make_unique<PageWindows>(*this, view_);
  find_ = std::make_unique<PageFind>(*this, view_);
  engine_.downloads().registerPage(view_, weak_from_this());
  return view_;
}

void WebKitPage::close() {
  if (!client_) return;
  client_ = nullptr;
  link_.store(nullptr);
  if (!view_) return;
  engine_.links().forgetPage(number_);
  engine_.downloads().forgetPage(view_);
  find_.reset();
  windows_.reset();
  questions_.reset();
  navigations_.reset();
  g_signal_handlers_disconnect_by_data(webkit_web_view_get_back_forward_list(view_), this);
  g_signal_handlers_disconnect_by_data(view_, this);
  gtk_widget_destroy(GTK_WIDGET(view_));
  view_ = nullptr;
}

void WebKitPage::load(const String& url) {
  if (!view()) return;
  GError* error = nullptr;
  if (!g_uri_is_valid(url.utf8(), G_URI_FLAGS_PARSE_RELAXED, &error)) {
    showFailure(url, concat("This is no address: ", error->message));
    g_error_free(error);
    return;
  }
  startLoad([this, url] { webkit_web_view_load_uri(view_, url.utf8()); });
}

void WebKitPage::loadText(const String& text, const String& mimeType, const String& baseURL) {
  if (!view()) return;
  startLoad([this, text, mimeType, baseURL] {
    GBytes* bytes = g_bytes_new(text.utf8(), text.length());
    webkit_web_view_load_bytes(view_, bytes, mimeType.utf8(), "utf-8",
                               baseURL.isEmpty() ? nullptr : baseURL.utf8());
    g_bytes_unref(bytes);
  });
}

void WebKitPage::startLoad(std::function<void()> load) {
  unstartedLoad_ = std::move(load);
  unstartedLoad_();
}

void WebKitPage::reload() {
  if (view_) webkit_web_view_reload(view_);
}

void WebKitPage::stop() {
  if (view_) webkit_web_view_stop_loading(view_);
}

void WebKitPage::goBack() {
  if (view_) webkit_web_view_go_back(view_);
}

void WebKitPage::goForward() {
  if (view_) webkit_web_view_go_forward(view_);
}

std::vector<OrvWebHistoryItem> WebKitPage::history() {
  std::vector<OrvWebHistoryItem> items;
  if (!view_) return items;
  const auto append = [&](gpointer data) {
    auto* item = WEBKIT_BACK_FORWARD_LIST_ITEM(data);
    // Whether an entry came from a form is not told by the engine.
    items.emplace_back(webkit_back_forward_list_item_get_uri(item),
                       webkit_back_forward_list_item_get_original_uri(item),
                       webkit_back_forward_list_item_get_title(item), false);
  };
  WebKitBackForwardList* list = webkit_web_view_get_back_forward_list(view_);
  // The list behind runs from the nearest entry to the farthest.
  GList* behind = g_list_reverse(webkit_back_forward_list_get_back_list(list));
  for (GList* entry = behind; entry; entry = entry->next) append(entry->data);
  g_list_free(behind);
  if (auto* current = webkit_back_forward_list_get_current_item(list)) append(current);
  GList* ahead = webkit_back_forward_list_get_forward_list(list);
  for (GList* entry = ahead; entry; entry = entry->next) append(entry->data);
  g_list_free(ahead);
  return items;
}

void WebKitPage::settingChanged(WebViewSetting setting) {
  if (view_) applySetting(webkit_web_view_get_settings(view_), setting);
}

void WebKitPage::applySetting(WebKitSettings* settings, WebViewSetting setting) const {
  const WebViewSettings& values = client_->settings();
  switch (setting) {
    case WebViewSetting::isBlockPopups:
      webkit_settings_set_javascript_can_open_windows_automatically(settings,
                                                                    !values.isBlockPopups);
      break;
    case WebViewSetting::isEnableConsoleLogging:
      webkit_settings_set_enable_write_console_messages_to_stdout(settings,
                                                                  values.isEnableConsoleLogging);
      break;
    case WebViewSetting::isEnableJavaScript:
      // The page's own scripts; the program's calls go on.
      webkit_settings_set_enable_javascript_markup(settings, values.isEnableJavaScript);
      break;
    case WebViewSetting::isEnableSpatialNavigation:
      webkit_settings_set_enable_spatial_navigation(settings, values.isEnableSpatialNavigation);
      break;
    case WebViewSetting::isEnableWebContentCache:
      webkit_settings_set_enable_page_cache(settings, values.isEnableWebContentCache);
      break;
    case WebViewSetting::isEnableWebInspector:
      webkit_settings_set_enable_developer_extras(settings, values.isEnableWebInspector);
      break;
    case WebViewSetting::isLoadImages:
      webkit_settings_set_auto_load_images(settings, values.isLoadImages);
      break;
    case WebViewSetting::defaultFontSize:
      webkit_settings_set_default_font_size(settings, static_cast<guint>(values.defaultFontSize));
      break;
    case WebViewSetting::minimumFontSize:
      webkit_settings_set_minimum_font_size(settings, static_cast<guint>(values.minimumFontSize));
      break;
    case WebViewSetting::defaultTextEncoding:
      webkit_settings_set_default_charset(settings, values.defaultTextEncoding.utf8());
      break;
    case WebViewSetting::userAgent:
      // Null brings the engine's own back.
      webkit_settings_set_user_agent(
          settings, values.userAgent.isEmpty() ? nullptr : values.userAgent.utf8());
      break;
    default:
      break;
  }
}

void WebKitPage::setRequestHeaders(const std::vector<OrvWebHeader>& headers) {
  setup_.requestHeaders = headers;
  sendSetup();
}

void WebKitPage::setCallbackObjectEnabled(bool enabled) {
  setup_.callbackObject = enabled;
  sendSetup();
}

void WebKitPage::setDrivesApplication(const String& loadFailureHint) {
  setup_.drivesApplication = true;
  loadFailureHint_ = loadFailureHint;
  if (const auto link = link_.load()) link->serveInEveryWait();
  sendSetup();
}

void WebKitPage::sendSetup() {
  if (const auto link = link_.load()) link->changeSetup(number_, setup_);
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

void WebKitPage::findString(const String& text, const FindOptions& options) {
  if (find_) find_->find(text, options);
}

void WebKitPage::answerQuestion(unsigned int number, const QuestionAnswer& answer) {
  if (questions_) questions_->answer(number, answer);
}

void WebKitPage::answerOrigin(PagePermission permission, const String& origin, bool granted) {
  if (questions_) questions_->answerOrigin(permission, origin, granted);
}

void WebKitPage::answerOpenWindow(unsigned int number, std::shared_ptr<Page> page) {
  if (windows_) windows_->answer(number, std::dynamic_pointer_cast<WebKitPage>(page));
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
  link_.store(std::move(link));
}

WebKitPage::String WebKitPage::nativeCall(const NativeArguments& arguments) {
  if (!client_) return String();
  std::vector<const char*> texts;
  texts.reserve(arguments.size());
  for (const auto& argument : arguments) texts.push_back(argument ? argument->c_str() : nullptr);
  OrvWebJavaScriptCallbackEvent event(std::move(texts));
  client_->raise(event);
  return event.result();
}

link_protocol::DialogAnswer WebKitPage::dialog(const link_protocol::DialogQuestion& question) {
  return view_ ? runDialog(view_, question) : link_protocol::DialogAnswer();
}

void WebKitPage::raise(OrvWebEvent::Type type) {
  OrvWebEvent event(type);
  raise(event);
}

void WebKitPage::report(const FunctionCall& report) {
  const auto self = shared_from_this();
  const auto text = [&](std::size_t index) {
    return index < report.arguments.size() ? report.arguments[index].stringValue() : String();
  };
  const String& what = report.path.front();
  if (what == String("documentLoaded")) {
    raise(OrvWebEvent::DocumentLoaded);
  } else if (what == String("exception")) {
    OrvWebJavaScriptExceptionEvent event;
    event.exception = text(0);
    event.file = text(1);
    event.line =
        report.arguments.size() > 2 ? static_cast<int>(report.arguments[2].numberValue()) : 0;
    raise(event);
  } else if (what == String("functionResult") && report.arguments.size() == 2) {
    OrvWebJavaScriptFunctionResultEvent event;
    event.resultId = text(0);
    event.result = report.arguments[1];
    raise(event);
  }
}

gboolean WebKitPage::onFocusIn(GtkWidget*, GdkEvent*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  OrvWebFocusEvent event;
  event.isFocused = true;
  self->raise(event);
  return GDK_EVENT_PROPAGATE;
}

gboolean WebKitPage::onFocusOut(GtkWidget*, GdkEvent*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  OrvWebFocusEvent event;
  self->raise(event);
  return GDK_EVENT_PROPAGATE;
}

void WebKitPage::onFavicon(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  WebKitFaviconDatabase* database =
      webkit_web_context_get_favicon_database(self->engine_.context());
  const char* location = webkit_web_view_get_uri(view);
  gchar* url = location ? webkit_favicon_database_get_favicon_uri(database, location) : nullptr;
  const String address(url);
  g_free(url);
  self->client_->update<&PageState::favicon>(
      faviconFrom(webkit_web_view_get_favicon(view), address));
}

gboolean WebKitPage::onEnterFullscreen(WebKitWebView*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  OrvWebFullScreenEnteringEvent event;
  self->raise(event);
  if (event.isPreventDefault()) return TRUE;
  self->raise(OrvWebEvent::FullScreenEnter);
  return FALSE;
}

gboolean WebKitPage::onLeaveFullscreen(WebKitWebView*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  self->raise(OrvWebEvent::FullScreenExit);
  return FALSE;
}

gboolean WebKitPage::onContextMenu(WebKitWebView*, WebKitContextMenu* menu, GdkEvent*,
                                   WebKitHitTestResult*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  if (!self->wants(OrvWebEvent::ContextMenuRequestEvent)) return FALSE;
  OrvWebContextMenuRequestEvent event;
  event.menuItems = menuItemsOf(menu);
  self->raise(event);
  // Prevented, the chrome shows a menu of its own.
  return event.isPreventDefault();
}

void WebKitPage::updateSecurity() {
  if (!client_) return;
  const auto self = shared_from_this();
  GTlsCertificate* certificate = nullptr;
  GTlsCertificateFlags problems = G_TLS_CERTIFICATE_NO_FLAGS;
  const bool secured = webkit_web_view_get_tls_info(view_, &certificate, &problems) != FALSE;
  String text;
  if (secured && certificate) {
    gchar* issuer = g_tls_certificate_get_issuer_name(certificate);
    text = concat("TLS, certified by ", issuer ? issuer : "nobody known");
    g_free(issuer);
  }
  client_->update<&PageState::encryptionInfo>(text);
  if (!client_) return;
  client_->update<&PageState::secureType>(!secured        ? OrvWebSecureType::SecureNone
                                          : problems == 0 ? OrvWebSecureType::SecureFull
                                                          : OrvWebSecureType::SecureFailed);
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
  self->client_->update<&PageState::location>(String(webkit_web_view_get_uri(view)));
  if (self->client_) self->navigations_->moved();
}

void WebKitPage::onProgress(WebKitWebView* view, GParamSpec*, WebKitPage* page) {
  const auto self = page->shared_from_this();
  const double progress = webkit_web_view_get_estimated_load_progress(view);
  self->client_->update<&PageState::loadProgress>(static_cast<int>(std::lround(progress * 100)));
}

void WebKitPage::onHistory(WebKitBackForwardList* list, WebKitBackForwardListItem*, gpointer,
                           WebKitPage* page) {
  const auto self = page->shared_from_this();
  GList* behind = webkit_back_forward_list_get_back_list(list);
  const int position = static_cast<int>(g_list_length(behind));
  g_list_free(behind);
  auto* current = webkit_back_forward_list_get_current_item(list);
  const String original(current ? webkit_back_forward_list_item_get_original_uri(current)
                                : nullptr);
  const auto length = static_cast<int>(webkit_back_forward_list_get_length(list));
  // Each report may close the page.
  const auto update = [&]<auto Member>(auto value) {
    if (self->client_) self->client_->update<Member>(std::move(value));
  };
  update.operator()<&PageState::originalLocation>(original);
  update.operator()<&PageState::historyLength>(length);
  update.operator()<&PageState::historyPosition>(position);
  update.operator()<&PageState::canGoBack>(position > 0);
  update.operator()<&PageState::canGoForward>(position + 1 < length);
}

void WebKitPage::onPointedAt(WebKitWebView*, WebKitHitTestResult* hit, guint, WebKitPage* page) {
  const auto self = page->shared_from_this();
  const bool link = webkit_hit_test_result_context_is_link(hit) != FALSE;
  self->client_->update<&PageState::status>(
      String(link ? webkit_hit_test_result_get_link_uri(hit) : nullptr));
}

void WebKitPage::onLoadChanged(WebKitWebView* view, WebKitLoadEvent event, WebKitPage* page) {
  const auto self = page->shared_from_this();
  switch (event) {
    case WEBKIT_LOAD_STARTED:
      self->unstartedLoad_ = nullptr;
      break;
    case WEBKIT_LOAD_COMMITTED:
      self->updateSecurity();
      self->navigations_->committed();
      self->raise(OrvWebEvent::DocumentLoadCommitted);
      break;
    case WEBKIT_LOAD_FINISHED: {
      self->redrawAfterLoad();
      if (self->showingFailure_) {
        self->showingFailure_ = false;
        break;
      }
      // A program whose chrome answers "not found" would only show that to somebody who cannot
      // tell what to do about it.
      WebKitWebResource* resource = webkit_web_view_get_main_resource(view);
      WebKitURIResponse* response = resource ? webkit_web_resource_get_response(resource) : nullptr;
      const guint status = response ? webkit_uri_response_get_status_code(response) : 0;
      if (self->setup_.drivesApplication && isFailedStatus(status)) {
        self->showFailure(webkit_web_view_get_uri(view),
                          concat("The answer was ", String::fromUnsignedInteger(status), "."));
      }
      self->raise(OrvWebEvent::DocumentLoadFinished);
      break;
    }
    default:
      break;
  }
}

gboolean WebKitPage::onLoadFailed(WebKitWebView*, WebKitLoadEvent, const gchar* uri, GError* error,
                                  WebKitPage* page) {
  const auto self = page->shared_from_this();
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
  // Prevented, the chrome shows a page of its own.
  if (!event.isPreventDefault()) self->showFailure(uri, error->message);
  self->raise(OrvWebEvent::DocumentLoadFailed);
  return TRUE;
}

gboolean WebKitPage::onTlsFailed(WebKitWebView*, const gchar* uri, GTlsCertificate* certificate,
                                 GTlsCertificateFlags problems, WebKitPage* page) {
  const auto self = page->shared_from_this();
  OrvWebSSLHandshakingFailedEvent event;
  event.connectionInfo = connectionInfoFrom(uri, certificate, problems);
  event.url = String(uri);
  self->raise(event);
  self->showFailure(uri, "The server's certificate is not trusted.");
  self->raise(OrvWebEvent::DocumentLoadFailed);
  return TRUE;
}

void WebKitPage::onProcessEnded(WebKitWebView* view, WebKitWebProcessTerminationReason reason,
                                WebKitPage* page) {
  const auto self = page->shared_from_this();
  self->link_.store(nullptr);
  const char* why = reason == WEBKIT_WEB_PROCESS_EXCEEDED_MEMORY_LIMIT ? "used too much memory"
                    : reason == WEBKIT_WEB_PROCESS_CRASHED             ? "crashed"
                                                                       : "was ended";
  const char* uri = webkit_web_view_get_uri(view);
  logAlways(LogError,
            "The web process of %s %s. The program goes on; loading again starts a new one.%s%s",
            uri ? uri : "a page", why, self->loadFailureHint_.isEmpty() ? "" : " ",
            self->loadFailureHint_.utf8());
  // What was asked of the process while it was dying was lost with it.
  if (const auto load = std::exchange(self->unstartedLoad_, nullptr)) load();
}

void WebKitPage::showFailure(const String& uri, const String& reason) {
  if (!view_) return;
  logAlways(LogError, "%s could not be loaded: %s %s", uri.utf8(), reason.utf8(),
            loadFailureHint_.utf8());
  gchar* page = g_markup_printf_escaped(
      "<!doctype html><html><head><meta charset='utf-8'><title>Not loaded</title>"
      "<meta name='color-scheme' content='light dark'></head>"
      "<body style='font:16px/1.5 sans-serif;margin:4em auto;max-width:36em;padding:0 1em'>"
      "<h1 style='font-size:1.5em'>This page could not be loaded</h1>"
      "<p><code style='overflow-wrap:anywhere'>%s</code></p><p>%s</p><p>%s</p></body></html>",
      uri.utf8(), reason.utf8(), loadFailureHint_.utf8());
  showingFailure_ = true;
  webkit_web_view_load_alternate_html(view_, page, uri.isEmpty() ? "about:blank" : uri.utf8(),
                                      nullptr);
  g_free(page);
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

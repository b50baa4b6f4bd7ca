// A page's connection to its web process. Main thread, but for post() and call().
#include "engine/webkit/PageConnection.h"

#include "engine/webkit/PageReports.h"
#include "platform/base/Log.h"

#include <algorithm>
#include <array>
#include <utility>

namespace {

// The settings that are sent to the module in the page's process.
constexpr std::array settingsOfModule{WebViewSetting::isDeferNetworkingAndJavaScript,
                                      WebViewSetting::isEnableDownloadableBinaryFonts,
                                      WebViewSetting::isEnableNetworkResourceRequestedEvents,
                                      WebViewSetting::isStandalone,
                                      WebViewSetting::isEnableFormAutofill,
                                      WebViewSetting::isEnableCredentialAutofill,
                                      WebViewSetting::isZoomToFitWidthOnLoad};

}  // namespace

void PageConnection::attach(WebKitWebView* view, std::weak_ptr<LinkedPage> linkedPage) {
  view_ = view;
  linkedPage_ = std::move(linkedPage);
  registerPage();
  g_signal_connect(view_, "notify::page-id", G_CALLBACK(onPageNumber), this);
  g_signal_connect(view_, "user-message-received", G_CALLBACK(onEngineMessage), this);
}

void PageConnection::detach() {
  if (const auto link = link_.exchange(nullptr); link && setup_.deferred) {
    link->changeSetup(number_, link_protocol::PageSetup());
  }
  pid_ = 0;
  if (!view_) return;
  page_.services().links.forgetPage(number_);
  number_ = 0;
  g_signal_handlers_disconnect_by_data(view_, this);
  view_ = nullptr;
}

void PageConnection::registerPage() {
  WebProcessLinks& links = page_.services().links;
  if (number_ != 0) links.forgetPage(number_);
  number_ = webkit_web_view_get_page_id(view_);
  links.registerPage(number_, linkedPage_.lock());
}

// A new web process numbers the page anew.
void PageConnection::onPageNumber(WebKitWebView*, GParamSpec*, PageConnection* self) {
  self->registerPage();
}

// A message of the page's module by way of the engine, which authenticates the page.
gboolean PageConnection::onEngineMessage(WebKitWebView*, WebKitUserMessage* message,
                                         PageConnection* self) {
  GVariant* token = webkit_user_message_get_parameters(message);
  const bool isPlace =
      g_strcmp0(webkit_user_message_get_name(message), link_protocol::placeMessage) == 0 && token &&
      g_variant_is_of_type(token, G_VARIANT_TYPE_STRING);
  if (isPlace) {
    const auto held = self->page_.shared_from_this();
    self->page_.services().links.placePage(self->number_, g_variant_get_string(token, nullptr));
  }
  return isPlace ? TRUE : FALSE;
}

void PageConnection::ready(std::shared_ptr<PageLink> link) {
  Tessel::Platform::traceStart("page connected");
  if (setup_.drivesApplication) link->serveInEveryWait();
  // The module asks for it next.
  refreshSetup();
  const int before = std::exchange(pid_, link->peerPid());
  link_.store(std::move(link));
  if (pid_ != before && page_.client()) page_.client()->processStarted(pid_);
}

void PageConnection::settingChanged(WebViewSetting setting) {
  if (std::ranges::find(settingsOfModule, setting) != settingsOfModule.end()) sendSetup();
}

void PageConnection::wantedEventsChanged() {
  if (page_.client() && watchedBy(*page_.client()) != setup_.watched) sendSetup();
}

void PageConnection::setRequestHeaders(const std::vector<OrvWebHeader>& headers) {
  setup_.requestHeaders = headers;
  sendSetup();
}

void PageConnection::setCallbackObjectEnabled(bool enabled) {
  setup_.callbackObject = enabled;
  sendSetup();
}

void PageConnection::setBound(bool bound) {
  if (setup_.bound == bound) return;
  setup_.bound = bound;
  sendSetup();
}

void PageConnection::setDrivesApplication() {
  setup_.drivesApplication = true;
  setup_.engineDialogs = page_.services().automation == AutomationMode::Chrome;
  if (const auto link = link_.load()) link->serveInEveryWait();
  sendSetup();
}

void PageConnection::sendSetup() {
  refreshSetup();
  if (const auto link = link_.load()) link->changeSetup(number_, setup_);
}

void PageConnection::refreshSetup() {
  if (!page_.client()) return;
  const WebViewSettings& settings = page_.client()->settings();
  setup_.downloadableFonts = settings.isEnableDownloadableBinaryFonts;
  setup_.standalone = settings.isStandalone;
  setup_.watched = watchedBy(*page_.client());
  // The page that drives the program could never be resumed.
  setup_.deferred = settings.isDeferNetworkingAndJavaScript && !setup_.drivesApplication;
}

void PageConnection::act(PageAction action, std::vector<JavaScriptVariant> arguments) {
  if (const auto link = link_.load()) link->postAction(number_, {action, std::move(arguments)});
}

bool PageConnection::ping() {
  const auto link = link_.load();
  if (link) link->ping(number_);
  return link != nullptr;
}

void PageConnection::post(const FunctionCall& call, const String& resultId) {
  if (const auto link = link_.load()) link->postFunction(number_, call, resultId);
}

JavaScriptVariant PageConnection::call(const FunctionCall& call) {
  const auto link = link_.load();
  return link ? link->callFunction(number_, call).value_or(JavaScriptVariant())
              : JavaScriptVariant();
}

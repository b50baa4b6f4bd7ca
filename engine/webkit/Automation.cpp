// The sessions of WebDriver clients, which the engine serves. Main thread.
#include "engine/webkit/Automation.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/BoundedWait.h"
#include "engine/webkit/base/ObjectPointer.h"
#include "engine/webkit/base/PageContext.h"
#include "platform/base/Log.h"

#include <chrono>
#include <utility>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogNotice;

namespace {

// How long the chrome may take to load before a client finds it.
constexpr std::chrono::seconds loadLimit{10};

// What a client has opened goes with its session.
void closeWindow(PageContext& page) {
  if (!page.client()) return;
  if (page.client()->isOwnWindow()) return page.client()->closeAllowed();
  OrvWebCloseWindowEvent event;
  page.raise(event);
}

// The engine tells that a load has finished when everything is there; scripts may run later.
constexpr const char* untilScriptsHaveRun =
    "if (document.readyState !== 'complete') "
    "await new Promise((done) => addEventListener('load', () => setTimeout(done)));";

// Until the document of the page that drives the application has loaded and its scripts have run.
// False if the page is closed, or the time is over.
bool waitForLoad(PageContext& page) {
  const auto isClosed = [&] { return !page.client(); };
  if (!waitInMainLoop(loadLimit,
                      [&] { return isClosed() || page.loadControl().isApplicationLoaded(); })) {
    return false;
  }
  WebKitWebView* const view = isClosed() ? nullptr : page.view();
  if (!view) return false;
  // Shared: the answer may come after the limit.
  const auto hasRun = std::make_shared<bool>(false);
  webkit_web_view_call_async_javascript_function(
      view, untilScriptsHaveRun, -1, nullptr, "pagehost-isolated", nullptr, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<std::shared_ptr<bool>> ran(static_cast<std::shared_ptr<bool>*>(data));
        **ran = true;
        JSCValue* value = webkit_web_view_call_async_javascript_function_finish(
            WEBKIT_WEB_VIEW(source), result, nullptr);
        g_clear_object(&value);
      },
      new std::shared_ptr<bool>(hasRun));
  return waitInMainLoop(loadLimit, [&] { return isClosed() || *hasRun; }) && !isClosed();
}

}  // namespace

Automation::Automation(AutomationMode mode, WebKitWebContext* context)
    : mode_(mode), context_(context) {
  if (mode_ == AutomationMode::Off) return;
  webkit_web_context_set_automation_allowed(context_, TRUE);
  g_signal_connect(context_, "automation-started", G_CALLBACK(onStarted), this);
}

Automation::~Automation() {
  g_signal_handlers_disconnect_by_data(context_, this);
  if (session_) g_signal_handlers_disconnect_by_data(session_, this);
  g_clear_object(&session_);
}

bool Automation::drives(WebKitWebContext* context, bool isApplication) const {
  return context == context_ &&
         (mode_ == AutomationMode::Chrome || (mode_ == AutomationMode::Pages && !isApplication));
}

void Automation::onStarted(WebKitWebContext*, WebKitAutomationSession* session, Automation* self) {
  logAlways(LogNotice, "A WebDriver session begins.");
  WebKitApplicationInfo* const info = webkit_application_info_new();
  webkit_application_info_set_name(info, "pagehost");
  webkit_application_info_set_version(info, PAGEHOST_VERSION);
  webkit_automation_session_set_application_info(session, info);
  webkit_application_info_unref(info);
  if (self->session_) g_signal_handlers_disconnect_by_data(self->session_, self);
  g_set_object(&self->session_, session);
  self->applicationIsGiven_ = false;
  self->pages_.clear();
  g_signal_connect(session, "create-web-view", G_CALLBACK(onCreateView), self);
  g_signal_connect(session, "will-close", G_CALLBACK(onWillClose), self);
}

WebKitWebView* Automation::onCreateView(WebKitAutomationSession* session, Automation* self) {
  const auto application = self->application_.lock();
  if (!application) return nullptr;
  // The client may leave in either wait.
  const ObjectPointer<WebKitAutomationSession> held(
      WEBKIT_AUTOMATION_SESSION(g_object_ref(session)));
  // Only a chrome that has loaded can be asked, or driven.
  if (!waitForLoad(*application)) {
    logAlways(LogNotice, "Automation: the chrome has not loaded in time.");
  }
  if (!application->client() || self->session_ != session) return nullptr;
  if (self->mode_ == AutomationMode::Chrome && !std::exchange(self->applicationIsGiven_, true)) {
    return application->view();
  }
  const auto page = application->windowForAutomation();
  if (!page) return nullptr;
  if (self->session_ != session) {
    closeWindow(*page);
    return nullptr;
  }
  WebKitWebView* const view = page->view();
  if (!view || !webkit_web_view_is_controlled_by_automation(view)) return nullptr;
  self->pages_.emplace_back(page);
  return view;
}

void Automation::onWillClose(WebKitAutomationSession* session, Automation* self) {
  logAlways(LogNotice, "The WebDriver session ends.");
  g_signal_handlers_disconnect_by_data(session, self);
  if (self->session_ == session) g_clear_object(&self->session_);
  auto* const pages = new auto(std::exchange(self->pages_, {}));
  // The engine is still at it.
  g_idle_add(
      [](gpointer data) -> gboolean {
        const std::unique_ptr<std::vector<std::weak_ptr<PageContext>>> left(
            static_cast<std::vector<std::weak_ptr<PageContext>>*>(data));
        for (const auto& each : *left) {
          if (const auto page = each.lock()) closeWindow(*page);
        }
        return G_SOURCE_REMOVE;
      },
      pages);
}

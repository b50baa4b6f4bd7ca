// The WebKitGTK engine of a process. Main thread.
#include "engine/webkit/WebKitEngine.h"

#include "engine/autofill/FormHistory.h"
#include "engine/autofill/PasswordStore.h"
#include "engine/webkit/Automation.h"
#include "engine/webkit/WebKitPage.h"
#include "engine/webkit/inspector/EngineInspector.h"
#include "engine/webkit/link/WebProcessLinks.h"
#include "engine/webkit/network/Downloads.h"
#include "engine/webkit/network/Resources.h"
#include "engine/webkit/network/SharedCookies.h"
#include "platform/base/Log.h"
#include "platform/os/SandboxFiles.h"

#include <cerrno>
#include <cstring>

using Tessel::Platform::claimDataFolder;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogNotice;
using Tessel::Platform::PageSandbox;
using Tessel::Platform::runtimeFolder;
using Tessel::Platform::Graphics::Window;

namespace {

// Seconds between two looks of a process at its memory; the engine's own 30 would let a page take
// gigabytes meanwhile.
constexpr double memoryInterval = 2;

// Null for no limit.
WebKitMemoryPressureSettings* memoryLimits(unsigned int mebibytes) {
  if (mebibytes == 0) return nullptr;
  WebKitMemoryPressureSettings* limits = webkit_memory_pressure_settings_new();
  webkit_memory_pressure_settings_set_memory_limit(limits, mebibytes);
  webkit_memory_pressure_settings_set_kill_threshold(limits, 1);
  webkit_memory_pressure_settings_set_poll_interval(limits, memoryInterval);
  return limits;
}

}  // namespace

WebKitEngine::WebKitEngine()
    : inspector_(std::make_unique<EngineInspector>()),
      resources_(std::make_unique<Resources>()),
      formHistory_(std::make_unique<FormHistory>(autofillFolder())),
      passwords_(std::make_unique<FilePasswordStore>(autofillFolder())),
      proxyLogin_(std::make_unique<SavedLogin>()) {}

std::unique_ptr<WebKitEngine> WebKitEngine::create(const Places& places, std::string& problem) {
  std::unique_ptr<WebKitEngine> engine(new WebKitEngine);
  const std::string module = places.moduleFolder + "/" PAGEHOST_PAGE_MODULE;
  if (!g_file_test(module.c_str(), G_FILE_TEST_IS_REGULAR)) {
    problem = "The page module " + module +
              " is missing: build it, install it, or point PAGEHOST_MODULE_PATH at its folder.";
    return nullptr;
  }
  const std::string folder = runtimeFolder();
  if (!folder.empty()) engine->links_ = std::make_unique<WebProcessLinks>(folder);
  if (!engine->links_ || !engine->links_->isListening()) {
    problem = std::string("There is no run-time folder to listen in (") + std::strerror(errno) +
              "): set XDG_RUNTIME_DIR to a folder of yours with mode 0700.";
    return nullptr;
  }
  engine->moduleFolder_ = places.moduleFolder;

  engine->processMemoryLimit_ = places.processMemoryLimit;
  if (WebKitMemoryPressureSettings* limits = memoryLimits(places.processMemoryLimit)) {
    // Before any process that loads is started.
    webkit_website_data_manager_set_memory_pressure_settings(limits);
    webkit_memory_pressure_settings_free(limits);
  }
  WebKitWebsiteDataManager* data = nullptr;
  const bool isEphemeral = places.automation != AutomationMode::Off;
  if (!isEphemeral) engine->dataFolder_ = claimDataFolder(places.dataName);
  if (isEphemeral) {
    data = webkit_website_data_manager_new_ephemeral();
  } else if (engine->dataFolder_.lock.get() >= 0) {
    data = webkit_website_data_manager_new("base-data-directory", engine->dataFolder_.data.c_str(),
                                           "base-cache-directory",
                                           engine->dataFolder_.cache.c_str(), nullptr);
  } else {
    logAlways(LogNotice, "Data of web sites are not stored: %s cannot be used (%s).",
              engine->dataFolder_.data.c_str(), std::strerror(errno));
    data = webkit_website_data_manager_new_ephemeral();
  }
  engine->context_ = engine->makeContext(data);
  engine->inspector_->shut();
  engine->automation_ = std::make_unique<Automation>(places.automation, engine->context_);
  engine->local_ = places.local;
  engine->sandbox_ = places.sandbox;
  if (places.sandbox == PageSandbox::Bubblewrap) Tessel::Platform::removeSandboxFilesAtExit();
  engine->prepare(engine->context_);
  engine->downloads_ = std::make_unique<Downloads>();
  engine->downloads_->listenTo(engine->context_);
  WebKitCookieManager* const cookies = webkit_website_data_manager_get_cookie_manager(
      webkit_web_context_get_website_data_manager(engine->context_));
  if (places.keepsCookies && engine->dataFolder_.lock) {
    webkit_cookie_manager_set_persistent_storage(
        cookies, (engine->dataFolder_.data + "/cookies.sqlite").c_str(),
        WEBKIT_COOKIE_PERSISTENT_STORAGE_SQLITE);
  }
  engine->cookies_ = std::make_unique<SharedCookies>(cookies);
  CookieJar::install(engine->cookies_.get());
  // Icons are only loaded where there is a place for them.
  webkit_web_context_set_favicon_database_directory(
      engine->context_,
      engine->dataFolder_.lock ? (engine->dataFolder_.cache + "/icons").c_str() : nullptr);
  return engine;
}

WebKitEngine::~WebKitEngine() {
  automation_.reset();
  downloads_.reset();
  cookies_.reset();
  for (WebKitWebContext** context : {&context_, &privateContext_}) {
    if (*context) g_signal_handlers_disconnect_by_data(*context, this);
    g_clear_object(context);
  }
}

EngineServices WebKitEngine::services() {
  return {local_,      *downloads_,  *inspector_, *formHistory_,      *links_,
          *passwords_, *proxyLogin_, *resources_, automation_->mode()};
}

void WebKitEngine::forget(AutofillData what) {
  if (what == AutofillData::Texts) return formHistory_->clear();
  passwords_->clear();
  *proxyLogin_ = {};
}

void WebKitEngine::prepare(WebKitWebContext* context) {
  // Before the context's first web process.
  if (sandbox_ == PageSandbox::Bubblewrap) {
    webkit_web_context_set_sandbox_enabled(context, TRUE);
    for (const std::string& folder : {moduleFolder_, links_->folder()}) {
      webkit_web_context_add_path_to_sandbox(context, folder.c_str(), TRUE);
    }
  }
  // The log-ins that are kept are kept by us, where they can be listed and forgotten.
  webkit_website_data_manager_set_persistent_credential_storage_enabled(
      webkit_web_context_get_website_data_manager(context), FALSE);
  g_signal_connect(context, "initialize-web-extensions", G_CALLBACK(onInitializeModules), this);
  serveLocalScheme(context, local_);
  resources_->serve(context);
}

// Takes the reference.
WebKitWebContext* WebKitEngine::makeContext(WebKitWebsiteDataManager* data) const {
  WebKitMemoryPressureSettings* const limits = memoryLimits(processMemoryLimit_);
  auto* const context =
      WEBKIT_WEB_CONTEXT(g_object_new(WEBKIT_TYPE_WEB_CONTEXT, "website-data-manager", data,
                                      "memory-pressure-settings", limits, nullptr));
  if (limits) webkit_memory_pressure_settings_free(limits);
  g_object_unref(data);
  return context;
}

WebKitWebContext* WebKitEngine::context(bool isPrivate) {
  // One context can be driven. It forgets everything in any case, but what pages of other views
  // leave is seen in private ones.
  if (!isPrivate || automation_->mode() == AutomationMode::Pages) return context_;
  if (!privateContext_) {
    privateContext_ = makeContext(webkit_website_data_manager_new_ephemeral());
    prepare(privateContext_);
    downloads_->listenTo(privateContext_);
  }
  return privateContext_;
}

// Once for each web process, when it is started.
void WebKitEngine::onInitializeModules(WebKitWebContext* context, gpointer data) {
  auto* self = static_cast<WebKitEngine*>(data);
  // What those before it have left, so that it does not become more.
  if (self->sandbox_ == PageSandbox::Bubblewrap) Tessel::Platform::removeSandboxLeftovers();
  webkit_web_context_set_web_extensions_directory(context, self->moduleFolder_.c_str());
  webkit_web_context_set_web_extensions_initialization_user_data(
      context,
      g_variant_new("(ssss)", self->links_->address().c_str(), self->links_->issueToken().c_str(),
                    textOf(self->sandbox_), self->moduleFolder_.c_str()));
}

std::shared_ptr<Page> WebKitEngine::createPage(PageClient& client, Window& window) {
  return std::make_shared<WebKitPage>(*this, client, window);
}

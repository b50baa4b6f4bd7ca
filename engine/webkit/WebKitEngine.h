// The WebKitGTK engine of a process: its context, its data folder and the links to its web
// processes. Main thread.
#pragma once

#include "engine/Page.h"
#include "engine/webkit/base/EngineServices.h"
#include "engine/webkit/network/LocalScheme.h"
#include "platform/os/Folders.h"
#include "platform/os/PageSandbox.h"

#include <webkit2/webkit2.h>

#include <cstdint>
#include <memory>
#include <string>

class Automation;
class SharedCookies;

class WebKitEngine final : public PageFactory {
 public:
  struct Places {
    std::string moduleFolder;  // holds the page module, an absolute path
    LocalRoots local;          // what local: addresses are files of
    std::string dataName;      // of the folder for cookies, caches and the like
    // Whether cookies are written into that folder; else they go with the process, which other
    // processes tell of theirs (CookieJar).
    bool keepsCookies = true;
    // Of web processes. The engine ends the program where it cannot give them its own.
    Tessel::Platform::PageSandbox sandbox = Tessel::Platform::PageSandbox::None;
    // Of each web process, and of the one that loads for them, in mebibytes: caches are emptied on
    // the way there, and who takes more is ended. 0: no limit.
    unsigned int processMemoryLimit = 0;
    // Driven pages leave nothing behind. The engine listens where its environment says.
    AutomationMode automation = AutomationMode::Off;
  };

  // Starts the engine; GTK must be running. On failure null, and problem says in a sentence what
  // is wrong and what to do about it.
  static std::unique_ptr<WebKitEngine> create(const Places& places, std::string& problem);
  ~WebKitEngine() override;

  std::shared_ptr<Page> createPage(PageClient& client,
                                   Tessel::Platform::Graphics::Window& window) override;

  // Where views are made: what pages leave behind is kept, or forgotten with the last view.
  WebKitWebContext* context(bool isPrivate);
  EngineServices services();
  // Bytes that a web process may take; 0 for no limit.
  std::uint64_t processMemoryLimit() const { return std::uint64_t{processMemoryLimit_} << 20; }
  Automation& automation() { return *automation_; }
  void forget(AutofillData what);

 private:
  WebKitEngine();

  void prepare(WebKitWebContext* context);
  static void onInitializeModules(WebKitWebContext* context, gpointer self);

  WebKitWebContext* makeContext(WebKitWebsiteDataManager* data) const;

  std::string moduleFolder_;
  unsigned int processMemoryLimit_ = 0;
  LocalRoots local_;
  Tessel::Platform::PageSandbox sandbox_ = Tessel::Platform::PageSandbox::None;
  Tessel::Platform::ClaimedFolder dataFolder_;
  std::unique_ptr<WebProcessLinks> links_;
  const std::unique_ptr<EngineInspector> inspector_;
  const std::unique_ptr<Resources> resources_;
  const std::unique_ptr<FormHistory> formHistory_;
  const std::unique_ptr<PasswordStore> passwords_;
  const std::unique_ptr<SavedLogin> proxyLogin_;
  WebKitWebContext* context_ = nullptr;
  WebKitWebContext* privateContext_ = nullptr;  // made at first need
  std::unique_ptr<Automation> automation_;
  std::unique_ptr<Downloads> downloads_;
  std::unique_ptr<SharedCookies> cookies_;
};

// The WebKitGTK engine of a process: its context, its data folder and the links to its web
// processes. Main thread.
#pragma once

#include "engine/Page.h"
#include "engine/autofill/FormHistory.h"
#include "engine/autofill/PasswordStore.h"
#include "engine/webkit/inspector/EngineInspector.h"
#include "engine/webkit/link/WebProcessLinks.h"
#include "engine/webkit/network/Downloads.h"
#include "engine/webkit/network/Resources.h"
#include "engine/webkit/network/SharedCookies.h"
#include "platform/os/Folders.h"
#include "platform/os/PageSandbox.h"

#include <webkit2/webkit2.h>

#include <memory>
#include <string>

class WebKitEngine final : public PageFactory {
 public:
  struct Places {
    std::string moduleFolder;  // holds the page module, an absolute path
    std::string localRoot;     // what local: addresses are files of, an absolute path
    std::string dataName;      // of the folder for cookies, caches and the like
    // Whether cookies are written into that folder; else they go with the process, which other
    // processes tell of theirs (CookieJar).
    bool keepsCookies = true;
    // Of web processes. The engine ends the program where it cannot give them its own.
    Tessel::Platform::PageSandbox sandbox = Tessel::Platform::PageSandbox::None;
  };

  // Starts the engine; GTK must be running. On failure null, and problem says in a sentence what
  // is wrong and what to do about it.
  static std::unique_ptr<WebKitEngine> create(const Places& places, std::string& problem);
  ~WebKitEngine() override;

  std::shared_ptr<Page> createPage(PageClient& client,
                                   Tessel::Platform::Graphics::Window& window) override;

  // Where views are made: what pages leave behind is kept, or forgotten with the last view.
  WebKitWebContext* context(bool isPrivate);
  // What local: addresses are files of.
  const std::string& localRoot() const { return localRoot_; }
  WebProcessLinks& links() { return *links_; }
  EngineInspector& inspector() { return inspector_; }
  Downloads& downloads() { return *downloads_; }
  Resources& resources() { return *resources_; }
  FormHistory& formHistory() { return formHistory_; }
  PasswordStore& passwords() { return *passwords_; }
  // The log-in of the proxy that this process uses, kept as long as it runs; without a name there
  // is none. Its place is empty.
  const SavedLogin& proxyLogin() const { return proxyLogin_; }
  void setProxyLogin(const SavedLogin& login) { proxyLogin_ = login; }
  void forget(AutofillData what);

 private:
  WebKitEngine() = default;

  void prepare(WebKitWebContext* context);
  static void onInitializeModules(WebKitWebContext* context, gpointer self);

  std::string moduleFolder_;
  std::string localRoot_;
  Tessel::Platform::PageSandbox sandbox_ = Tessel::Platform::PageSandbox::None;
  Tessel::Platform::ClaimedFolder dataFolder_;
  std::unique_ptr<WebProcessLinks> links_;
  EngineInspector inspector_;
  std::unique_ptr<Resources> resources_ = std::make_unique<Resources>();
  FormHistory formHistory_{autofillFolder()};
  std::unique_ptr<PasswordStore> passwords_ = std::make_unique<FilePasswordStore>(autofillFolder());
  SavedLogin proxyLogin_;
  WebKitWebContext* context_ = nullptr;
  WebKitWebContext* privateContext_ = nullptr;  // made at first need
  std::unique_ptr<Downloads> downloads_;
  std::unique_ptr<SharedCookies> cookies_;
};

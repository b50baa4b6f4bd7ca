// Owns all web views of a process: assigns handles, creates and deletes them, delivers their events
// to the chrome, and ends the main loop with the last of them.
//
// UI thread, except for operations marked "any thread": allocating a handle, reporting an error to
// the chrome, sending an event.
#pragma once

#include "engine/OrvWebEvent.h"
#include "platform/base/String.h"
#include "platform/loop/GuardedPointer.h"
#include "webview/RemoteHost.h"
#include "webview/events/EventType.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

class WebInspectorClient;
class IPCSenderWebView;
class WebView;

class WebViewManager : public Tessel::Platform::GuardedPointerBase {
 public:
  using String = Tessel::Platform::String;
  // Identifies a web view to the chrome, the manager and other processes. Never reused; 0 for none.
  using WebViewHandle = unsigned int;

  // The web view that shows the chrome.
  static constexpr WebViewHandle rootHandle = 1;
  // Process group ids with a special meaning; all others identify a child process.
  static constexpr int inThisProcess = 0;
  static constexpr int inNewProcess = -1;

  // Created on first use, never destroyed. Registers "webview.create", "webview.delete" and the
  // functions of the web inspector.
  static WebViewManager& instance();
  ~WebViewManager() override;

  // The first web view of a process exists when this returns; others of this process are created on
  // a later turn of the main loop, after the caller has returned. 0 if a new child process could
  // not be started, and while the application ends.
  WebViewHandle createWebView(const std::string& windowGroup, int processGroup);
  // Destroys the web view without asking it; gone when this returns, unless pinned.
  void destroyWebView(WebViewHandle handle);
  // Asks every web view to close; the main loop ends with the last of them.
  void shutdown();
  bool isShuttingDown() const { return shuttingDown_; }

  WebView* webViewForHandle(WebViewHandle handle) const;
  // The proxy of a web view in a child process; null for others.
  IPCSenderWebView* remoteWebViewForHandle(WebViewHandle handle) const;
  // Takes ownership of the proxy, under the proxy's handle.
  void addRemoteWebView(IPCSenderWebView* remote);
  // Takes ownership of a web view created elsewhere and shows it. False, and it is deleted, if it
  // cannot be shown or the handle is in use.
  bool addWebView(WebViewHandle handle, std::unique_ptr<WebView> webView, int rotation);
  // The process of a web view has ended: the chrome is told, and the web view is destroyed.
  void remoteWebViewCrashed(WebViewHandle handle);
  // The factory of processes for web views. Without one there can be none.
  void setRemoteHostFactory(RemoteHost::Factory factory) { makeRemoteHost_ = std::move(factory); }
  // A web view over all others that the chrome has not asked for: it is destroyed as soon as it is
  // closed. Null when there can be none.
  WebView* createOwnWebView(const String& windowGroup);
  // From now on web views are made in this process wherever they are asked for, which is logged
  // with the reason.
  void keepInThisProcess(const char* reason) { keptInThisProcess_ = reason; }
  // Sets the capabilities of origins in a web view, in the format of Capabilities::read. False if
  // the web view does not exist, or the text is malformed, which is reported to the chrome.
  bool setCapabilities(WebViewHandle handle, const String& text);
  // Sets an environment variable in every child process.
  void setEnvInGroups(const String& name, const String& value);
  WebViewHandle handleForWebView(const WebView* webView) const;
  WebView* rootWebView() const { return webViewForHandle(rootHandle); }
  // For other threads: pin it before use.
  Tessel::Platform::GuardedPointer<WebView> rootWebViewFromAnyThread() const;

  // All but the root, in order, also those that are being created.
  std::vector<WebViewHandle> webViews() const;
  // The same. Whoever asks for them keeps those of a chrome that was lost.
  std::vector<WebViewHandle> takeWebViews();
  // The chrome's process has ended: nobody knows the web views that there are.
  void chromeLost();
  // Called then: what else the chrome had asked for is nobody's wish any more.
  void setChromeLostListener(std::function<void()> listener) { chromeLost_ = std::move(listener); }
  // The next chrome is there: destroys those of the former one that it has not asked for.
  void chromeLoaded();
  // Whether there is a chrome that has loaded.
  bool isChromeLoaded() const { return chromeIsLoaded_; }
  // Called whenever one has; an empty function removes it.
  void onChromeLoaded(std::function<void()> hook) { chromeLoadedHook_ = std::move(hook); }

  // Whether the web view has reported Created.
  bool isCreated(WebViewHandle handle) const;
  void markCreated(WebViewHandle handle);

  // Logs an error, whoever listens, and reports it to the chrome, if there is one. Any thread.
  void informChromeOfError(const String& message);
  // The same of one that is in the log already.
  void informChromeOfLoggedError(const String& message);
  // Logs what is wrong with the chrome itself. Main thread.
  void noteProblem(const String& text);
  // Is told all of these, too. Main thread.
  void watchProblems(std::function<void(const String&)> watcher) { watcher_ = std::move(watcher); }
  // The receiver of errors in a process without a chrome. Main thread.
  void forwardErrors(std::function<void(const String&)> forward) { forward_ = std::move(forward); }

  // The inspectable web views and their front ends.
  WebInspectorClient& inspector() const { return *inspector_; }

  // Hands a web view's event on to the chrome, with a number that says more about it.
  void postEvent(WebViewHandle handle, EventType event, const String& data, int integer = 0);
  // The same, and returns the chrome's answer; empty if there is none. Any thread.
  String sendEvent(WebViewHandle handle, EventType event, const String& data, int integer = 0);

  // The processes that have the pages of web views, as far as they are known.
  const std::map<WebViewHandle, int>& webProcesses() const { return webProcesses_; }
  // See OrvWebView::endProcess; of a web view in any process.
  void endProcess(WebViewHandle handle, unsigned long long limit, unsigned long long taken) const;

  // The web view has closed; if that was requested by shutdown, it is destroyed.
  void finishClosing(WebViewHandle handle);

 private:
  WebViewManager();

  void createInProcessWebView(WebViewHandle handle, const String& windowGroup, int rotation);
  bool createRemoteWebView(WebViewHandle handle, const std::string& windowGroup, int processGroup,
                           int rotation);
  void dropIfUnused(RemoteHost* host);
  int freeGroupId() const;
  void publishRoot(WebView* root);
  bool noWebViews() const;
  void endLoopIfEmpty();

  std::atomic<WebViewHandle> lastHandle_ = 0;
  std::map<WebViewHandle, WebView*> webViews_;                 // owned
  std::map<WebViewHandle, IPCSenderWebView*> remoteWebViews_;  // owned
  std::map<WebViewHandle, bool> created_;
  std::map<int, RemoteHost*> groups_;  // owned; live ones only
  RemoteHost::Factory makeRemoteHost_;
  std::map<const WebView*, WebViewHandle> handles_;
  std::map<WebViewHandle, int> webProcesses_;
  std::set<WebViewHandle> left_;  // by a chrome whose process has ended
  bool chromeIsLoaded_ = false;
  std::function<void()> chromeLoadedHook_;
  bool shuttingDown_ = false;  // until the loop ends
  const char* keptInThisProcess_ = nullptr;
  std::set<WebViewHandle> closing_;
  std::function<void(const String&)> forward_;
  std::function<void()> chromeLost_;
  std::function<void(const String&)> watcher_;
  const std::unique_ptr<WebInspectorClient> inspector_;

  mutable std::mutex rootMutex_;
  Tessel::Platform::GuardedPointer<WebView> publishedRoot_;
};

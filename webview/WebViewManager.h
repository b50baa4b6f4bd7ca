// The owner of all web views of a process: it gives them handles, makes and deletes them, brings
// their events to the chrome and ends the main loop with the last of them.
//
// UI thread, but for what any thread may do: allocating a handle, telling the chrome of an error
// and handling the message of an event that is answered.
#pragma once

#include "engine/OrvWebEvent.h"
#include "platform/base/String.h"
#include "platform/channel/Message.h"
#include "platform/loop/GuardedPointer.h"
#include "webview/RemoteHost.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

class WebInspectorClient;
class IPCSenderWebView;
class WebView;

class WebViewManager : public Tessel::Platform::GuardedPointerBase {
 public:
  using String = Tessel::Platform::String;
  // Names one web view to the chrome, the manager and other processes. Never reused; 0 names none.
  using WebViewHandle = unsigned int;

  // The web view that shows the chrome.
  static constexpr WebViewHandle rootHandle = 1;
  // Process group ids with a meaning of their own; all others name a child process.
  static constexpr int inThisProcess = 0;
  static constexpr int inNewProcess = -1;

  // Created on first use, never destroyed. Registers "webview.create", "webview.delete" and the
  // functions of the web inspector.
  static WebViewManager& instance();
  ~WebViewManager() override;

  // The first web view of a process is there when this returns; others of this process come into
  // being on a later turn of the main loop, when whoever asked for them has returned. 0 when a
  // new child process could not be had, and while the application ends.
  WebViewHandle createWebView(const std::string& windowGroup, int processGroup);
  // Asked for by no one, gone when this returns, but for those who have it pinned.
  void destroyWebView(WebViewHandle handle);
  // Asks every web view to end; the main loop ends with the last of them.
  void shutdown();

  WebView* webViewForHandle(WebViewHandle handle) const;
  // The proxy of a web view that lives in a child process; null for all others.
  IPCSenderWebView* remoteWebViewForHandle(WebViewHandle handle) const;
  // Takes the proxy over, under the proxy's handle.
  void addRemoteWebView(IPCSenderWebView* remote);
  // Takes a web view over that was made elsewhere and shows it. False, and it is gone, when it
  // cannot be shown or there is one of that handle.
  bool addWebView(WebViewHandle handle, std::unique_ptr<WebView> webView, int rotation);
  // The process of a web view has gone: the chrome is told, and the web view is no more.
  void remoteWebViewCrashed(WebViewHandle handle);
  // Who starts other processes for web views. Without one they cannot be had.
  void setRemoteHostFactory(RemoteHost::Factory factory) { makeRemoteHost_ = std::move(factory); }
  // What origins may call in a web view, in the form of Capabilities::read. False when there is no
  // such web view.
  bool setCapabilities(WebViewHandle handle, const String& text);
  // Sets an environment variable in every child process.
  void setEnvInGroups(const String& name, const String& value);
  WebViewHandle handleForWebView(const WebView* webView) const;
  WebView* rootWebView() const { return webViewForHandle(rootHandle); }
  // For other threads: pin it before use.
  Tessel::Platform::GuardedPointer<WebView> rootWebViewFromAnyThread() const;

  // Whether the web view has reported that it exists.
  bool isCreated(WebViewHandle handle) const;
  void markCreated(WebViewHandle handle);

  // Tells the chrome about an error; logged and dropped when there is no chrome. Any thread.
  void informChromeOfError(const String& message);
  // Where errors go in a process without a chrome, from its main thread.
  void forwardErrors(std::function<void(const String&)> forward) { forward_ = std::move(forward); }

  // Which web views may be inspected, and by whom they are.
  WebInspectorClient& inspector() const { return *inspector_; }

  // The event messages of web views; others, and those of no known event, are ignored. A posted
  // event on the UI thread, one that is answered on any.
  void handleMessage(const Tessel::Platform::Message& message);

  // The web view has ended; if that was asked for by shutdown, it is destroyed.
  void finishClosing(WebViewHandle handle);

 private:
  WebViewManager();

  void createInProcessWebView(WebViewHandle handle, const String& windowGroup, int rotation);
  void handlePostedEvent(const class HandleOrvWebPostEventMessage& message);
  void handleSentEvent(const class HandleOrvWebSendEventMessage& message);
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
  std::map<int, RemoteHost*> groups_;  // owned; only those that live
  RemoteHost::Factory makeRemoteHost_;
  std::map<const WebView*, WebViewHandle> handles_;
  bool shuttingDown_ = false;  // until the loop ends
  std::set<WebViewHandle> closing_;
  std::function<void(const String&)> forward_;
  const std::unique_ptr<WebInspectorClient> inspector_;

  mutable std::mutex rootMutex_;
  Tessel::Platform::GuardedPointer<WebView> publishedRoot_;
};

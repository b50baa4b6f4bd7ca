// One page of the WebKitGTK engine. Main thread, but for the calls of page functions.
#pragma once

#include "engine/Enumerations.h"
#include "engine/Page.h"
#include "engine/webkit/PageFind.h"
#include "engine/webkit/PageNavigation.h"
#include "engine/webkit/PageQuestions.h"
#include "engine/webkit/PageWindows.h"
#include "engine/webkit/WebProcessLinks.h"

#include <webkit2/webkit2.h>

#include <atomic>
#include <functional>
#include <memory>

class WebKitEngine;

// The engine's view is made when the first thing is loaded: until then it could still become
// something else, a window that a page opens above all.
class WebKitPage final : public Page,
                         public LinkedPage,
                         public std::enable_shared_from_this<WebKitPage> {
 public:
  WebKitPage(WebKitEngine& engine, PageClient& client, Tessel::Platform::Graphics::Window& window);
  ~WebKitPage() override;

  void close() override;
  void load(const String& url) override;
  void loadText(const String& text, const String& mimeType, const String& baseURL) override;
  void reload() override;
  void stop() override;
  void goBack() override;
  void goForward() override;
  std::vector<OrvWebHistoryItem> history() override;
  void settingChanged(WebViewSetting setting) override;
  void setRequestHeaders(const std::vector<OrvWebHeader>& headers) override;
  void setCallbackObjectEnabled(bool enabled) override;
  void setDrivesApplication(const String& loadFailureHint) override;
  void runScript(const String& script, bool isolated, const String& resultId) override;
  void findString(const String& text, const FindOptions& options) override;
  void answerQuestion(unsigned int number, const QuestionAnswer& answer) override;
  void answerOrigin(PagePermission permission, const String& origin, bool granted) override;
  void answerOpenWindow(unsigned int number, std::shared_ptr<Page> page) override;
  void download(const String& url, const String& filename) override;
  void stepDownload(unsigned int id, DownloadStep step) override;
  void updateDownload(unsigned int id, bool save, const String& filename) override;
  void postFunction(const FunctionCall& call, const String& resultId) override;
  JavaScriptVariant callFunction(const FunctionCall& call) override;

  void linkReady(std::shared_ptr<PageLink> link) override;
  link_protocol::PageSetup setup() const override { return setup_; }
  String nativeCall(const link_protocol::NativeArguments& arguments) override;
  link_protocol::DialogAnswer dialog(const link_protocol::DialogQuestion& question) override;
  void report(const FunctionCall& report) override;

  // For the parts of the page. The client is null once the page is closed; whoever is called by
  // the engine holds the page while it raises events.
  PageClient* client() const { return client_; }
  bool wants(OrvWebEvent::Type type) const { return client_ && client_->wants(type); }
  void raise(OrvWebEvent& event) {
    if (client_) client_->raise(event);
  }
  void raise(OrvWebEvent::Type type);
  // The engine's view, made if need be. Null once the page is closed, or where the window cannot
  // show it.
  WebKitWebView* view() { return view_ ? view_ : makeView(nullptr); }
  // Becomes the window that another page opens; false when it is something already.
  bool becomeWindowOf(WebKitWebView* opener) { return !view_ && makeView(opener) != nullptr; }

 private:
  static void onPageNumber(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onTitle(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onLocation(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onProgress(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onHistory(WebKitBackForwardList*, WebKitBackForwardListItem*, gpointer,
                        WebKitPage* self);
  static void onPointedAt(WebKitWebView*, WebKitHitTestResult* hit, guint, WebKitPage* self);
  static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, WebKitPage* self);
  static gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, const gchar* uri, GError* error,
                               WebKitPage* self);
  static gboolean onTlsFailed(WebKitWebView*, const gchar* uri, GTlsCertificate*,
                              GTlsCertificateFlags, WebKitPage* self);
  static gboolean onFocusIn(GtkWidget*, GdkEvent*, WebKitPage* self);
  static gboolean onFocusOut(GtkWidget*, GdkEvent*, WebKitPage* self);
  static void onFavicon(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static gboolean onEnterFullscreen(WebKitWebView*, WebKitPage* self);
  static gboolean onLeaveFullscreen(WebKitWebView*, WebKitPage* self);
  static gboolean onContextMenu(WebKitWebView*, WebKitContextMenu* menu, GdkEvent*,
                                WebKitHitTestResult* hit, WebKitPage* self);
  static void onProcessEnded(WebKitWebView*, WebKitWebProcessTerminationReason reason,
                             WebKitPage* self);

  WebKitWebView* makeView(WebKitWebView* opener);
  void startLoad(std::function<void()> load);
  void listenToPage();
  void updateSecurity();
  void applySetting(WebKitSettings* settings, WebViewSetting setting) const;
  void sendSetup();
  void showFailure(const String& uri, const String& reason);
  void redrawAfterLoad();

  WebKitEngine& engine_;
  PageClient* client_;  // null once closed
  Tessel::Platform::Graphics::Window& window_;
  WebKitWebView* view_ = nullptr;
  link_protocol::PageSetup setup_;
  String loadFailureHint_;
  bool showingFailure_ = false;
  std::function<void()> unstartedLoad_;  // asked for, and the web process has not said so yet

  // Made with the view.
  std::unique_ptr<PageNavigation> navigations_;
  std::unique_ptr<PageQuestions> questions_;
  std::unique_ptr<PageWindows> windows_;
  std::unique_ptr<PageFind> find_;

  // What other threads need to call the page's functions.
  std::atomic<std::uint64_t> number_ = 0;
  std::atomic<std::shared_ptr<PageLink>> link_;
};

// One page of the WebKitGTK engine. Main thread, but for the calls of page functions.
#pragma once

#include "engine/Page.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/link/WebProcessLinks.h"

#include <webkit2/webkit2.h>

#include <memory>
#include <utility>
#include <vector>

class PageConnection;
class PageLoad;
class WebKitEngine;
struct PageParts;

// The engine's view is made at the first load: until then the page may still become the window that
// another page opens.
class WebKitPage final : public Page, public LinkedPage, public PageContext {
 public:
  using String = Tessel::Platform::String;

  WebKitPage(WebKitEngine& engine, PageClient& client, Tessel::Platform::Graphics::Window& window);
  ~WebKitPage() override;

  void close() override;
  void load(const String& url) override;
  void loadText(const String& text, const String& mimeType, const String& baseURL) override;
  void reload() override;
  void stop() override;
  void setAutoReload(bool enabled) override;
  void endProcess(const OrvWebMemoryExcess* excess) override;
  void goBack() override;
  void goForward() override;
  std::vector<OrvWebHistoryItem> history() override;
  void goTo(int position) override;
  void clearHistory(bool keepCurrent) override;
  void requestSession() override;
  bool restoreSession(const String& session, int position) override;
  void tryClose() override;
  bool takesUserAgent(const String& text) const override;
  void settingChanged(WebViewSetting setting) override;
  void wantedEventsChanged() override;
  void setAllowedOrigins(const std::vector<String>& patterns) override;
  void knownCertificatesChanged() override;
  void setRequestHeaders(const std::vector<OrvWebHeader>& headers) override;
  void setCallbackObjectEnabled(bool enabled) override;
  void bindCallbackObject(bool bound, const std::vector<String>& furtherOrigins) override;
  void setDrivesApplication(const String& loadFailureHint) override;
  void runScript(const String& script, const ScriptOptions& options, ScriptDone done) override;
  void act(PageAction action, std::vector<JavaScriptVariant> arguments) override;
  using Page::act;
  void setZoom(double level) override;
  void capture(double scale, const OrvWebRect& part, const OrvWebSize& size) override;
  void clear(SiteData data) override;
  void stepResource(unsigned int stream, const ResourceStep& step) override;
  void requestCookies(const String& url) override;
  void addCookies(const String& url, const std::vector<String>& cookies) override;
  void continueHandshake(unsigned int number, bool trust) override;
  void stepNotification(const String& id, NotificationStep step) override;
  bool hasTypingAttribute(const String& name) override;
  void runMenuItem(OrvWebContextMenuItem item) override;
  void fillField(const String& text) override;
  void forget(AutofillData what) override;
  void keepProxyLogin(const String& username, const String& password) override;
  void inspectorMessage(const String& message, bool connected) override;
  void findString(const String& text, const FindOptions& options) override;
  void answerPrompt(unsigned int number, const PromptAnswer& answer) override;
  void answerOrigin(PagePermission permission, const String& origin, bool granted) override;
  void answerOpenWindow(unsigned int number, std::shared_ptr<Page> page) override;
  void download(const String& url, const String& filename) override;
  void stepDownload(unsigned int id, DownloadStep step) override;
  void updateDownload(unsigned int id, bool save, const String& filename) override;
  void postFunction(const FunctionCall& call, const String& resultId) override;
  JavaScriptVariant callFunction(const FunctionCall& call) override;

  void linkReady(std::shared_ptr<PageLink> link) override;
  link_protocol::PageSetup setup() const override;
  String nativeCall(const link_protocol::NativeArguments& arguments) override;
  link_protocol::DialogAnswer dialog(const link_protocol::DialogQuestion& question) override;
  String report(const link_protocol::PageReport& report) override;

  std::weak_ptr<const void> viewLife() const override { return parts_; }
  WebKitWebView* view() override { return view_ ? view_ : makeView(nullptr); }
  bool becomeWindowOf(WebKitWebView* opener) override {
    return !view_ && makeView(opener) != nullptr;
  }
  std::shared_ptr<PageContext> windowForAutomation() override;
  LoadControl& loadControl() override;
  bool drivesApplication() const override;
  bool askWhetherAlive() override;

  // For what the module reports. The parts are null while there is no view; every event that is
  // raised may make them so.
  PageParts* parts() { return parts_.get(); }
  // The factor of the user's pinch gesture, on top of the zoom.
  void setPinch(double factor);
  PageLoad& loads() { return *load_; }

 private:
  GtkWindow* windowOfApplication() const;
  static void onTitle(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onProgress(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onZoom(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onFavicon(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onMapped(GtkWidget*, WebKitPage* self);
  static void onProcessEnded(WebKitWebView*, WebKitWebProcessTerminationReason reason,
                             WebKitPage* self);

  std::shared_ptr<WebKitPage> self();
  WebKitWebView* makeView(WebKitWebView* opener);
  void dropView();
  void remakeView(bool withHistory);
  void forgetTakenOrigins();
  void updateScale();

  WebKitEngine& engine_;
  WebKitWebView* view_ = nullptr;
  const std::unique_ptr<PageConnection> connection_;
  const std::unique_ptr<PageLoad> load_;
  std::shared_ptr<PageParts> parts_;    // owned here alone; there as long as the view
  std::vector<String> allowedOrigins_;  // for a view that is not made yet
  bool hasFrontEnd_ = false;            // an inspector's
  double zoom_ = 1;
  double pinch_ = 1;
};

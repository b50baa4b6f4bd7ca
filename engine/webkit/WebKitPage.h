// One page of the WebKitGTK engine. Main thread, but for the calls of page functions.
#pragma once

#include "engine/Enumerations.h"
#include "engine/Page.h"
#include "engine/TrustedLoads.h"
#include "engine/webkit/features/HangMonitor.h"
#include "engine/webkit/features/PageApis.h"
#include "engine/webkit/features/PageFind.h"
#include "engine/webkit/features/PageFit.h"
#include "engine/webkit/features/PageForms.h"
#include "engine/webkit/features/PageFullScreen.h"
#include "engine/webkit/features/PageHistory.h"
#include "engine/webkit/features/PageInput.h"
#include "engine/webkit/features/PageMenu.h"
#include "engine/webkit/features/PageNavigation.h"
#include "engine/webkit/features/PageNotifications.h"
#include "engine/webkit/features/PagePrompts.h"
#include "engine/webkit/features/PageSecurity.h"
#include "engine/webkit/features/PageSettings.h"
#include "engine/webkit/features/PageWindows.h"
#include "engine/webkit/inspector/PageInspector.h"
#include "engine/webkit/link/WebProcessLinks.h"
#include "engine/webkit/network/Resources.h"

#include <webkit2/webkit2.h>

#include <atomic>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

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
  void runScript(const String& script, bool isolated, const String& resultId) override;
  void act(const char* action, std::vector<JavaScriptVariant> arguments) override;
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
  String report(const FunctionCall& report) override;

  // For the parts of the page. The client is null once the page is closed; whoever is called by
  // the engine holds the page while it raises events.
  PageClient* client() const { return client_; }
  bool wants(OrvWebEvent::Type type) const { return client_ && client_->wants(type); }
  void raise(OrvWebEvent& event) {
    if (client_) client_->raise(event);
  }
  void raise(OrvWebEvent::Type type) {
    OrvWebEvent event(type);
    raise(event);
  }
  void propertyChanged(OrvWebPropertyChangedEvent::Property property) {
    if (client_) client_->raisePropertyChanged(property);
  }
  // Each report may close the page.
  template <auto Member, typename Value>
  void update(Value value) {
    if (client_) client_->update<Member>(std::move(value));
  }
  WebKitEngine& engine() { return engine_; }
  const Tessel::Platform::Graphics::Window& window() const { return window_; }
  // False while the page has no process that could be asked; its answer goes to the watch.
  bool askWhetherAlive() {
    const auto link = link_.load();
    if (link) link->ping(number_);
    return link != nullptr;
  }
  // Null while there is no view.
  PageForms* forms() { return parts_ ? &parts_->forms : nullptr; }
  PagePrompts* prompts() { return parts_ ? &parts_->prompts : nullptr; }
  void offerToSave(const SavedLogin& login) {
    if (parts_) parts_->prompts.offerToSave(login);
  }
  // How much larger the user has pulled the document with two fingers, on top of its zoom.
  void setPinch(double factor);
  // The page has let a key go that the engine does not give back.
  void keyLeft() {
    if (parts_) parts_->input.keyLeft();
  }
  // Whether it is tryClose that closes the page; asked once.
  bool takeCloseRequest() { return std::exchange(closeRequested_, false) && client_; }
  void showFailure(const String& uri, const String& reason);
  // As load, for somebody else than the program; or once more for it, if its load was the last.
  void loadAgain(const String& url);
  TrustedLoads& loads() { return loads_; }
  // Of the document that is there; the engine's own is that of the next one, now and then.
  const String& shownAddress() const { return shownAddress_; }
  // Whether the page may go on to a document there, which is a stranger or not. Tells if not.
  bool mayGo(const String& url, bool isKnown);
  // The encoding may be empty: it is found out then.
  void showProvided(const Resources::DocumentEnd& document);
  void loadContent(const String& content, const String& mimeType, const String& encoding,
                   const String& baseURL);
  // What the engine asks for in its name is here already.
  bool isSupplied(const String& url) const { return !supplied_.isEmpty() && url == supplied_; }
  // The engine's view, made if need be. Null once the page is closed, or where the window cannot
  // show it.
  WebKitWebView* view() { return view_ ? view_ : makeView(nullptr); }
  // Becomes the window that another page opens; false when it is something already.
  bool becomeWindowOf(WebKitWebView* opener) { return !view_ && makeView(opener) != nullptr; }

  // What works on the engine's view, made and gone with it.
  struct Parts {
    Parts(WebKitPage& page, WebKitWebView* view)
        : input(page, view),
          settings(page, view),
          history(page, view),
          security(page, view),
          navigation(page, view),
          prompts(page, view),
          windows(page, view),
          find(page, view),
          forms(page, view),
          menu(page, view),
          notifications(page, view),
          inspector(page, view),
          fullScreen(page, view),
          fit(page, view),
          apis(page),
          hangMonitor(page, view) {}

    PageInput input;  // before the settings, which may take the input method away
    PageSettings settings;
    PageHistory history;
    PageSecurity security;
    PageNavigation navigation;
    PagePrompts prompts;
    PageWindows windows;
    PageFind find;
    PageForms forms;
    PageMenu menu;
    PageNotifications notifications;
    PageInspector inspector;
    PageFullScreen fullScreen;
    PageFit fit;
    PageApis apis;
    HangMonitor hangMonitor;
  };
  // Null while there is no view. Every event that is raised may make it so.
  Parts* parts() { return parts_.get(); }

 private:
  static void onPageNumber(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onTitle(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onLocation(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onLoading(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onProgress(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onZoom(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onFavicon(WebKitWebView*, GParamSpec*, WebKitPage* self);
  static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, WebKitPage* self);
  void loadStarted();
  void loadCommitted();
  void loadFinished();
  static gboolean onLoadFailed(WebKitWebView*, WebKitLoadEvent, const gchar* uri, GError* error,
                               WebKitPage* self);
  static gboolean onEngineMessage(WebKitWebView*, WebKitUserMessage* message, WebKitPage* self);
  static void onProcessEnded(WebKitWebView*, WebKitWebProcessTerminationReason reason,
                             WebKitPage* self);

  WebKitWebView* makeView(WebKitWebView* opener);
  void dropView();
  void remakeView(bool withHistory);
  void forgetTakenOrigins();
  void startLoad(std::function<void()> load);
  void loadUrl(const String& url, bool isOfProgram);
  void committed();
  void updateLocation();
  bool isTrusted();
  // Calls it after so many milliseconds if this is there then.
  void later(guint pause, std::function<void()> call);
  void startLater();
  void forgetDestination();
  bool repeatLoad(const gchar* uri);
  void listenToPage();
  void sendSetup();
  void refreshSetup();
  void updateScale();
  void redrawAfterLoad();

  WebKitEngine& engine_;
  PageClient* client_;  // null once closed
  Tessel::Platform::Graphics::Window& window_;
  WebKitWebView* view_ = nullptr;
  link_protocol::PageSetup setup_;
  String loadFailureHint_;
  String supplied_;              // the address of a text that is loaded; empty for none
  bool failureFollows_ = false;  // the next load to start is that of a failure page
  bool showingFailure_ = false;  // the load that goes on is
  bool startsLater_ = false;     // from the main loop, which will come to it
  bool repeating_ = false;       // the load that ends was cancelled by nobody
  unsigned int repeats_ = 0;     // of one load, in a row
  bool closeRequested_ = false;
  TrustedLoads loads_;
  String shownAddress_;
  bool isOnItsWay_ = false;              // it has left for a document that is not there yet
  bool refused_ = false;                 // the load that goes on
  bool hasWaited_ = false;               // a call of the document that comes, for nothing
  std::function<void()> unstartedLoad_;  // asked for, and the web process has not said so yet

  std::unique_ptr<Parts> parts_;        // there as long as the view
  std::vector<String> allowedOrigins_;  // for a view that is not made yet
  bool hasFrontEnd_ = false;            // an inspector's
  double zoom_ = 1;
  double pinch_ = 1;

  // What other threads need to call the page's functions.
  std::atomic<std::uint64_t> number_ = 0;
  std::atomic<std::shared_ptr<PageLink>> link_;
};

// The seam between web views and an engine. UI thread, but for the two ways to call a page's
// functions, which any thread may use.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/OrvWebEvent.h"
#include "engine/PageAction.h"
#include "engine/Records.h"
#include "engine/SecurityRecords.h"
#include "engine/WebViewSettings.h"
#include "platform/graphics/Window.h"

#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

class OrvWebView;
class Page;

// A permission that a page may ask the user for.
enum class PagePermission { None, Geolocation, UserMedia, Notification };

// The answer to a prompt of a page that was left open.
struct PromptAnswer {
  bool accepted = false;
  Tessel::Platform::String text;
  Tessel::Platform::String username;
  Tessel::Platform::String password;
};

// How a script is run, and how its value is told.
struct ScriptOptions {
  bool isolated = false;
  bool asJson = false;  // else as the script would print it
};
// The type and the value, or JSException and the error. A value that has no JSON, such as a
// function, is the empty text.
using ScriptDone =
    std::function<void(OrvWebJavaScriptResultType type, const Tessel::Platform::String& text)>;

// How findString looks for its text.
struct FindOptions {
  bool forward = true;
  bool caseSensitive = false;
  bool wrap = true;
  bool highlightAll = true;
};

// What becomes of a download.
enum class DownloadStep { Cancel, Pause, Resume, Retry, Remove };

// The data that pages store on the machine.
enum class SiteData { Everything, Caches, MemoryCache, Cookies, Databases, LocalStorage };

// What is kept for filling in forms and log-ins.
enum class AutofillData { Texts, Logins };

// What becomes of a notification that a page shows.
enum class NotificationStep { Clicked, Closed };

// A part of a resource that the chrome provides.
struct ResourceStep {
  enum class Kind { Open, Header, Data, Done };
  Kind kind = Kind::Done;
  int status = 0;                  // of Open, as in HTTP
  Tessel::Platform::String name;   // of Header; of Open the message
  Tessel::Platform::String value;  // of Header; of Data the bytes
};

// What a page tells its web view. Implemented by OrvWebView.
class PageClient {
 public:
  virtual ~PageClient() = default;

  virtual const WebViewSettings& settings() const = 0;
  // Whether an event is enabled: an engine need not compute what is disabled.
  virtual bool wants(OrvWebEvent::Type type) const = 0;
  // Does nothing when the event is not enabled; otherwise returns when it was handled. The handler
  // may delete the web view, and the page with it: the caller must hold a reference to the page.
  virtual void raise(OrvWebEvent& event) = 0;
  virtual void raisePropertyChanged(OrvWebPropertyChangedEvent::Property property) = 0;
  // The web view that was prepared for the next window the page opens; null, and null again
  // afterwards.
  virtual OrvWebView* popupView() = 0;
  // Of the page that drives the application: a new web view that fills the window and that the
  // chrome has not asked for. It ends when it is closed. Null if there can be none.
  virtual OrvWebView* makeOwnWindow() = 0;
  // Whether this one was made so.
  virtual bool isOwnWindow() const = 0;
  // The page of a web view; null for none.
  virtual std::shared_ptr<Page> pageOf(OrvWebView* view) = 0;
  // A navigation of the page was refused: only the program itself may load that address.
  virtual void navigationRefused(const Tessel::Platform::String& url) = 0;
  // Of the page that drives the application: its process has ended, and starts again.
  virtual void drivingProcessEnded() = 0;
  // Of the same: a document has loaded that is no failure page.
  virtual void drivingDocumentLoaded() = 0;
  // Of the page that drives the application: its process ends again and again, and is not started
  // any more; see Retries.
  virtual void gaveUp() = 0;
  // Of the page that drives the application: one of its scripts has failed, or something that it
  // needs could not be had; with the file and the line.
  virtual void problem(const Tessel::Platform::String& text) = 0;
  // The answer to Page::askWhetherAlive().
  virtual void alive() = 0;
  // The page is loaded again by itself; see Page::setAutoReload.
  virtual void retryScheduled(const OrvWebRetry& retry) = 0;
  // The page's process is ended because of its memory. The end follows as any other's does.
  virtual void memoryExceeded(const OrvWebMemoryExcess& excess) = 0;
  // Which process has the page now.
  virtual void processStarted(int pid) = 0;
  // The page has agreed to be closed, as tryClose asked.
  virtual void closeAllowed() = 0;
  // The certificates that the user has accepted, by host.
  virtual const SSLCertificateMap& knownCertificates() const = 0;
  virtual void acceptCertificate(const SSLCertificateInfo& certificate) = 0;
  // What was decided about an origin's permission before; nothing when nothing was.
  virtual std::optional<bool> decisionFor(PagePermission permission,
                                          const Tessel::Platform::String& origin) const = 0;
  const PageState& pageState() const { return pageState_; }

  // Stores a new value of the page's state and reports the change, if it is one.
  template <auto Member, typename Value>
  void update(Value value) {
    if (pageState_.*Member == value) return;
    pageState_.*Member = std::move(value);
    raisePropertyChanged(statePropertyOf<Member>);
  }

 protected:
  PageState pageState_;
};

// One page of an engine. The web view holds it shared, and so does whoever is inside one of its
// operations.
class Page {
 public:
  using String = Tessel::Platform::String;

  virtual ~Page() = default;

  // Ends the page and takes it off its window; the client is not called again. Twice is fine.
  virtual void close() = 0;

  virtual void load(const String& url) = 0;
  virtual void loadText(const String& text, const String& mimeType, const String& baseURL) = 0;
  virtual void reload() = 0;
  virtual void stop() = 0;
  // Whether a load that fails, and a page whose process ends, are loaded again by themselves, with
  // the delays of Retries, a hidden page when it is shown. Until this is called, only a page whose
  // process has taken too much memory is. Any other load ends it.
  virtual void setAutoReload(bool enabled) = 0;
  // Ends the page's process, and with it the pages that share it; the failure follows as of a
  // crash. With an excess that is the reason.
  virtual void endProcess(const OrvWebMemoryExcess* excess) = 0;
  virtual void goBack() = 0;
  virtual void goForward() = 0;
  virtual std::vector<OrvWebHistoryItem> history() = 0;
  // To the entry at that position of history(); nowhere when there is none.
  virtual void goTo(int position) = 0;
  // Forgets every entry, or all but the one that is shown.
  virtual void clearHistory(bool keepCurrent) = 0;
  // SessionInfo brings the history in a form that restoreSession takes.
  virtual void requestSession() = 0;
  // Brings a history back and loads its entry at that position, or the one that was shown when
  // there is none there. False for a text that is no session.
  virtual bool restoreSession(const String& session, int position) = 0;
  // Asks the page's document whether it may go; closeAllowed follows if it may.
  virtual void tryClose() = 0;

  // Whether that is a valid user agent; the empty text restores the engine's own.
  virtual bool takesUserAgent(const String& text) const {
    static_cast<void>(text);
    return true;
  }
  // A setting has changed; its value is in the client's settings.
  virtual void settingChanged(WebViewSetting setting) = 0;
  // The set of enabled events has changed; see PageClient::wants.
  virtual void wantedEventsChanged() = 0;
  // Addresses, as patterns, that scripts may read across origins.
  virtual void setAllowedOrigins(const std::vector<String>& patterns) = 0;
  // The client's known certificates have changed.
  virtual void knownCertificatesChanged() = 0;
  virtual void setRequestHeaders(const std::vector<OrvWebHeader>& headers) = 0;
  // Whether the documents of the page see the object through which they call native functions;
  // from the next document on.
  virtual void setCallbackObjectEnabled(bool enabled) = 0;
  // Whether the above is only for documents that the program itself has loaded; see TrustedLoads.
  // Documents of further origins count as such. A page that drives the application then stays with
  // them: what would lead it elsewhere is refused, and navigationRefused follows.
  virtual void bindCallbackObject(bool bound, const std::vector<String>& furtherOrigins) = 0;
  // Marks the page that drives the application: it is served in every wait of the main thread,
  // since whatever is waited for may need it, and it can show its dialogs there. A load of it
  // that fails shows the hint, plain text, with the error.
  virtual void setDrivesApplication(const String& loadFailureHint) = 0;
  // Asks the page's process whether it does anything but run a script: PageClient::alive() follows.
  // False when there is no process to ask.
  virtual bool askWhetherAlive() = 0;

  // Runs a script in the page's own world or one beside it. The function is called with the value,
  // unless the page is closed first; the caller's objects may be gone by then.
  virtual void runScript(const String& script, const ScriptOptions& options, ScriptDone done) = 0;
  // Has the engine's own scripts do something in the document.
  virtual void act(PageAction action, std::vector<JavaScriptVariant> arguments) = 0;
  // The factor by which the document is laid out larger.
  virtual void setZoom(double level) = 0;
  // CaptureContents brings a picture of a part of the document (all of it for an empty rectangle),
  // scaled by a factor and to fit into a size (unless that is empty).
  virtual void capture(double scale, const OrvWebRect& part, const OrvWebSize& size) = 0;
  virtual void clear(SiteData data) = 0;
  // Continues the resource of that stream; ignored when this engine has no such stream, or it has
  // ended.
  virtual void stepResource(unsigned int stream, const ResourceStep& step) = 0;
  // CookieResult brings the cookies that an address would be sent.
  virtual void requestCookies(const String& url) = 0;
  // In the form of the header Set-Cookie. Malformed cookies are ignored.
  virtual void addCookies(const String& url, const std::vector<String>& cookies) = 0;
  // Goes on with a connection that SSLHandshakingFailed told of, or leaves it.
  virtual void continueHandshake(unsigned int number, bool trust) = 0;
  virtual void stepNotification(const String& id, NotificationStep step) = 0;
  // Whether the text that would be typed now is bold, italic, underlined or struck through.
  virtual bool hasTypingAttribute(const String& name) = 0;
  // Puts a text into the field that FormAutofillRequestEvent was about.
  virtual void fillField(const String& text) = 0;
  // Forgets it for all pages.
  virtual void forget(AutofillData what) = 0;
  // The credentials for proxies that ask for them; without a username there are none.
  virtual void keepProxyLogin(const String& username, const String& password) = 0;
  // Does what an item of the context menu that was last asked for says.
  virtual void runMenuItem(OrvWebContextMenuItem item) = 0;
  // A message of an inspector's front end, JSON, for the engine's inspector of this page, which
  // answers with InspectorMessage. An empty one tells that a front end has connected, or that it
  // has gone; until then the page's inspector is not at work. Needs isEnableWebInspector.
  virtual void inspectorMessage(const String& message, bool connected) = 0;
  // Looks for a text from where the last one was found; FindString tells. An empty text ends it.
  virtual void findString(const String& text, const FindOptions& options) = 0;
  // Answers a prompt that an event was told to leave open, by its number.
  virtual void answerPrompt(unsigned int number, const PromptAnswer& answer) = 0;
  // Answers what is open of an origin for a permission.
  virtual void answerOrigin(PagePermission permission, const String& origin, bool granted) = 0;
  // Ends the wait of a page that opens a window: in that web view, or nowhere.
  virtual void answerOpenWindow(unsigned int number, std::shared_ptr<Page> page) = 0;
  // Downloads an address into a file, or where the chrome says when the name is empty.
  virtual void download(const String& url, const String& filename) = 0;
  virtual void stepDownload(unsigned int id, DownloadStep step) = 0;
  // Decides about a download that is pending.
  virtual void updateDownload(unsigned int id, bool save, const String& filename) = 0;

  // Calls a function of the page and does not wait. Nothing happens when the page has no such
  // function. With an id, JavaScriptFunctionResult brings the value under it. Any thread.
  virtual void postFunction(const FunctionCall& call, const String& resultId) = 0;
  // Calls a function of the page and waits for its value, five seconds at most, not counting the
  // time in which native calls of the page are served. Undefined when there is no such function,
  // when it throws, when the page ends or when the time is over. Any thread.
  virtual JavaScriptVariant callFunction(const FunctionCall& call) = 0;
};

// Makes the pages of a process.
class PageFactory {
 public:
  virtual ~PageFactory() = default;

  // The factory in use; null until one is installed. Not owned.
  static PageFactory* current();
  static void install(PageFactory* factory);

  // A page that shows itself in a window; the client and the window outlive it or close it first.
  // Null when the engine cannot make one.
  virtual std::shared_ptr<Page> createPage(PageClient& client,
                                           Tessel::Platform::Graphics::Window& window) = 0;
};

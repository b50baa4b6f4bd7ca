// The seam between web views and an engine. UI thread, but for the two ways to call a page's
// functions, which any thread may use.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/OrvWebEvent.h"
#include "engine/Records.h"
#include "engine/WebViewSettings.h"
#include "platform/graphics/Window.h"

#include <memory>
#include <vector>

class OrvWebView;
class Page;

// A permission that a page may ask its user for.
enum class PagePermission { None, Geolocation, UserMedia, Notification };

// What is answered to a question of a page that was left open.
struct QuestionAnswer {
  bool accepted = false;
  Tessel::Platform::String text;
  Tessel::Platform::String username;
  Tessel::Platform::String password;
};

// How findString looks for its text.
struct FindOptions {
  bool forward = true;
  bool caseSensitive = false;
  bool wrap = true;
  bool highlightAll = true;
};

// What becomes of a download.
enum class DownloadStep { Cancel, Pause, Resume, Retry, Remove };

// What a page tells its web view. Implemented by OrvWebView.
class PageClient {
 public:
  virtual ~PageClient() = default;

  virtual const WebViewSettings& settings() const = 0;
  // Whether an event is enabled at all: tells an engine what it need not find out.
  virtual bool wants(OrvWebEvent::Type type) const = 0;
  // Does nothing when the event is not enabled; otherwise returns when it was handled. The web
  // view may be gone afterwards, and the page with it: hold a reference to yourself.
  virtual void raise(OrvWebEvent& event) = 0;
  virtual void raisePropertyChanged(OrvWebPropertyChangedEvent::Property property) = 0;
  // The web view that was prepared for the next window the page opens; null, and null again
  // afterwards.
  virtual OrvWebView* popupView() = 0;
  // The page of a web view; null for none.
  virtual std::shared_ptr<Page> pageOf(OrvWebView* view) = 0;

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
  virtual void goBack() = 0;
  virtual void goForward() = 0;
  virtual std::vector<OrvWebHistoryItem> history() = 0;

  // A setting has another value now; the client has it.
  virtual void settingChanged(WebViewSetting setting) = 0;
  virtual void setRequestHeaders(const std::vector<OrvWebHeader>& headers) = 0;
  // Whether the documents of the page see the object through which they call native functions;
  // from the next document on.
  virtual void setCallbackObjectEnabled(bool enabled) = 0;
  // Marks the page that drives the application: it is served in every wait of the main thread,
  // since whatever is waited for may need it, and it can show its dialogs there. A load of it
  // that fails shows the hint, plain text, with the error.
  virtual void setDrivesApplication(const String& loadFailureHint) = 0;

  // Runs a script in the page's own world or one beside it; JavaScriptResult brings the value
  // under the given id.
  virtual void runScript(const String& script, bool isolated, const String& resultId) = 0;
  // Looks for a text from where the last one was found; FindString tells. An empty text ends it.
  virtual void findString(const String& text, const FindOptions& options) = 0;
  // Answers a question that an event was told to leave open, by its number.
  virtual void answerQuestion(unsigned int number, const QuestionAnswer& answer) = 0;
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

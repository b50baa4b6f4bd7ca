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

  // Calls a function of the page and does not wait. Nothing happens when the page has no such
  // function. Any thread.
  virtual void postFunction(const FunctionCall& call) = 0;
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

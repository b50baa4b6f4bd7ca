// What the parts of a page know of it: who hears of it, the view, its loads, and what it shares
// with other pages. Parts are given this and not the page itself. Main thread.
#pragma once

#include "engine/Page.h"
#include "engine/webkit/base/EngineServices.h"

#include <webkit2/webkit2.h>

#include <memory>
#include <utility>
#include <vector>

class TrustedLoads;

// The loads of a page, as far as its parts have a say in them.
class LoadControl {
 public:
  using String = Tessel::Platform::String;

  virtual ~LoadControl() = default;

  // As Page::load, but not on the program's behalf, unless the last load was the program's and this
  // repeats it.
  virtual void loadAgain(const String& url) = 0;
  virtual void showFailure(const String& url, const String& reason) = 0;
  virtual TrustedLoads& trustedLoads() = 0;
  // Whether the page may navigate to that document, given whether it is trusted; a refusal is
  // reported to the client.
  virtual bool mayGo(const String& url, bool isKnown) = 0;
  // Of the page that drives the application: whether its document has loaded.
  virtual bool isApplicationLoaded() const = 0;
  // The address of the committed document; the engine's own may already be the next one's.
  virtual const String& shownAddress() const = 0;
};

// Whoever is called by the engine holds the page while it raises events: each may close it.
class PageContext : public std::enable_shared_from_this<PageContext> {
 public:
  using String = Tessel::Platform::String;

  PageContext(PageClient& client, Tessel::Platform::Graphics::Window& window,
              const EngineServices& services)
      : client_(&client), window_(window), services_(services) {}
  virtual ~PageContext() = default;
  PageContext(const PageContext&) = delete;
  PageContext& operator=(const PageContext&) = delete;

  // Null once the page is closed.
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
  template <auto Member, typename Value>
  void update(Value value) {
    if (client_) client_->update<Member>(std::move(value));
  }

  const EngineServices& services() const { return services_; }
  Tessel::Platform::Graphics::Window& window() const { return window_; }

  // Expires with the engine's view, and the parts of the page that work on it with it: tells a
  // part whether it is still there after an event.
  virtual std::weak_ptr<const void> viewLife() const = 0;
  // The engine's view, made if need be. Null once the page is closed, or where the window cannot
  // show it.
  virtual WebKitWebView* view() = 0;
  // Becomes the window that another page opens; false when it is something already.
  virtual bool becomeWindowOf(WebKitWebView* opener) = 0;
  // A page for a window that WebDriver asks for, of the page that drives the application: that is
  // asked as if it opened a window itself, and if it does not answer, the program makes one. Null
  // if it refuses.
  virtual std::shared_ptr<PageContext> windowForAutomation() = 0;
  virtual LoadControl& loadControl() = 0;
  // See Page::setDrivesApplication.
  virtual bool drivesApplication() const = 0;
  // See Page::act.
  virtual void act(PageAction action, std::vector<JavaScriptVariant> arguments) = 0;
  // False while the page has no process that could be asked; the answer goes to the hang monitor.
  virtual bool askWhetherAlive() = 0;

 protected:
  void forgetClient() { client_ = nullptr; }

 private:
  PageClient* client_;
  Tessel::Platform::Graphics::Window& window_;
  const EngineServices services_;
};

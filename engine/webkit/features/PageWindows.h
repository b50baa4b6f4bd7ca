// The windows that a page opens and closes. Main thread.
#pragma once

#include <webkit2/webkit2.h>

#include <memory>
#include <optional>

class HangMonitor;
class OrvWebOpenWindowEvent;
class PageContext;

class PageWindows {
 public:
  PageWindows(PageContext& page, HangMonitor& hangMonitor, WebKitWebView* view);
  ~PageWindows();
  PageWindows(const PageWindows&) = delete;
  PageWindows& operator=(const PageWindows&) = delete;

  // Asks the chrome for a page that shows a window. Nothing without an answer, after a while; null
  // if it refuses. The page whose part this is may be closed afterwards.
  std::optional<std::shared_ptr<PageContext>> ask(OrvWebOpenWindowEvent& event);
  // Ends the wait of that number: the window opens in that page, or not at all.
  void answer(unsigned int number, std::shared_ptr<PageContext> page);
  // Page::tryClose has asked the page's document whether it may go, and this is its answer: no. An
  // agreement is told to the client.
  void closeAsked() { closeAsked_ = true; }
  void closeRefused() { closeAsked_ = false; }

 private:
  // A window that waits for the chrome to provide a web view. Lives in the waiting stack frame; the
  // engine holds the opener meanwhile.
  struct Waiting {
    unsigned int number;
    std::shared_ptr<PageContext> page;
    bool answered;
  };

  static GtkWidget* onCreate(WebKitWebView*, WebKitNavigationAction* action, PageWindows* self);
  static void onClose(WebKitWebView*, PageWindows* self);
  std::optional<std::shared_ptr<PageContext>> waitForAnswer(unsigned int number);

  PageContext& page_;
  HangMonitor& hangMonitor_;
  WebKitWebView* view_;
  Waiting* waiting_ = nullptr;
  bool closeAsked_ = false;
};

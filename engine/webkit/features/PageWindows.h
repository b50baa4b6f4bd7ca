// The windows that a page opens and closes. Main thread.
#pragma once

#include <webkit2/webkit2.h>

#include <memory>

class WebKitPage;

class PageWindows {
 public:
  PageWindows(WebKitPage& page, WebKitWebView* view);
  ~PageWindows();
  PageWindows(const PageWindows&) = delete;
  PageWindows& operator=(const PageWindows&) = delete;

  // Ends the wait of that number: in that page, or nowhere.
  void answer(unsigned int number, std::shared_ptr<WebKitPage> page);

 private:
  // A window that waits for the chrome to say where. Lives in the stack frame of the one who asks;
  // the engine holds the opener meanwhile.
  struct Waiting {
    unsigned int number;
    GMainLoop* loop;
    std::shared_ptr<WebKitPage> page;
    bool answered;
  };

  static GtkWidget* onCreate(WebKitWebView*, WebKitNavigationAction* action, PageWindows* self);
  static void onClose(WebKitWebView*, PageWindows* self);
  std::shared_ptr<WebKitPage> waitForAnswer(unsigned int number);

  WebKitPage& page_;
  WebKitWebView* view_;
  Waiting* waiting_ = nullptr;
};

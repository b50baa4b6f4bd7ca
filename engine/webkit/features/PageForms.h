// The forms of a page: remembers what is typed into them, offers it again, and fills in log-ins
// that were saved. Main thread.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/autofill/PasswordStore.h"

#include <webkit2/webkit2.h>

#include <optional>
#include <vector>

class WebKitPage;

class PageForms {
 public:
  using String = Tessel::Platform::String;

  PageForms(WebKitPage& page, WebKitWebView* view);
  ~PageForms();
  PageForms(const PageForms&) = delete;
  PageForms& operator=(const PageForms&) = delete;

  // What the script in the page tells of its forms; false for a report of something else. The page
  // may be closed afterwards.
  bool take(const FunctionCall& report);
  // Puts a text into the field for which texts are offered; nothing happens when there is none.
  void fill(const String& text);

 private:
  using Details = std::vector<JavaScriptVariant>;
  struct Handler {
    const char* report;
    std::size_t leastDetails;
    void (PageForms::*run)(const Details& details);
  };
  static const Handler handlers[];

  static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, PageForms* self);

  void fieldText(const Details& details);
  void fieldLeft(const Details& details);
  void typed(const Details& details);
  void loginForm(const Details& details);
  void loginSent(const Details& details);
  void endOffer();
  void fillLogin(const String& origin, const String& username);
  bool savesLogins() const;

  WebKitPage& page_;
  WebKitWebView* view_;
  bool offering_ = false;
  std::vector<String> offered_;
  // A form of a document that the engine has not told us of yet asks for the log-in of this origin.
  String waitingOrigin_;
};

// Whether the view keeps nothing of what its pages leave behind.
bool isForgetful(WebKitWebView* view);

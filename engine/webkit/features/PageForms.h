// The forms of a page: remembers what is typed into them, offers it again, and fills in log-ins
// that were saved. Main thread.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/autofill/PasswordStore.h"

#include <webkit2/webkit2.h>

#include <optional>
#include <vector>

class PageContext;
class PagePrompts;

class PageForms {
 public:
  using String = Tessel::Platform::String;

  PageForms(PageContext& page, PagePrompts& prompts, WebKitWebView* view);
  ~PageForms();
  PageForms(const PageForms&) = delete;
  PageForms& operator=(const PageForms&) = delete;

  // What the module reports, while the page has a client. The page may be closed afterwards.
  void fieldText(const String& name, const String& beginning);
  void endOffer();
  // Names and texts in turn.
  void typed(const std::vector<JavaScriptVariant>& details);
  void loginForm(const String& origin, const String& username);
  void loginSent(const SavedLogin& login);
  // Fills the field for which suggestions are offered; ignored when there is none.
  void fill(const String& text);

 private:
  static void onLoadChanged(WebKitWebView*, WebKitLoadEvent event, PageForms* self);

  void fillLogin(const String& origin, const String& username);
  bool savesLogins() const;

  PageContext& page_;
  PagePrompts& prompts_;
  WebKitWebView* view_;
  bool offering_ = false;
  std::vector<String> offered_;
  // The origin of a log-in form in a document whose commit the engine has not reported yet.
  String waitingOrigin_;
};

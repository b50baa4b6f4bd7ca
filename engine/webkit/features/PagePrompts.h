// What a page asks its user: dialogs, log-ins, permissions, files. Each becomes an event; the
// answer comes with the event or, by the number of the question, later. Main thread.
#pragma once

#include "engine/Page.h"
#include "engine/autofill/PasswordStore.h"
#include "engine/webkit/base/ObjectPointer.h"
#include "platform/base/String.h"

#include <webkit2/webkit2.h>

#include <map>
#include <memory>
#include <optional>
#include <vector>

class WebKitPage;

// Names one question, of whatever kind and page, in this process.
unsigned int nextPromptNumber();

// A question that is open. Destroying it answers no.
class OpenPrompt {
 public:
  virtual ~OpenPrompt() = default;
  virtual void answer(const QuestionAnswer& answer) = 0;
};

class PagePrompts {
 public:
  using String = Tessel::Platform::String;

  PagePrompts(WebKitPage& page, WebKitWebView* view);
  ~PagePrompts();
  PagePrompts(const PagePrompts&) = delete;
  PagePrompts& operator=(const PagePrompts&) = delete;

  void answer(unsigned int number, const QuestionAnswer& answer);
  // Asks whether a log-in shall be saved, unless it is saved already. The page may be closed
  // afterwards.
  void offerToSave(const SavedLogin& login);
  // All open questions of an origin for one permission.
  void answerOrigin(PagePermission permission, const String& origin, bool granted);
  // A load has ended. The engine forgets a log-in request when it tells of the load's start, which
  // under load comes after the request; so that a log-in was right is told here, if not by then.
  void loaded();

 private:
  static gboolean onScriptDialog(WebKitWebView*, WebKitScriptDialog* dialog, PagePrompts* self);
  static gboolean onAuthenticate(WebKitWebView*, WebKitAuthenticationRequest* request,
                                 PagePrompts* self);
  static void onAuthenticated(WebKitAuthenticationRequest* request, WebKitCredential* credential,
                              gpointer page);
  static gboolean onPermission(WebKitWebView*, WebKitPermissionRequest* request, PagePrompts* self);
  static gboolean onPermissionState(WebKitWebView*, WebKitPermissionStateQuery* query,
                                    PagePrompts* self);
  static gboolean onChooseFile(WebKitWebView*, WebKitFileChooserRequest* request,
                               PagePrompts* self);

  bool answerFromSaved(WebKitAuthenticationRequest* request);
  // What to do with a log-in that has proved right. This may be gone afterwards.
  static void accepted(WebKitPage& page, WebKitAuthenticationRequest* request,
                       WebKitCredential* credential);

  struct Held {
    std::unique_ptr<OpenPrompt> question;
    PagePermission permission = PagePermission::None;
    String origin;
  };
  using Early = std::optional<QuestionAnswer>;
  // Asks the chrome. What it decides by a command can overtake the answer of the event, which only
  // then leaves the question open: such a decision is the result. This may be gone afterwards.
  Early ask(WebKitPage& page, OrvWebEvent& event, unsigned int number,
            PagePermission permission = PagePermission::None, const String& origin = String());
  // Leaves a question open, unless it has been decided early.
  void hold(unsigned int number, std::unique_ptr<OpenPrompt> question, const Early& early,
            PagePermission permission = PagePermission::None, const String& origin = String());

  WebKitPage& page_;
  WebKitWebView* view_;
  std::map<unsigned int, Held> held_;
  struct Asking {
    PagePermission permission;
    String origin;
    Early answer;
  };
  // What the chrome is asked just now, by number.
  std::shared_ptr<std::map<unsigned int, Asking>> asking_ =
      std::make_shared<std::map<unsigned int, Asking>>();
  // Asked for since the last load ended; the engine has told of none of them that it was right.
  std::vector<ObjectPointer<WebKitAuthenticationRequest>> logins_;
  unsigned int openSaving_ = 0;  // the number of the question whether to save a log-in
};

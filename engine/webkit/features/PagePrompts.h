// The prompts of a page: dialogs, log-ins, permissions, file choosers. Each becomes an event; the
// answer comes with the event or later, by the number of the prompt. Main thread.
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

class HangMonitor;
class PageContext;

// A new number for a prompt, unique in this process.
unsigned int nextPromptNumber();

// An open prompt. Destroying it refuses it.
class OpenPrompt {
 public:
  virtual ~OpenPrompt() = default;
  virtual void answer(const PromptAnswer& answer) = 0;
};

class PagePrompts {
 public:
  using String = Tessel::Platform::String;

  PagePrompts(PageContext& page, HangMonitor& hangMonitor, WebKitWebView* view);
  ~PagePrompts();
  PagePrompts(const PagePrompts&) = delete;
  PagePrompts& operator=(const PagePrompts&) = delete;

  void answer(unsigned int number, const PromptAnswer& answer);
  // Asks whether a log-in shall be saved, unless it is saved already. The page may be closed
  // afterwards.
  void offerToSave(const SavedLogin& login);
  // All open prompts of an origin for one permission.
  void answerOrigin(PagePermission permission, const String& origin, bool granted);
  // A load has finished. The engine drops a log-in request when it reports the load's start, which
  // under load comes after the request; the successful log-in is then handled here.
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
  static gboolean onPrint(WebKitWebView*, WebKitPrintOperation* operation, PagePrompts* self);
  static gboolean onChooseFile(WebKitWebView*, WebKitFileChooserRequest* request,
                               PagePrompts* self);

  bool answerFromSaved(WebKitAuthenticationRequest* request);
  // Handles a successful log-in. The prompts are null when their view is gone, and may be gone
  // afterwards.
  static void accepted(PageContext& page, PagePrompts* prompts,
                       WebKitAuthenticationRequest* request, WebKitCredential* credential);

  struct Held {
    std::unique_ptr<OpenPrompt> prompt;
    PagePermission permission = PagePermission::None;
    String origin;
  };
  // Signal data of a log-in request: the prompts that handle it, if they still exist.
  struct Asker {
    std::weak_ptr<PageContext> page;
    PagePrompts* prompts;
    std::weak_ptr<const void> life;  // of the prompts
  };
  using Early = std::optional<PromptAnswer>;
  // Raises the event. A command of the chrome that answers the prompt can overtake the answer to
  // the event, which leaves it open: such an early answer is returned. Nothing when the view is
  // gone afterwards, and this with it.
  std::optional<Early> ask(PageContext& page, OrvWebEvent& event, unsigned int number,
                           PagePermission permission = PagePermission::None,
                           const String& origin = String());
  // Answers the prompt by the event, of which answerOf() makes the answer, or keeps it open for
  // later when the chrome wants to wait.
  template <typename Event, typename AnswerOf>
  void askOrHold(PageContext& page, Event& event, std::unique_ptr<OpenPrompt> prompt,
                 AnswerOf answerOf);
  // Keeps a prompt open, unless it was answered early.
  void hold(unsigned int number, std::unique_ptr<OpenPrompt> prompt, const Early& early,
            PagePermission permission = PagePermission::None, const String& origin = String());

  PageContext& page_;
  HangMonitor& hangMonitor_;
  WebKitWebView* view_;
  std::map<unsigned int, Held> held_;
  struct Asking {
    PagePermission permission;
    String origin;
    Early answer;
  };
  // The prompts whose event is being handled, by number.
  std::shared_ptr<std::map<unsigned int, Asking>> asking_ =
      std::make_shared<std::map<unsigned int, Asking>>();
  // Requests since the end of the last load that the engine has not reported as authenticated.
  std::vector<ObjectPointer<WebKitAuthenticationRequest>> logins_;
  unsigned int openSaving_ = 0;  // the number of the prompt to save a log-in
  unsigned int openPrint_ = 0;   // that of the prompt to print
};

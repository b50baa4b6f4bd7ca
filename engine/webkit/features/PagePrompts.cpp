// The prompts of a page. Main thread.
#include "engine/webkit/features/PagePrompts.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/base/ObjectPointer.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/features/HangMonitor.h"
#include "platform/base/ErrorReport.h"
#include "platform/base/Log.h"

#include <algorithm>
#include <utility>

using Tessel::Platform::concat;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::reportError;
using Tessel::Platform::String;

namespace {

void answerDialog(WebKitScriptDialog* dialog, const PromptAnswer& answer) {
  switch (webkit_script_dialog_get_dialog_type(dialog)) {
    case WEBKIT_SCRIPT_DIALOG_CONFIRM:
    case WEBKIT_SCRIPT_DIALOG_BEFORE_UNLOAD_CONFIRM:
      webkit_script_dialog_confirm_set_confirmed(dialog, answer.accepted);
      break;
    case WEBKIT_SCRIPT_DIALOG_PROMPT:
      if (answer.accepted) webkit_script_dialog_prompt_set_text(dialog, answer.text.utf8());
      break;
    default:
      break;
  }
}

// A dialog that outlives the engine's signal: it is closed here. One that is answered inside the
// signal is closed by the engine, and must not be closed twice.
class OpenDialog final : public OpenPrompt {
 public:
  OpenDialog(WebKitScriptDialog* dialog, std::shared_ptr<void> pause)
      : dialog_(webkit_script_dialog_ref(dialog)), pause_(std::move(pause)) {}
  // Closed unanswered, a dialog counts as cancelled.
  ~OpenDialog() override {
    webkit_script_dialog_close(dialog_);
    webkit_script_dialog_unref(dialog_);
  }
  void answer(const PromptAnswer& answer) override { answerDialog(dialog_, answer); }

 private:
  WebKitScriptDialog* dialog_;
  std::shared_ptr<void> pause_;  // of the watch for scripts that do not end
};

// A request of the engine that is refused unless it is answered.
template <typename Request, void (*refuse)(Request*)>
class OpenRequest : public OpenPrompt {
 public:
  explicit OpenRequest(Request* request) : request_(static_cast<Request*>(g_object_ref(request))) {}
  ~OpenRequest() override {
    if (!answered_) refuse(request_.get());
  }

 protected:
  // For whoever answers it.
  Request* take() {
    answered_ = true;
    return request_.get();
  }

 private:
  ObjectPointer<Request> request_;
  bool answered_ = false;
};

// The object data key of the credential that a request was answered with.
constexpr const char* credentialKey = "pagehost-credential";

// The requests whose outcome is tracked at once.
constexpr std::size_t mostLogins = 16;

void freeCredential(gpointer credential) {
  webkit_credential_free(static_cast<WebKitCredential*>(credential));
}

void authenticate(WebKitAuthenticationRequest* request, const String& username,
                  const String& password) {
  // Saving log-ins is up to PasswordStore.
  WebKitCredential* credential =
      webkit_credential_new(username.utf8(), password.utf8(), WEBKIT_CREDENTIAL_PERSISTENCE_NONE);
  webkit_authentication_request_authenticate(request, credential);
  g_object_set_data_full(G_OBJECT(request), credentialKey, credential, freeCredential);
}

// The key of an HTTP log-in: a server may have several realms.
String placeOf(WebKitAuthenticationRequest* request) {
  WebKitSecurityOrigin* origin = webkit_authentication_request_get_security_origin(request);
  gchar* text = webkit_security_origin_to_string(origin);
  String place = concat(text, " ", webkit_authentication_request_get_realm(request));
  g_free(text);
  webkit_security_origin_unref(origin);
  return place;
}

// Saves the log-in if accepted.
class OpenSaving final : public OpenPrompt {
 public:
  OpenSaving(PasswordStore& store, SavedLogin login) : store_(store), login_(std::move(login)) {}
  void answer(const PromptAnswer& answer) override {
    if (!answer.accepted) return;
    if (!answer.username.isEmpty()) login_.username = answer.username;
    if (!store_.save(login_)) logAlways(LogError, "A log-in could not be saved.");
  }

 private:
  PasswordStore& store_;
  SavedLogin login_;
};

class OpenLogin final
    : public OpenRequest<WebKitAuthenticationRequest, webkit_authentication_request_cancel> {
 public:
  using OpenRequest::OpenRequest;
  void answer(const PromptAnswer& answer) override {
    if (!answer.accepted) return;
    authenticate(take(), answer.username, answer.password);
  }
};

class OpenPermission final
    : public OpenRequest<WebKitPermissionRequest, webkit_permission_request_deny> {
 public:
  using OpenRequest::OpenRequest;
  void answer(const PromptAnswer& answer) override {
    if (answer.accepted) webkit_permission_request_allow(take());
  }
};

class OpenFileChooser final
    : public OpenRequest<WebKitFileChooserRequest, webkit_file_chooser_request_cancel> {
 public:
  using OpenRequest::OpenRequest;
  // Several files stand in lines of their own.
  void answer(const PromptAnswer& answer) override {
    if (!answer.accepted || answer.text.isEmpty()) return;
    gchar** files = g_strsplit(answer.text.utf8(), "\n", -1);
    webkit_file_chooser_request_select_files(take(), files);
    g_strfreev(files);
  }
};

// What a page prints: in the toolkit's dialog, or without one into a file. By an operation of our
// own, of the whole page: that of the signal is over for the engine when the signal returns, and
// leaves the page unpainted when it prints later.
class OpenPrint final : public OpenPrompt {
 public:
  explicit OpenPrint(WebKitWebView* view)
      : operation_(webkit_print_operation_new(view)),
        view_(static_cast<WebKitWebView*>(g_object_ref(view))) {}

  void answer(const PromptAnswer& answer) override {
    if (!answer.accepted) return;
    if (!answer.text.isEmpty()) return printInto(answer.text);
    GtkWidget* topLevel = gtk_widget_get_toplevel(GTK_WIDGET(view_.get()));
    GtkWindow* parent = GTK_IS_WINDOW(topLevel) ? GTK_WINDOW(topLevel) : nullptr;
    holdUntilFinished();
    if (webkit_print_operation_run_dialog(operation_.get(), parent) ==
        WEBKIT_PRINT_OPERATION_RESPONSE_CANCEL) {
      g_object_unref(operation_.get());
    }
  }

 private:
  void printInto(const String& path) {
    GError* error = nullptr;
    gchar* uri = g_filename_to_uri(path.utf8(), nullptr, &error);
    if (!uri) {
      reportError(concat("A page cannot be printed into ", path, ": ", error->message));
      g_error_free(error);
      return;
    }
    GtkPrintSettings* settings = gtk_print_settings_new();
    gtk_print_settings_set_printer(settings, g_dgettext("gtk30", "Print to File"));
    gtk_print_settings_set(settings, GTK_PRINT_SETTINGS_OUTPUT_FILE_FORMAT, "pdf");
    gtk_print_settings_set(settings, GTK_PRINT_SETTINGS_OUTPUT_URI, uri);
    webkit_print_operation_set_print_settings(operation_.get(), settings);
    g_signal_connect(operation_.get(), "failed", G_CALLBACK(onFailed), nullptr);
    holdUntilFinished();
    webkit_print_operation_print(operation_.get());
    g_object_unref(settings);
    g_free(uri);
  }

  // It would end with the last who holds it, and the page would stay laid out for paper.
  void holdUntilFinished() {
    g_signal_connect(g_object_ref(operation_.get()), "finished", G_CALLBACK(g_object_unref),
                     nullptr);
  }

  static void onFailed(WebKitPrintOperation*, GError* error, gpointer) {
    reportError(concat("A page could not be printed: ", error->message));
  }

  ObjectPointer<WebKitPrintOperation> operation_;
  ObjectPointer<WebKitWebView> view_;
};

class OpenPermissionState final : public OpenPrompt {
 public:
  explicit OpenPermissionState(WebKitPermissionStateQuery* query)
      : query_(webkit_permission_state_query_ref(query)) {}
  ~OpenPermissionState() override {
    webkit_permission_state_query_finish(query_, state_);
    webkit_permission_state_query_unref(query_);
  }
  void answer(const PromptAnswer& answer) override {
    if (answer.text == String("granted")) state_ = WEBKIT_PERMISSION_STATE_GRANTED;
    if (answer.text == String("denied")) state_ = WEBKIT_PERMISSION_STATE_DENIED;
  }

 private:
  WebKitPermissionStateQuery* query_;
  WebKitPermissionState state_ = WEBKIT_PERMISSION_STATE_PROMPT;
};

OrvWebDialogType dialogTypeOf(WebKitScriptDialog* dialog) {
  switch (webkit_script_dialog_get_dialog_type(dialog)) {
    case WEBKIT_SCRIPT_DIALOG_CONFIRM:
      return OrvWebDialogType::JavaScriptConfirm;
    case WEBKIT_SCRIPT_DIALOG_PROMPT:
      return OrvWebDialogType::JavaScriptPrompt;
    case WEBKIT_SCRIPT_DIALOG_BEFORE_UNLOAD_CONFIRM:
      return OrvWebDialogType::BeforeUnloadConfirm;
    default:
      return OrvWebDialogType::JavaScriptAlert;
  }
}

}  // namespace

unsigned int nextPromptNumber() {
  static unsigned int last = 0;
  return ++last;
}

PagePrompts::PagePrompts(PageContext& page, HangMonitor& hangMonitor, WebKitWebView* view)
    : page_(page), hangMonitor_(hangMonitor), view_(view) {
  const auto connect = [&](const char* signal, auto handler) {
    g_signal_connect(view_, signal, G_CALLBACK(handler), this);
  };
  connect("script-dialog", onScriptDialog);
  connect("authenticate", onAuthenticate);
  connect("permission-request", onPermission);
  connect("query-permission-state", onPermissionState);
  connect("run-file-chooser", onChooseFile);
  connect("print", onPrint);
}

PagePrompts::~PagePrompts() {
  g_signal_handlers_disconnect_by_data(view_, this);
}

std::optional<PagePrompts::Early> PagePrompts::ask(PageContext& page, OrvWebEvent& event,
                                                   unsigned int number, PagePermission permission,
                                                   const String& origin) {
  const auto life = page.viewLife();
  const auto asking = asking_;
  asking->insert_or_assign(number, Asking{permission, origin, std::nullopt});
  page.raise(event);
  Early early = asking->extract(number).mapped().answer;
  if (life.expired()) return std::nullopt;
  return std::make_optional<Early>(std::move(early));
}

template <typename Event, typename AnswerOf>
void PagePrompts::askOrHold(PageContext& page, Event& event, std::unique_ptr<OpenPrompt> prompt,
                            AnswerOf answerOf) {
  event.waitHandle = nextPromptNumber();
  const auto early = ask(page, event, event.waitHandle());
  if (!early) return;
  if (!event.wait()) return prompt->answer(answerOf());
  hold(event.waitHandle(), std::move(prompt), *early);
}

void PagePrompts::hold(unsigned int number, std::unique_ptr<OpenPrompt> prompt, const Early& early,
                       PagePermission permission, const String& origin) {
  if (early) return prompt->answer(*early);
  held_[number] = {std::move(prompt), permission, origin};
}

void PagePrompts::answer(unsigned int number, const PromptAnswer& answer) {
  // Out of the map first: answering may let the page ask the next thing.
  const auto node = held_.extract(number);
  if (node) return node.mapped().prompt->answer(answer);
  if (const auto asked = asking_->find(number); asked != asking_->end()) {
    asked->second.answer = answer;
  }
}

void PagePrompts::answerOrigin(PagePermission permission, const String& origin, bool granted) {
  std::vector<unsigned int> numbers;
  for (const auto& [number, held] : held_) {
    if (held.permission == permission && held.origin == origin) numbers.push_back(number);
  }
  for (const auto& [number, asked] : *asking_) {
    if (asked.permission == permission && asked.origin == origin) numbers.push_back(number);
  }
  for (const unsigned int number : numbers) answer(number, {granted, {}, {}, {}});
}

gboolean PagePrompts::onScriptDialog(WebKitWebView*, WebKitScriptDialog* dialog,
                                     PagePrompts* self) {
  const auto page = self->page_.shared_from_this();
  // WebDriver clients answer the engine's own dialogs.
  const bool isDriven =
      page->services().automation == AutomationMode::Pages || page->drivesApplication();
  // If the event is disabled, the engine shows its own dialog.
  if ((isDriven && webkit_web_view_is_controlled_by_automation(self->view_)) ||
      !page->wants(OrvWebEvent::DialogRequested) ||
      !page->client()->settings().isEnableDialogRequestedEvents) {
    self->hangMonitor_.pause();
    return FALSE;
  }
  auto pause = self->hangMonitor_.pauseFor();
  OrvWebDialogRequestedEvent event;
  event.dialogType = dialogTypeOf(dialog);
  event.message = String(webkit_script_dialog_get_message(dialog));
  if (event.dialogType() == OrvWebDialogType::JavaScriptPrompt) {
    event.result = String(webkit_script_dialog_prompt_get_default_text(dialog));
  }
  event.url = page->loadControl().shownAddress();
  event.waitHandle = nextPromptNumber();
  const auto early = self->ask(*page, event, event.waitHandle());
  if (!early) return TRUE;
  if (*early) {
    answerDialog(dialog, **early);
  } else if (event.wait()) {
    self->hold(event.waitHandle(), std::make_unique<OpenDialog>(dialog, std::move(pause)),
               std::nullopt);
  } else {
    const bool accepted = !event.isPreventDefault() || !event.result().isEmpty();
    answerDialog(dialog, {accepted, event.result(), event.username(), event.password()});
  }
  return TRUE;
}

gboolean PagePrompts::onAuthenticate(WebKitWebView*, WebKitAuthenticationRequest* request,
                                     PagePrompts* self) {
  const auto page = self->page_.shared_from_this();
  if (!page->client()) return FALSE;
  g_signal_connect_data(
      request, "authenticated", G_CALLBACK(onAuthenticated),
      new Asker{page, self, page->viewLife()},
      [](gpointer data, GClosure*) { delete static_cast<Asker*>(data); }, GConnectFlags(0));
  const bool isForProxy = webkit_authentication_request_is_for_proxy(request) != FALSE;
  if (webkit_authentication_request_is_retry(request)) {
    // The previous log-in was rejected.
    std::erase_if(self->logins_, [isForProxy](const auto& earlier) {
      return (webkit_authentication_request_is_for_proxy(earlier.get()) != FALSE) == isForProxy;
    });
  }
  // Bounded: a page may cause any number of requests.
  if (self->logins_.size() == mostLogins) self->logins_.erase(self->logins_.begin());
  self->logins_.emplace_back(WEBKIT_AUTHENTICATION_REQUEST(g_object_ref(request)));
  if (self->answerFromSaved(request)) return TRUE;
  if (!page->wants(OrvWebEvent::DialogRequested)) return FALSE;
  auto prompt = std::make_unique<OpenLogin>(request);
  OrvWebDialogRequestedEvent event;
  event.dialogType = OrvWebDialogType::AuthenticationChallenge;
  event.isProxy = isForProxy;
  event.isNew = webkit_authentication_request_is_retry(request) == FALSE;
  event.message = String(webkit_authentication_request_get_realm(request));
  event.url = concat(webkit_authentication_request_get_host(request), ":",
                     String::fromUnsignedInteger(webkit_authentication_request_get_port(request)));
  self->askOrHold(*page, event, std::move(prompt), [&] {
    return PromptAnswer{!event.username().isEmpty(), event.result(), event.username(),
                        event.password()};
  });
  return TRUE;
}

bool PagePrompts::answerFromSaved(WebKitAuthenticationRequest* request) {
  // A rejected log-in is not tried again.
  const bool isRetry = webkit_authentication_request_is_retry(request) != FALSE;
  if (webkit_authentication_request_is_for_proxy(request)) {
    SavedLogin& login = page_.services().proxyLogin;
    if (isRetry) login = {};
    if (login.username.isEmpty()) return false;
    authenticate(request, login.username, login.password);
    return true;
  }
  if (isRetry || isForgetful(view_) || !page_.client()->settings().isEnableCredentialAutofill) {
    return false;
  }
  const std::vector<SavedLogin> saved = page_.services().passwords.of(placeOf(request));
  if (saved.empty()) return false;
  authenticate(request, saved.front().username, saved.front().password);
  return true;
}

void PagePrompts::onAuthenticated(WebKitAuthenticationRequest* request,
                                  WebKitCredential* credential, gpointer data) {
  const auto* const asker = static_cast<Asker*>(data);
  const auto page = asker->page.lock();
  if (!page || !page->client() || !credential) return;
  PagePrompts* const prompts = asker->life.expired() ? nullptr : asker->prompts;
  if (prompts) {
    std::erase_if(prompts->logins_,
                  [request](const auto& login) { return login.get() == request; });
  }
  accepted(*page, prompts, request, credential);
}

void PagePrompts::loaded() {
  const auto page = page_.shared_from_this();
  const auto life = page->viewLife();
  const auto logins = std::exchange(logins_, {});
  const guint status = statusOf(view_);
  if (status == 0 || isFailedStatus(status)) return;
  for (const auto& login : logins) {
    auto* const credential =
        static_cast<WebKitCredential*>(g_object_get_data(G_OBJECT(login.get()), credentialKey));
    if (!credential) continue;
    // Handled only once, should the signal still come.
    g_signal_handlers_disconnect_matched(login.get(), G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                                         reinterpret_cast<gpointer>(onAuthenticated), nullptr);
    if (page->client()) accepted(*page, life.expired() ? nullptr : this, login.get(), credential);
  }
}

void PagePrompts::accepted(PageContext& page, PagePrompts* prompts,
                           WebKitAuthenticationRequest* request, WebKitCredential* credential) {
  SavedLogin login{{},
                   String(webkit_credential_get_username(credential)),
                   String(webkit_credential_get_password(credential))};
  if (!webkit_authentication_request_is_for_proxy(request)) {
    login.place = placeOf(request);
    if (prompts) prompts->offerToSave(login);
    return;
  }
  if (login == page.services().proxyLogin) return;
  page.services().proxyLogin = login;
  // For the other processes: each has connections of its own.
  OrvWebSyncProxyCredentialEvent event;
  event.username = login.username;
  event.password = login.password;
  page.raise(event);
}

void PagePrompts::offerToSave(const SavedLogin& login) {
  const auto page = page_.shared_from_this();
  if (!page->wants(OrvWebEvent::DialogRequested) || isForgetful(view_) ||
      !page->client()->settings().isEnableCredentialAutofill) {
    return;
  }
  PasswordStore& store = page->services().passwords;
  const std::vector<SavedLogin> saved = store.of(login.place);
  if (std::find(saved.begin(), saved.end(), login) != saved.end()) return;
  auto prompt = std::make_unique<OpenSaving>(store, login);
  // The password is not sent to the chrome, which does not need it.
  OrvWebDialogRequestedEvent event;
  event.dialogType = OrvWebDialogType::SaveCredential;
  event.isNew = std::none_of(saved.begin(), saved.end(),
                             [&](const SavedLogin& one) { return one.username == login.username; });
  event.url = login.place;
  event.username = login.username;
  event.waitHandle = nextPromptNumber();
  const auto early = ask(*page, event, event.waitHandle());
  if (!early) return;
  if (event.wait()) {
    // One at a time: a page must not accumulate them.
    held_.erase(std::exchange(openSaving_, event.waitHandle()));
    hold(event.waitHandle(), std::move(prompt), *early);
  } else {
    // Nothing is saved without an explicit yes.
    prompt->answer({!event.result().isEmpty(), {}, event.username(), {}});
  }
}

gboolean PagePrompts::onPermission(WebKitWebView*, WebKitPermissionRequest* request,
                                   PagePrompts* self) {
  const auto page = self->page_.shared_from_this();
  const String origin = originOf(page->loadControl().shownAddress());
  const unsigned int number = nextPromptNumber();
  auto prompt = std::make_unique<OpenPermission>(request);
  const auto ask = [&](OrvWebSendEvent& event, PagePermission permission) {
    if (!page->wants(event.type())) return;
    const auto early = self->ask(*page, event, number, permission, origin);
    // Refused at once, or left for the chrome to decide in its own time.
    if (early && !event.isPreventDefault()) {
      self->hold(number, std::move(prompt), *early, permission, origin);
    }
  };
  // A decision from before is used again. With the feature disabled, the current document may still
  // ask; destroying the prompt refuses it.
  const auto decided = [&](PagePermission permission) {
    const auto decision = page->client()->decisionFor(permission, origin);
    if (decision) prompt->answer({*decision, {}, {}, {}});
    return decision.has_value();
  };
  if (!page->client()) return TRUE;
  if (WEBKIT_IS_GEOLOCATION_PERMISSION_REQUEST(request)) {
    if (!page->client()->settings().isEnableGeolocation) return TRUE;
    if (decided(PagePermission::Geolocation)) return TRUE;
    OrvWebGeolocationPermissionRequestEvent event;
    event.origin = origin;
    ask(event, PagePermission::Geolocation);
  } else if (WEBKIT_IS_USER_MEDIA_PERMISSION_REQUEST(request)) {
    OrvWebUserMediaRequestEvent event;
    event.origin = origin;
    event.id = number;
    // The engine does not name the devices.
    if (webkit_user_media_permission_is_for_video_device(
            WEBKIT_USER_MEDIA_PERMISSION_REQUEST(request))) {
      event.cameras = std::vector<String>{"default"};
    }
    ask(event, PagePermission::UserMedia);
  } else if (WEBKIT_IS_NOTIFICATION_PERMISSION_REQUEST(request)) {
    if (decided(PagePermission::Notification)) return TRUE;
    if (!page->wants(OrvWebEvent::NotificationPermissionRequest)) return TRUE;
    OrvWebNotificationPermissionRequestEvent event;
    event.origin = origin;
    event.id = String::fromUnsignedInteger(number);
    self->hold(number, std::move(prompt), {}, PagePermission::Notification, origin);
    page->raise(event);
  }
  // A prompt that was not kept open is refused when it is destroyed.
  return TRUE;
}

gboolean PagePrompts::onPermissionState(WebKitWebView*, WebKitPermissionStateQuery* query,
                                        PagePrompts* self) {
  const auto page = self->page_.shared_from_this();
  if (!page->wants(OrvWebEvent::NotificationPermissionCheck) ||
      g_strcmp0(webkit_permission_state_query_get_name(query), "notifications") != 0) {
    return FALSE;
  }
  auto prompt = std::make_unique<OpenPermissionState>(query);
  if (const auto decision = page->client()->decisionFor(
          PagePermission::Notification, originOf(page->loadControl().shownAddress()))) {
    prompt->answer({true, *decision ? "granted" : "denied", {}, {}});
    return TRUE;
  }
  OrvWebNotificationPermissionCheckEvent event;
  event.origin = originOf(page->loadControl().shownAddress());
  self->askOrHold(*page, event, std::move(prompt), [&] {
    return PromptAnswer{true, event.result(), {}, {}};
  });
  return TRUE;
}

gboolean PagePrompts::onPrint(WebKitWebView* view, WebKitPrintOperation*, PagePrompts* self) {
  const auto page = self->page_.shared_from_this();
  // If the event is disabled, the engine shows its own dialog.
  if (!page->wants(OrvWebEvent::DialogRequested) ||
      !page->client()->settings().isEnableDialogRequestedEvents) {
    self->hangMonitor_.pause();
    return FALSE;
  }
  auto pause = self->hangMonitor_.pauseFor();
  auto prompt = std::make_unique<OpenPrint>(view);
  // One at a time: a page must not accumulate them.
  self->held_.erase(self->openPrint_);
  OrvWebDialogRequestedEvent event;
  event.dialogType = OrvWebDialogType::Print;
  event.url = page->loadControl().shownAddress();
  const auto life = page->viewLife();
  self->askOrHold(*page, event, std::move(prompt), [&] {
    return PromptAnswer{!event.isPreventDefault(), event.result(), {}, {}};
  });
  if (!life.expired()) self->openPrint_ = event.waitHandle();
  return TRUE;
}

gboolean PagePrompts::onChooseFile(WebKitWebView*, WebKitFileChooserRequest* request,
                                   PagePrompts* self) {
  const auto page = self->page_.shared_from_this();
  if (!page->wants(OrvWebEvent::ChooseFile)) return FALSE;
  auto prompt = std::make_unique<OpenFileChooser>(request);
  OrvWebChooseFileEvent event;
  event.allowsMultipleFiles = webkit_file_chooser_request_get_select_multiple(request) != FALSE;
  std::vector<String> types;
  const gchar* const* accepted = webkit_file_chooser_request_get_mime_types(request);
  for (; accepted && *accepted; ++accepted) types.emplace_back(*accepted);
  event.acceptMIMETypes = types;
  self->askOrHold(*page, event, std::move(prompt), [&] {
    return PromptAnswer{true, event.fileChosen(), {}, {}};
  });
  return TRUE;
}

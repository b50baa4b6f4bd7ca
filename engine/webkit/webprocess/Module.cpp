// The module that the engine loads into each web process. It connects to the program, gives pages
// the object through which they call native functions, runs the program's calls of page
// functions, and adds the extra headers of requests. Web process, main thread only.
#include "engine/webkit/base/ObjectPointer.h"
#include "engine/webkit/webprocess/ContentScript.h"
#include "engine/webkit/webprocess/HostLink.h"
#include "engine/webkit/webprocess/Lockdown.h"
#include "engine/webkit/webprocess/PageApi.h"
#include "engine/webkit/webprocess/PageScripts.h"
#include "platform/base/Log.h"

#include <jsc/jsc.h>
#include <libsoup/soup.h>
#include <webkit2/webkit-web-extension.h>

#include <algorithm>
#include <map>
#include <memory>

using link_protocol::ActionCall;
using link_protocol::decode;
using link_protocol::DialogAnswer;
using link_protocol::DialogKind;
using link_protocol::DialogQuestion;
using link_protocol::encode;
using link_protocol::FrameKind;
using link_protocol::NativeArguments;
using link_protocol::PageReport;
using link_protocol::PageSetup;
using link_protocol::ReportKind;
using link_protocol::ResourceVerdict;
using link_protocol::Watched;
using Tessel::Platform::String;

namespace {

// Bytes. A page must not bypass the chrome's decision by an address that is too large to report; no
// server accepts addresses of that length, nor do other browsers send them.
constexpr std::size_t longestAskedAddress = 2u << 20;

struct PageRecord {
  PageSetup setup;
  ObjectPointer<WebKitFrame> mainFrame;
  PageFunctions functions;      // of the document that is in the main frame now
  ContentScript contentScript;  // in the same document
};

class Module final : public HostLinkDelegate {
 public:
  void start(WebKitWebExtension* extension, const std::string& address, const std::string& token);
  // Before anything of a page is there.
  void lockDown(const std::string& sandbox, const std::string& moduleFolder);

  JavaScriptVariant callFunction(std::uint64_t page, const FunctionCall& call) override;
  void setupChanged(std::uint64_t page, const PageSetup& setup) override;
  void act(std::uint64_t page, const ActionCall& call) override;
  bool isDeferred() const override;

  JSCValue* callNative(std::uint64_t page, GPtrArray* arguments);
  JSCValue* runDialog(std::uint64_t page, DialogKind kind, GPtrArray* arguments);
  void report(std::uint64_t page, const PageReport& report) { link_->report(page, report); }

 private:
  static void onPageCreated(WebKitWebExtension*, WebKitWebPage* page, gpointer self);
  static void onPageGone(gpointer number, GObject* page);
  static void onWindowObjectCleared(WebKitScriptWorld*, WebKitWebPage* page, WebKitFrame* frame,
                                    gpointer self);
  static void onContentWorldCleared(WebKitScriptWorld*, WebKitWebPage* page, WebKitFrame* frame,
                                    gpointer self);
  static gboolean onSendRequest(WebKitWebPage* page, WebKitURIRequest* request,
                                WebKitURIResponse* redirect, gpointer self);

  static void onDocumentLoaded(WebKitWebPage* page, gpointer self);
  static void onConsoleMessage(WebKitWebPage* page, WebKitConsoleMessage* message, gpointer self);
  static void onSubmitForm(WebKitWebFormManager*, JSCValue* form, WebKitFrame* source,
                           WebKitFrame* target, gpointer page);
  static void onFormsChanged(WebKitWebFormManager*, WebKitFrame* frame, GPtrArray* elements,
                             gpointer page);
  void report(WebKitWebPage* page, ReportKind what, std::vector<JavaScriptVariant> details);
  bool askForResource(WebKitWebPage* page, WebKitURIRequest* request, SoupMessageHeaders* headers);
  bool mayCall(JSCContext* context, std::uint64_t number);
  void tellCaller(JSCContext* context, std::uint64_t page, const NativeArguments& texts);
  void prepareDocument(JSCContext* context, std::uint64_t number, const PageRecord& record);

  std::unique_ptr<HostLink> link_;
  std::string token_;
  WebKitScriptWorld* contentWorld_ = nullptr;
  std::map<std::uint64_t, PageRecord> pages_;
};

// One per web process; it lives as long as the process.
Module& module() {
  static auto* instance = new Module;
  return *instance;
}

// The data of a function object in a page.
struct NativeFunction {
  std::uint64_t page;
  DialogKind dialog;  // unused by callNative
};

void freeNativeFunction(gpointer function) {
  delete static_cast<NativeFunction*>(function);
}

JSCValue* onCallNative(GPtrArray* arguments, gpointer function) {
  return module().callNative(static_cast<NativeFunction*>(function)->page, arguments);
}

JSCValue* onDialog(GPtrArray* arguments, gpointer data) {
  const auto* function = static_cast<NativeFunction*>(data);
  return module().runDialog(function->page, function->dialog, arguments);
}

// A function for the page that takes any arguments and gets strings, null and undefined.
void defineFunction(JSCContext* context, const PageFunctions& functions, JSCValue* holder,
                    const char* name, VariadicCallback callback, const NativeFunction& function) {
  const ObjectPointer<JSCValue> wrapped(makeVariadic(context, functions.wrapNative.get(), name,
                                                     callback, new NativeFunction(function),
                                                     freeNativeFunction));
  jsc_value_object_set_property(holder, name, wrapped.get());
}

void exposeNativeFunctions(JSCContext* context, const PageFunctions& functions,
                           std::uint64_t page) {
  const ObjectPointer<JSCValue> object(jsc_value_new_object(context, nullptr, nullptr));
  defineFunction(context, functions, object.get(), "callNative", onCallNative,
                 {page, DialogKind::Alert});
  jsc_context_set_value(context, "orv", object.get());
}

void replaceDialogs(JSCContext* context, const PageFunctions& functions, std::uint64_t page) {
  // The engine's own dialogs hold the page and wait for the program's main loop. This page is
  // called while that loop does not run, so its dialogs go over the link.
  const ObjectPointer<JSCValue> global(jsc_context_get_global_object(context));
  const std::pair<const char*, DialogKind> dialogs[] = {{"alert", DialogKind::Alert},
                                                        {"confirm", DialogKind::Confirm},
                                                        {"prompt", DialogKind::Prompt},
                                                        {"print", DialogKind::Print}};
  for (const auto& [name, kind] : dialogs) {
    defineFunction(context, functions, global.get(), name, onDialog, {page, kind});
  }
}

void Module::start(WebKitWebExtension* extension, const std::string& address,
                   const std::string& token) {
  token_ = token;
  link_ = HostLink::connect(address, token, *this);
  if (!link_) {
    g_warning("The application does not answer at %s: its pages work without it.", address.c_str());
    return;
  }
  g_signal_connect(extension, "page-created", G_CALLBACK(onPageCreated), this);
  g_signal_connect(webkit_script_world_get_default(), "window-object-cleared",
                   G_CALLBACK(onWindowObjectCleared), this);
  contentWorld_ = webkit_script_world_new();
  g_signal_connect(contentWorld_, "window-object-cleared", G_CALLBACK(onContentWorldCleared), this);
}

void Module::lockDown(const std::string& sandbox, const std::string& moduleFolder) {
  if (sandbox == "none") return;
  const std::string problem = ::lockDown(sandbox == "landlock", moduleFolder);
  if (problem.empty() || !link_) return;
  link_->tell(FrameKind::Log, 0, "A web process is less confined than it should be: " + problem);
}

void Module::onPageCreated(WebKitWebExtension*, WebKitWebPage* page, gpointer data) {
  auto* self = static_cast<Module*>(data);
  const std::uint64_t number = webkit_web_page_get_id(page);
  PageRecord& record = self->pages_[number];
  g_object_weak_ref(G_OBJECT(page), onPageGone, GSIZE_TO_POINTER(number));
  g_signal_connect(page, "send-request", G_CALLBACK(onSendRequest), self);
  g_signal_connect(page, "document-loaded", G_CALLBACK(onDocumentLoaded), self);
  g_signal_connect(page, "console-message-sent", G_CALLBACK(onConsoleMessage), self);
  WebKitWebFormManager* forms = webkit_web_page_get_form_manager(page, self->contentWorld_);
  g_signal_connect(forms, "will-submit-form", G_CALLBACK(onSubmitForm), GSIZE_TO_POINTER(number));
  g_signal_connect(forms, "form-controls-associated", G_CALLBACK(onFormsChanged),
                   GSIZE_TO_POINTER(number));
  // The program trusts the engine, not this module, about which pages are in this process.
  webkit_web_page_send_message_to_view(
      page,
      webkit_user_message_new(link_protocol::placeMessage,
                              g_variant_new_string(self->token_.c_str())),
      nullptr, nullptr, nullptr);
  // Before the page's first document: it must find its functions.
  const auto answer = self->link_->ask(FrameKind::PageCreated, number, std::string_view());
  if (answer) decode(*answer, record.setup);
  // Before it asks for anything.
  self->link_->suspend();
}

// The engine has one thread for all pages of the process: suspending one suspends all.
bool Module::isDeferred() const {
  return std::any_of(pages_.begin(), pages_.end(),
                     [](const auto& page) { return page.second.setup.deferred; });
}

void Module::onPageGone(gpointer number, GObject*) {
  module().pages_.erase(GPOINTER_TO_SIZE(number));
}

void Module::onSubmitForm(WebKitWebFormManager*, JSCValue* form, WebKitFrame* source, WebKitFrame*,
                          gpointer number) {
  // Frames may belong to other origins: their forms are left alone.
  if (!webkit_frame_is_main_frame(source)) return;
  const auto found = module().pages_.find(GPOINTER_TO_SIZE(number));
  if (found != module().pages_.end()) found->second.contentScript.formSubmitted(form);
}

void Module::onFormsChanged(WebKitWebFormManager*, WebKitFrame* frame, GPtrArray*,
                            gpointer number) {
  if (!webkit_frame_is_main_frame(frame)) return;
  const auto found = module().pages_.find(GPOINTER_TO_SIZE(number));
  if (found != module().pages_.end()) found->second.contentScript.formsChanged();
}

void Module::onWindowObjectCleared(WebKitScriptWorld* world, WebKitWebPage* page,
                                   WebKitFrame* frame, gpointer data) {
  // Frames may belong to other origins: only the main frame gets native functions.
  if (!webkit_frame_is_main_frame(frame)) return;
  auto* self = static_cast<Module*>(data);
  const std::uint64_t number = webkit_web_page_get_id(page);
  PageRecord& record = self->pages_[number];
  record.mainFrame.reset(WEBKIT_FRAME(g_object_ref(frame)));
  const ObjectPointer<JSCContext> context(
      webkit_frame_get_js_context_for_script_world(frame, world));
  record.functions = makePageFunctions(context.get());
  if (record.setup.callbackObject &&
      (!record.setup.bound || self->mayCall(context.get(), number))) {
    exposeNativeFunctions(context.get(), record.functions, number);
  }
  if (record.setup.drivesApplication && !record.setup.engineDialogs) {
    replaceDialogs(context.get(), record.functions, number);
  }
  // Requests of the page that drives the program would have to be answered by itself.
  if (!record.setup.drivesApplication) {
    definePageApi(context.get(), record.functions,
                  [self, number](const PageReport& call, bool waits) {
                    if (waits)
                      return self->link_->ask(FrameKind::Ask, number, encode(call)).value_or("");
                    self->report(number, call);
                    return std::string();
                  });
  }
  self->prepareDocument(context.get(), number, record);
  // The content script's world is made by asking for it.
  const ObjectPointer<JSCContext> content(
      webkit_frame_get_js_context_for_script_world(frame, self->contentWorld_));
}

// The program also checks every call itself, by the document that it knows to be shown: this only
// hides the object from other documents.
bool Module::mayCall(JSCContext* context, std::uint64_t number) {
  const ObjectPointer<JSCValue> address(jsc_context_evaluate(context, "location.href", -1));
  const auto answer =
      link_->ask(FrameKind::Ask, number,
                 encode(PageReport{ReportKind::mayCall, {String(bytesOf(address.get()))}}));
  return answer && !answer->empty();
}

void Module::prepareDocument(JSCContext* context, std::uint64_t number, const PageRecord& record) {
  const auto evaluate = [&](const char* script, gssize size) {
    const ObjectPointer<JSCValue> ignored(jsc_context_evaluate(context, script, size));
    const std::string problem = takeException(context);
    if (!problem.empty()) link_->tell(FrameKind::Log, number, problem);
  };
  if (record.setup.standalone) {
    evaluate("Object.defineProperty(navigator, 'standalone', {value: true})", -1);
  }
  if (!(record.setup.watched & static_cast<std::uint32_t>(Watched::WindowObjectCleared))) return;
  // The document waits: what the chrome answers runs before any script of the page.
  const auto script =
      link_->ask(FrameKind::Ask, number, encode(PageReport{ReportKind::windowObjectCleared, {}}));
  if (script && !script->empty()) evaluate(script->data(), static_cast<gssize>(script->size()));
}

void Module::onContentWorldCleared(WebKitScriptWorld* world, WebKitWebPage* page,
                                   WebKitFrame* frame, gpointer data) {
  if (!webkit_frame_is_main_frame(frame)) return;
  auto* self = static_cast<Module*>(data);
  const std::uint64_t number = webkit_web_page_get_id(page);
  PageRecord& record = self->pages_[number];
  const ObjectPointer<JSCContext> context(
      webkit_frame_get_js_context_for_script_world(frame, world));
  record.contentScript.start(
      context.get(), [number](const PageReport& report) { module().report(number, report); });
  record.contentScript.watch(record.setup.watched);
}

void Module::act(std::uint64_t page, const ActionCall& call) {
  const auto found = pages_.find(page);
  if (found == pages_.end()) return;
  const std::string problem = found->second.contentScript.act(call);
  if (!problem.empty()) link_->tell(FrameKind::Log, page, problem);
}

JSCValue* Module::callNative(std::uint64_t page, GPtrArray* arguments) {
  JSCContext* context = jsc_context_get_current();
  if (arguments->len > link_protocol::maximumArguments) {
    jsc_context_throw_with_name(context, "RangeError", "Too many arguments for a native call.");
    return jsc_value_new_undefined(context);
  }
  NativeArguments texts(arguments->len);
  for (guint i = 0; i < arguments->len; ++i) {
    auto* value = static_cast<JSCValue*>(g_ptr_array_index(arguments, i));
    // The wrapper has converted everything else to a string.
    if (jsc_value_is_string(value)) texts[i] = bytesOf(value);
  }
  const std::string payload = encode(texts);
  if (payload.size() > link_protocol::maximumPayload) {
    jsc_context_throw_with_name(context, "RangeError",
                                "The arguments of a native call are too large together.");
    return jsc_value_new_undefined(context);
  }
  // An earlier call's.
  link_->takeErrorPosted();
  const auto result = link_->ask(FrameKind::NativeCall, page, payload);
  if (!result) {
    jsc_context_throw(context, "The application does not answer any more.");
    return jsc_value_new_undefined(context);
  }
  if (link_->takeErrorPosted()) tellCaller(context, page, texts);
  return toScript(context, String(std::string_view(*result)));
}

// Says where a native call came from that has failed. Of the page that drives the application only:
// an error in others may be anybody's.
void Module::tellCaller(JSCContext* context, std::uint64_t page, const NativeArguments& texts) {
  const auto found = pages_.find(page);
  if (found == pages_.end() || !found->second.setup.drivesApplication) return;
  const ScriptPlace place = callerOf(context);
  const std::string name = !texts.empty() && texts[0] ? *texts[0] : "";
  report(page, PageReport{ReportKind::problem,
                          {String("The native call " + name + " has failed here"),
                           String(place.file), static_cast<double>(place.line)}});
}

JSCValue* Module::runDialog(std::uint64_t page, DialogKind kind, GPtrArray* arguments) {
  JSCContext* context = jsc_context_get_current();
  DialogQuestion question;
  question.kind = kind;
  std::string texts[2];
  for (guint i = 0; i < std::min<guint>(arguments->len, 2); ++i) {
    auto* value = static_cast<JSCValue*>(g_ptr_array_index(arguments, i));
    if (jsc_value_is_string(value)) texts[i] = bytesOf(value);
  }
  question.message = texts[0];
  question.initialText = texts[1];
  DialogAnswer answer;
  if (const auto reply = link_->ask(FrameKind::Dialog, page, encode(question))) {
    decode(*reply, answer);
  }
  switch (kind) {
    case DialogKind::Confirm:
      return jsc_value_new_boolean(context, answer.confirmed);
    case DialogKind::Prompt:
      return answer.confirmed ? toScript(context, answer.text) : jsc_value_new_null(context);
    default:
      return jsc_value_new_undefined(context);
  }
}

JavaScriptVariant Module::callFunction(std::uint64_t page, const FunctionCall& call) {
  const auto found = pages_.find(page);
  if (found == pages_.end() || !found->second.mainFrame) return {};
  const ObjectPointer<JSCContext> context(
      webkit_frame_get_js_context(found->second.mainFrame.get()));
  if (!context) return {};
  std::string problem;
  JavaScriptVariant value = callPageFunction(context.get(), found->second.functions, call, problem);
  if (!problem.empty()) link_->tell(FrameKind::Log, page, problem);
  return value;
}

void Module::setupChanged(std::uint64_t page, const PageSetup& setup) {
  const auto found = pages_.find(page);
  if (found == pages_.end()) return;
  found->second.setup = setup;
  found->second.contentScript.watch(setup.watched);
}

void Module::report(WebKitWebPage* page, ReportKind what, std::vector<JavaScriptVariant> details) {
  report(webkit_web_page_get_id(page), PageReport{what, std::move(details)});
}

void Module::onDocumentLoaded(WebKitWebPage* page, gpointer self) {
  static_cast<Module*>(self)->report(page, ReportKind::documentLoaded, {});
}

void Module::onConsoleMessage(WebKitWebPage* page, WebKitConsoleMessage* message, gpointer data) {
  if (webkit_console_message_get_level(message) != WEBKIT_CONSOLE_MESSAGE_LEVEL_ERROR) return;
  auto* self = static_cast<Module*>(data);
  const auto tell = [&](ReportKind kind) {
    self->report(page, kind,
                 {String(webkit_console_message_get_text(message)),
                  String(webkit_console_message_get_source_id(message)),
                  static_cast<double>(webkit_console_message_get_line(message))});
  };
  // Uncaught exceptions are among the console messages.
  if (webkit_console_message_get_source(message) == WEBKIT_CONSOLE_MESSAGE_SOURCE_JAVASCRIPT) {
    tell(ReportKind::exception);
  }
  const auto found = self->pages_.find(webkit_web_page_get_id(page));
  if (found != self->pages_.end() && found->second.setup.drivesApplication) {
    tell(ReportKind::problem);
  }
}

gboolean Module::onSendRequest(WebKitWebPage* page, WebKitURIRequest* request, WebKitURIResponse*,
                               gpointer data) {
  auto* self = static_cast<Module*>(data);
  const auto found = self->pages_.find(webkit_web_page_get_id(page));
  if (found == self->pages_.end()) return FALSE;
  // Not every scheme's requests have headers.
  SoupMessageHeaders* headers = webkit_uri_request_get_http_headers(request);
  if (headers) {
    const char* destination = soup_message_headers_get_one(headers, "Sec-Fetch-Dest");
    if (!found->second.setup.downloadableFonts && g_strcmp0(destination, "font") == 0) return TRUE;
    for (const OrvWebHeader& header : found->second.setup.requestHeaders) {
      soup_message_headers_replace(headers, header.key().utf8(), header.value().utf8());
    }
  }
  const bool isWatched =
      (found->second.setup.watched & static_cast<std::uint32_t>(Watched::Resources)) != 0;
  return isWatched && self->askForResource(page, request, headers) ? TRUE : FALSE;
}

// As pages see it: "https://example.org", with the port if it is not the usual one.
String originOf(const char* url) {
  GUri* uri =
      url ? g_uri_parse(url, static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr) : nullptr;
  if (!uri) return {};
  gchar* text = g_uri_join(G_URI_FLAGS_NONE, g_uri_get_scheme(uri), nullptr, g_uri_get_host(uri),
                           g_uri_get_port(uri), "", nullptr, nullptr);
  String origin(text);
  g_free(text);
  g_uri_unref(uri);
  return origin;
}

// Blocks the page. True when the request shall be cancelled.
bool Module::askForResource(WebKitWebPage* page, WebKitURIRequest* request,
                            SoupMessageHeaders* headers) {
  const auto header = [&](const char* name) {
    return String(headers ? soup_message_headers_get_one(headers, name) : nullptr);
  };
  const String destination = header("Sec-Fetch-Dest");
  const String address(webkit_uri_request_get_uri(request));
  if (address.length() > longestAskedAddress) {
    link_->tell(FrameKind::Log, webkit_web_page_get_id(page),
                "A request is refused: its address is too long for anybody to be asked about it.");
    return true;
  }
  const auto answer =
      link_->ask(FrameKind::Ask, webkit_web_page_get_id(page),
                 encode(PageReport{ReportKind::resource,
                                   {address, destination, header("Referer"),
                                    destination == String("document")
                                        ? String()
                                        : originOf(webkit_web_page_get_uri(page))}}));
  // Without an answer the request is denied.
  if (!answer) return true;
  link_protocol::ResourceDecision decision;
  // The chrome has decided nothing.
  if (answer->empty() || !decode(*answer, decision)) return false;
  if (decision.verdict == ResourceVerdict::Deny) return true;
  if (decision.verdict == ResourceVerdict::Redirect) {
    webkit_uri_request_set_uri(request, decision.address.utf8());
  }
  if (headers && decision.referrer != header("Referer")) {
    soup_message_headers_replace(headers, "Referer", decision.referrer.utf8());
  }
  return false;
}

}  // namespace

extern "C" G_MODULE_EXPORT void webkit_web_extension_initialize_with_user_data(
    WebKitWebExtension* extension, GVariant* data) {
  if (!data || !g_variant_is_of_type(data, G_VARIANT_TYPE("(ssss)"))) return;
  const char* address = nullptr;
  const char* token = nullptr;
  const char* sandbox = nullptr;
  const char* folder = nullptr;
  g_variant_get(data, "(&s&s&s&s)", &address, &token, &sandbox, &folder);
  Tessel::Platform::setupApplicationLogging("page module");
  Tessel::Platform::traceStart("page module loaded");
  module().start(extension, address, token);
  module().lockDown(sandbox, folder);
  Tessel::Platform::traceStart("page module connected and confined");
}

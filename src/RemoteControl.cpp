// Carries out what the program is told to do from outside. Main thread.
#include "src/RemoteControl.h"

#include "platform/base/Log.h"
#include "platform/desktop/NavigatorHandler.h"
#include "platform/desktop/NavigatorJson.h"
#include "platform/os/Folders.h"
#include "platform/os/MemoryStats.h"
#include "platform/os/ProcessTree.h"
#include "platform/sockets/MemoryFile.h"
#include "src/ApplicationWindow.h"
#include "src/DataFolders.h"
#include "src/ProgramOptions.h"
#include "src/SingleInstance.h"
#include "webview/ViewQuestions.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"
#include "webview/commands/IPCSenderWebView.h"

#include <gio/gio.h>
#include <rapidjson/reader.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

namespace NavigatorJson = Tessel::Platform::NavigatorJson;
using NavigatorJson::Writer;
using Tessel::Platform::concat;
using Tessel::Platform::ControlAnswer;
using Tessel::Platform::ControlBus;
using Tessel::Platform::ControlReply;
using Tessel::Platform::ControlSocket;
using Tessel::Platform::ControlView;
using Tessel::Platform::NavigatorHandler;
using Tessel::Platform::ProcessUse;
using Tessel::Platform::String;

namespace {

constexpr unsigned rootHandle = WebViewManager::rootHandle;
// How long the status waits for the processes of web views, in milliseconds.
constexpr unsigned viewPatience = 2000;

// Whether the chrome hears of requests is asked so often, at this interval in milliseconds.
constexpr int mostQuestions = 50;
constexpr unsigned questionInterval = 200;

// What comes from a process that may be taken over, as one line of JSON; the empty text if it is
// none.
String checkedJson(const String& text) {
  rapidjson::StringStream in(text.utf8());
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  rapidjson::Reader reader;
  constexpr unsigned flags = rapidjson::kParseIterativeFlag | rapidjson::kParseValidateEncodingFlag;
  if (reader.Parse<flags>(in, writer).IsError()) return {};
  return std::string_view(buffer.GetString(), buffer.GetSize());
}

void writeNumber(Writer& writer, const char* name, std::optional<std::uint64_t> value) {
  writer.Key(name);
  value ? writer.Uint64(*value) : writer.Null();
}

// What a process of the program is there for, by its name.
const char* roleOf(const ProcessUse& process, bool isRoot) {
  static constexpr std::pair<std::string_view, const char*> roles[] = {
      {"webkit-child-launcher", "launcher"}, {"pagehost-webview", "web views"},
      {"WebKitWebProcess", "pages"},         {"WebKitNetworkProcess", "network"},
      {"WebKitGPUProcess", "graphics"},      {"bwrap", "sandbox"},
      {"xdg-dbus-proxy", "sandbox"}};
  if (isRoot) return "program";
  for (const auto& [name, role] : roles) {
    if (std::string_view(process.name).starts_with(name)) return role;
  }
  return "other";
}

void write(Writer& writer, const std::vector<ProcessUse>& processes) {
  std::uint64_t rss = 0;
  std::uint64_t unshared = 0;
  std::optional<std::uint64_t> pss = 0;
  writer.Key("processes");
  writer.StartArray();
  for (const ProcessUse& each : processes) {
    writer.StartObject();
    writer.Key("process");
    writer.Int(each.pid);
    writer.Key("parent");
    writer.Int(each.parent);
    NavigatorJson::writeMember(writer, "role",
                               String(roleOf(each, each.pid == processes.front().pid)));
    // Of a process that may be anybody's, in whatever encoding.
    gchar* const name = g_utf8_make_valid(each.name.c_str(), -1);
    NavigatorJson::writeMember(writer, "name", String(name));
    g_free(name);
    const std::uint64_t own = Tessel::Platform::privateMemoryOf(each.pid);
    writeNumber(writer, "rss", each.rss);
    writeNumber(writer, "private", own);
    writeNumber(writer, "pss", each.pss);
    writer.EndObject();
    rss += each.rss;
    unshared += own;
    pss = pss && each.pss ? std::optional(*pss + *each.pss) : std::nullopt;
  }
  writer.EndArray();
  writeNumber(writer, "rss", rss);
  writeNumber(writer, "private", unshared);
  writeNumber(writer, "pss", pss);
}

// The members that say which program it is.
void writeAbout(Writer& writer) {
  const char* const profile = std::getenv(profileVariable);
  writer.Key("pid");
  writer.Int(static_cast<int>(::getpid()));
  NavigatorJson::writeMember(writer, "version", String(PAGEHOST_VERSION));
  NavigatorJson::writeMember(writer, "profile", String(profile ? profile : ""));
  NavigatorJson::writeMember(writer, "chrome", String(chromeIdentity()));
}

// What a web view has told of itself. Its process may be anybody's by now: only what has the right
// type counts.
void writeState(Writer& writer, const String& json) {
  rapidjson::Document state;
  const bool answers = NavigatorJson::parse(json.view(), state) && state.IsObject();
  writer.Key("answers");
  writer.Bool(answers);
  if (!answers) return;
  for (const char* name : {"address", "title"}) {
    NavigatorJson::writeMember(writer, name, NavigatorJson::member(state, name));
  }
  for (const char* name : {"visible", "private"}) {
    const auto member = state.FindMember(name);
    writer.Key(name);
    writer.Bool(member != state.MemberEnd() && member->value.IsTrue());
  }
  const auto progress = state.FindMember("progress");
  writer.Key("progress");
  writer.Int(progress != state.MemberEnd() && progress->value.IsInt() ? progress->value.GetInt()
                                                                      : 0);
}

// A status that is being put together: what the web views answer, and what the processes take.
// Keeps itself until it is told.
class Status : public std::enable_shared_from_this<Status> {
 public:
  Status(ControlReply reply, std::chrono::steady_clock::time_point started, bool allowsEval)
      : reply_(std::move(reply)), started_(started), allowsEval_(allowsEval) {}

  void ask() {
    keeper_ = shared_from_this();
    std::vector<unsigned> handles = WebViewManager::instance().webViews();
    if (WebViewManager::instance().rootWebView()) handles.insert(handles.begin(), rootHandle);
    for (const unsigned handle : handles) views_.emplace(handle, String());
    unanswered_ = handles.size();
    readProcesses();
    // A web view that is going does not answer, and neither does a process that hangs.
    timer_ = g_timeout_add(
        viewPatience,
        [](gpointer self) -> gboolean {
          static_cast<Status*>(self)->timer_ = 0;
          static_cast<Status*>(self)->unanswered_ = 0;
          static_cast<Status*>(self)->tellIfDone();
          return G_SOURCE_REMOVE;
        },
        this);
    for (const unsigned handle : handles) {
      askView(handle, ViewQuestion::State, {},
              [self = weak_from_this(), handle](const ViewAnswer& answer) {
                if (const auto status = self.lock()) status->take(handle, answer);
              });
    }
  }

 private:
  void take(unsigned handle, const ViewAnswer& answer) {
    if (unanswered_ == 0) return;
    if (answer.good) views_[handle] = answer.text;
    --unanswered_;
    tellIfDone();
  }

  void readProcesses() {
    GTask* const task = g_task_new(
        nullptr, nullptr,
        [](GObject*, GAsyncResult* result, gpointer data) {
          const std::unique_ptr<std::shared_ptr<Status>> self(
              static_cast<std::shared_ptr<Status>*>(data));
          const std::unique_ptr<std::vector<ProcessUse>> found(
              static_cast<std::vector<ProcessUse>*>(
                  g_task_propagate_pointer(G_TASK(result), nullptr)));
          (*self)->processes_ = std::move(*found);
          (*self)->tellIfDone();
        },
        new std::shared_ptr<Status>(shared_from_this()));
    g_task_run_in_thread(task, [](GTask* of, gpointer, gpointer, GCancellable*) {
      auto* const found = new std::vector(Tessel::Platform::processTree(::getpid()));
      g_task_return_pointer(of, found, nullptr);
    });
    g_object_unref(task);
  }

  // The program itself is always among the processes.
  void tellIfDone() {
    if (unanswered_ > 0 || processes_.empty() || !keeper_) return;
    const auto self = std::move(keeper_);
    if (timer_) g_source_remove(std::exchange(timer_, 0));
    reply_({.json = NavigatorJson::text([this](Writer& writer) { writeAll(writer); })});
  }

  void writeAll(Writer& writer) const {
    using Seconds = std::chrono::duration<double>;
    writer.StartObject();
    writeAbout(writer);
    writer.Key("uptime");
    writer.Double(Seconds(std::chrono::steady_clock::now() - started_).count());
    writer.Key("eval");
    writer.Bool(allowsEval_);
    writer.Key("views");
    writer.StartArray();
    for (const auto& [handle, state] : views_) {
      const auto* const remote = WebViewManager::instance().remoteWebViewForHandle(handle);
      const bool isElsewhere = remote && remote->host();
      writer.StartObject();
      writer.Key("view");
      writer.Uint(handle);
      writer.Key("process");
      writer.Int(isElsewhere ? remote->host()->childPid() : static_cast<int>(::getpid()));
      writeState(writer, state);
      writer.EndObject();
    }
    writer.EndArray();
    write(writer, processes_);
    writer.EndObject();
  }

  const ControlReply reply_;
  const std::chrono::steady_clock::time_point started_;
  const bool allowsEval_;
  std::map<unsigned, String> views_;  // the state of each; empty until it is told
  std::size_t unanswered_ = 0;
  std::vector<ProcessUse> processes_;
  std::shared_ptr<Status> keeper_;
  unsigned timer_ = 0;
};

// Runs the operation on a web view of whatever process.
template <typename Act>
void withView(ControlView view, const ControlReply& reply, Act act) {
  const auto handle = static_cast<unsigned>(view);
  WebViewManager& manager = WebViewManager::instance();
  if (WebView* const here = manager.webViewForHandle(handle)) {
    act(*here);
  } else if (const IPCSenderWebView* const remote = manager.remoteWebViewForHandle(handle)) {
    act(*remote);
  } else {
    return reply({.error = concat("There is no web view ", String::fromUnsignedInteger(handle))});
  }
  reply({});
}

}  // namespace

RemoteControl::RemoteControl(ApplicationWindow& window)
    : window_(window), allowsEval_(isSwitchedOn(allowEvalVariable)) {
  WebViewManager::instance().onChromeLoaded([this] {
    asksChrome_ = false;
    timesAsked_ = 0;
    deliverInvocations();
  });
  openSocket();
  std::vector<std::string> names{ControlBus::nameOf(::getpid())};
  if (isDesktopsInstance()) names.emplace_back(ControlBus::applicationName);
  bus_ = std::make_unique<ControlBus>(*this, std::move(names));
}

RemoteControl::~RemoteControl() {
  for (const unsigned source : {closing_, askingAgain_}) {
    if (source) g_source_remove(source);
  }
  WebViewManager::instance().onChromeLoaded({});
}

void RemoteControl::openSocket() {
  Tessel::Platform::removeStaleFiles(Tessel::Platform::runtimeFolder(), ControlSocket::namePrefix);
  socket_ = ControlSocket::open(ControlSocket::pathOf(::getpid()), this);
  if (socket_) return;
  Tessel::Platform::logAlways(Tessel::Platform::LogError,
                              "No control socket, pagehost-ctl cannot reach this program: %s",
                              std::strerror(errno));
}

void RemoteControl::about(ControlReply reply) {
  reply({.json = NavigatorJson::text([](Writer& writer) {
           writer.StartObject();
           writeAbout(writer);
           writer.EndObject();
         })});
}

void RemoteControl::status(ControlReply reply) {
  std::make_shared<Status>(std::move(reply), started_, allowsEval_)->ask();
}

void RemoteControl::load(ControlReply reply, ControlView view, const String& address) {
  GError* error = nullptr;
  if (!g_uri_is_valid(address.utf8(), G_URI_FLAGS_PARSE_RELAXED, &error)) {
    const String problem = concat("\"", address, "\" is no address: ", error->message);
    g_error_free(error);
    return reply({.error = problem});
  }
  withView(view, reply, [&](auto& its) { its.loadURL(address); });
}

void RemoteControl::reload(ControlReply reply, ControlView view) {
  withView(view, reply, [](auto& its) { its.reload(); });
}

void RemoteControl::screenshot(ControlReply reply) {
  auto* const surface = window_.surface();
  if (!surface) return reply({.error = "There is no window"});
  surface->takePicture([reply](const std::string& png) {
    if (png.empty()) return reply({.error = "No picture can be made"});
    auto file = Tessel::Platform::sealedFile(png);
    if (!file || ::lseek(file.get(), 0, SEEK_SET) != 0) {
      return reply({.error = concat("No memory for the picture: ", std::strerror(errno))});
    }
    ControlAnswer answer;
    answer.file = std::move(file);
    reply(std::move(answer));
  });
}

void RemoteControl::eval(ControlReply reply, ControlView view, const String& script) {
  if (!allowsEval_) {
    return reply(
        {.error = "Scripts are not allowed: the program was started without --allow-eval"});
  }
  askView(static_cast<unsigned>(view), ViewQuestion::Evaluate, script,
          [reply](const ViewAnswer& answer) {
            if (!answer.good) return reply({.error = answer.text});
            const String json = checkedJson(answer.text);
            if (json.isEmpty()) return reply({.error = "The value has no form in JSON"});
            reply({.json = json});
          });
}

void RemoteControl::open(ControlReply reply, const std::vector<String>& addresses) {
  if (WebViewManager::instance().isShuttingDown()) return reply({.error = "The program is ending"});
  if (invocations_.size() + addresses.size() > mostInvocations) {
    return reply({.error = "There are too many addresses"});
  }
  for (const String& address : addresses) {
    invoke(NavigatorJson::text([&](Writer& writer) {
      writer.StartObject();
      NavigatorJson::writeMember(writer, "action", String("open"));
      NavigatorJson::writeMember(writer, "uri", address);
      writer.EndObject();
    }));
  }
  if (addresses.empty()) invoke(R"({"action":"activate"})");
  if (auto* const surface = window_.surface()) surface->requestKeyboardFocus();
  reply({});
}

void RemoteControl::close(ControlReply reply) {
  reply({});
  if (closing_) return;
  closing_ = g_idle_add(
      [](gpointer data) -> gboolean {
        auto* const self = static_cast<RemoteControl*>(data);
        self->closing_ = 0;
        self->window_.close();
        return G_SOURCE_REMOVE;
      },
      this);
}

void RemoteControl::blank(ControlReply reply) {
  const bool done = NavigatorHandler::instance().blankScreen();
  reply({.error = done ? String() : String("The display cannot be switched off")});
}

void RemoteControl::wake(ControlReply reply) {
  const bool done = NavigatorHandler::instance().wakeScreen();
  reply({.error = done ? String() : String("The display cannot be switched on")});
}

void RemoteControl::invoke(const String& request) {
  invocations_.push_back(request);
  timesAsked_ = 0;
  deliverInvocations();
}

void RemoteControl::deliverInvocations() {
  WebView* const chrome = WebViewManager::instance().rootWebView();
  if (invocations_.empty() || asksChrome_ || askingAgain_ || !chrome) return;
  if (!WebViewManager::instance().isChromeLoaded()) return;
  asksChrome_ = true;
  ++timesAsked_;
  chrome->evaluate("typeof globalThis.chrome?.internal?.invocation?.onInvoked",
                   [self = std::weak_ptr(self_)](OrvWebJavaScriptResultType, const String& type) {
                     if (const auto control = self.lock()) {
                       (*control)->deliverTo(type == R"("function")");
                     }
                   });
}

void RemoteControl::deliverTo(bool listening) {
  asksChrome_ = false;
  if (listening) {
    for (const String& request : std::exchange(invocations_, {})) {
      NavigatorHandler::instance().onInvoked(request);
    }
    return;
  }
  // Its scripts may run on after the document has loaded.
  if (timesAsked_ >= mostQuestions) {
    Tessel::Platform::logAlways(Tessel::Platform::LogNotice,
                                "The chrome has no onInvoked: it does not hear of %zu requests.",
                                invocations_.size());
    invocations_.clear();
    return;
  }
  askingAgain_ = g_timeout_add(
      questionInterval,
      [](gpointer data) -> gboolean {
        auto* const self = static_cast<RemoteControl*>(data);
        self->askingAgain_ = 0;
        self->deliverInvocations();
        return G_SOURCE_REMOVE;
      },
      this);
}

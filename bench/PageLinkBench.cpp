// Calls between the program and a page, and events to a chrome, across two processors, compared
// with their floors: a bare ping-pong of the same sizes, and the engine's own mechanism for the
// same purpose.
//
// Run it with a display. It prints one line per figure with the ratio to each floor.
#include "bench/PingPong.h"
#include "engine/OrvWebEvents.h"
#include "engine/webkit/link/Frame.h"
#include "platform/graphics/Window.h"
#include "registry/ChromeChannel.h"
#include "tests/support/RealEngine.h"
#include "webview/events/EventForwarding.h"

#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <vector>

namespace {

using test_support::RealEngine;
using Clock = std::chrono::steady_clock;
using String = Tessel::Platform::String;

constexpr int rounds = 15;
constexpr int callsPerRound = 2000;

// Microseconds per call, the median of the rounds.
template <typename Round>
double median(Round&& round) {
  std::vector<double> times;
  round();  // warms up
  for (int i = 0; i < rounds; ++i) times.push_back(round());
  std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
  return times[rounds / 2];
}

template <typename Body>
double timed(Body&& body) {
  const auto begin = Clock::now();
  for (int i = 0; i < callsPerRound; ++i) body();
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count() / callsPerRound;
}

constexpr const char* page = R"(<!doctype html><title>bench</title><script>
  window.echo = value => value;
  window.nativeRound = (count, text) => {
    const begin = performance.now();
    for (let i = 0; i < count; ++i) orv.callNative('echo', text);
    return (performance.now() - begin) * 1000 / count;
  };
  let events = 0;
  window.eventsSeen = () => events;
  window.chrome = {internal: {webEvent: (handle, name) => {
    ++events;
    return name === 'LocationChanging' ? '{"setPreventDefault":true}' : '';
  }}};
</script>)";

// The engine's own mechanism: a script message with a reply.
constexpr const char* handlerPage = R"(<!doctype html><title>ready</title><script>
  window.messageRound = async (count, text) => {
    const begin = performance.now();
    for (let i = 0; i < count; ++i) await webkit.messageHandlers.echo.postMessage(text);
    document.title = 'time ' + (performance.now() - begin) * 1000 / count;
  };
</script>)";

double engineMessageRound(const std::string& text) {
  WebKitUserContentManager* manager = webkit_user_content_manager_new();
  g_signal_connect(manager, "script-message-with-reply-received::echo",
                   G_CALLBACK(+[](WebKitUserContentManager*, JSCValue* value,
                                  WebKitScriptMessageReply* reply, gpointer) -> gboolean {
                     webkit_script_message_reply_return_value(reply, value);
                     return TRUE;
                   }),
                   nullptr);
  webkit_user_content_manager_register_script_message_handler_with_reply(manager, "echo", nullptr);
  GtkWidget* view =
      GTK_WIDGET(g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", manager, nullptr));
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  gtk_container_add(GTK_CONTAINER(window), view);
  gtk_widget_show_all(window);
  auto* webView = WEBKIT_WEB_VIEW(view);
  webkit_web_view_load_html(webView, handlerPage, nullptr);
  const auto title = [&] {
    const char* text = webkit_web_view_get_title(webView);
    return std::string(text ? text : "");
  };
  RealEngine::runUntil([&] { return title() == "ready"; });
  std::vector<double> times;
  for (int i = 0; i <= rounds; ++i) {
    // Reset between rounds, so that two equal times are counted as two.
    const std::string script = "document.title = 'running'; messageRound(" +
                               std::to_string(callsPerRound / 4) + ", '" + text + "'); 0";
    webkit_web_view_evaluate_javascript(webView, script.c_str(), -1, nullptr, nullptr, nullptr,
                                        nullptr, nullptr);
    RealEngine::runUntil([&] { return title() == "running"; });
    RealEngine::runUntil([&] { return title().rfind("time ", 0) == 0; });
    if (i > 0) times.push_back(std::stod(title().substr(5)));
  }
  gtk_widget_destroy(window);
  g_object_unref(manager);
  std::nth_element(times.begin(), times.begin() + rounds / 2, times.end());
  return times[rounds / 2];
}

// The page above as the chrome of its own events.
class PageAsChrome final : public EventSink {
 public:
  explicit PageAsChrome(OrvWebView& chrome) : chrome_(chrome) {}
  void post(EventType event, const String& data) override {
    sendChromePostEvent(&chrome_, nameOf(event), data, 1, 0);
  }
  String send(EventType event, const String& data) override {
    return sendChromeSendEvent(&chrome_, nameOf(event), data, 1, 0);
  }

 private:
  OrvWebView& chrome_;
};

void mustHold(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "page_link_bench: %s\n", what);
  std::exit(1);
}

// The time from the event to the setters called with the chrome's answer.
double sentEvent(test_support::ScriptedView& view, const std::string& url) {
  PageAsChrome sink(view);
  return median([&] {
    return timed([&] {
      OrvWebLocationChangingEvent event;
      event.url = String(url);
      forwardWebEvent(view, event, sink);
      mustHold(event.isPreventDefault(), "an event was not answered");
    });
  });
}

// The time from an event until the chrome has received it. Events are posted in batches of a
// hundred, and the last one of each batch is waited for.
double postedEvent(test_support::ScriptedView& view, const std::string& url) {
  constexpr int together = 100;
  PageAsChrome sink(view);
  OrvWebLocationChangeEvent event;
  event.url = String(url);
  double expected = view.call("eventsSeen").numberValue();
  return median([&] {
    const auto begin = Clock::now();
    for (int i = 0; i < callsPerRound; i += together) {
      for (int j = 0; j < together; ++j) forwardWebEvent(view, event, sink);
      expected += together;
      mustHold(view.call("eventsSeen").numberValue() == expected, "an event was lost");
    }
    return std::chrono::duration<double, std::micro>(Clock::now() - begin).count() / callsPerRound;
  });
}

// Moves the processes of the engine to one processor, as the scheduler would under load.
void pinEngine(int processor) {
  std::ifstream children("/proc/self/task/" + std::to_string(::getpid()) + "/children");
  for (pid_t child = 0; children >> child;) bench::pin(child, processor);
}

void report(const char* what, std::size_t size, double figure, double floor, double engine) {
  std::printf("%-28s %6zu B %8.1f us   ping-pong %6.1f us  ratio %.2f", what, size, figure, floor,
              figure / floor);
  if (engine > 0) std::printf("   engine's own %6.1f us  ratio %.2f", engine, figure / engine);
  std::printf("\n");
  std::fflush(stdout);
}

}  // namespace

int main() {
  std::string problem;
  RealEngine* engine = RealEngine::instance(problem);
  if (!engine) {
    std::fprintf(stderr, "page_link_bench: %s\n", problem.c_str());
    return 1;
  }
  const auto view = engine->openPage(
      page, [](const std::vector<std::string>& arguments) { return String(arguments.at(1)); });
  if (!view) return 1;
  bench::pin(::getpid(), 0);
  pinEngine(1);
  for (const std::size_t size : {std::size_t(16), std::size_t(10000)}) {
    const std::string text(size, 'x');
    // Per round trip: a frame with the name and the text, and one with the answer.
    const std::string packet(sizeof(link_protocol::FrameHeader) + 4 + 2 * 5 + 4 + size, 'p');
    const double floor = median([&] {
      bench::PingPong pingPong(sizeof(link_protocol::FrameHeader) + size, 1);
      return timed([&] { pingPong.roundTrip(packet); });
    });
    const double engines = engineMessageRound(text);
    pinEngine(1);
    const double native = median([&] {
      return view->call("nativeRound", {callsPerRound, text.c_str()}).numberValue();
    });
    report("page -> native -> page", size, native, floor, engines);
    const JavaScriptVariant argument{String(text)};
    const double call = median([&] { return timed([&] { view->call("echo", {argument}); }); });
    report("native -> page -> native", size, call, floor, engines);
    report("event -> chrome -> answer", size, sentEvent(*view, text), floor, 0);
    report("posted event -> chrome", size, postedEvent(*view, text), floor, 0);
  }
  return 0;
}

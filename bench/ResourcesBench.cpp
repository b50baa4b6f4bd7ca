// The cost of asking the chrome about each resource of a page: the load time of a page with many
// small resources, for each kind of answer, in the program and in a child, compared with the same
// page without filtering and with a program that only shows it. Needs a display.
#include "tests/support/Program.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using test_support::Program;

namespace {

constexpr int rounds = 15;
constexpr int resources = 200;
constexpr const char* style = "p{}";

// Serves the page, and the same style sheet under every other name. Connections are kept alive;
// caching is disabled.
class Server {
 public:
  Server() : context_(g_main_context_new()), loop_(g_main_loop_new(context_, FALSE)) {
    g_main_context_push_thread_default(context_);
    server_ = soup_server_new(nullptr, nullptr);
    soup_server_add_handler(server_, "/", answer, this, nullptr);
    if (!soup_server_listen_local(server_, 0, SOUP_SERVER_LISTEN_IPV4_ONLY, nullptr)) std::abort();
    g_main_context_pop_thread_default(context_);
    GSList* const addresses = soup_server_get_uris(server_);
    char* const address = g_uri_to_string(static_cast<GUri*>(addresses->data));
    address_ = address;
    g_free(address);
    g_slist_free_full(addresses, [](gpointer uri) { g_uri_unref(static_cast<GUri*>(uri)); });
    for (int i = 0; i < resources; ++i) {
      page_ += "<link rel=stylesheet href=/style" + std::to_string(i) + ">";
    }
    thread_ = std::thread([this] {
      // Connections are accepted here.
      g_main_context_push_thread_default(context_);
      g_main_loop_run(loop_);
      g_main_context_pop_thread_default(context_);
    });
  }
  ~Server() {
    g_main_loop_quit(loop_);
    thread_.join();
    g_object_unref(server_);
    g_main_loop_unref(loop_);
    g_main_context_unref(context_);
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  const std::string& address() const { return address_; }
  const std::string& page() const { return page_; }

 private:
  static void answer(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*,
                     gpointer self) {
    const bool isPage = std::string_view(path) == "/page";
    const std::string& page = static_cast<Server*>(self)->page_;
    soup_server_message_set_status(message, SOUP_STATUS_OK, nullptr);
    soup_message_headers_append(soup_server_message_get_response_headers(message), "Cache-Control",
                                "no-store");
    soup_server_message_set_response(message, isPage ? "text/html" : "text/css", SOUP_MEMORY_COPY,
                                     isPage ? page.data() : style,
                                     isPage ? page.size() : std::char_traits<char>::length(style));
  }

  GMainContext* const context_;
  GMainLoop* const loop_;
  SoupServer* server_ = nullptr;
  std::string address_;
  std::string page_ = "<!doctype html><title>a page</title>";
  std::thread thread_;
};

using Times = std::map<std::string, std::vector<double>>;

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<long>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

[[noreturn]] void fail(const std::string& problem) {
  std::fprintf(stderr, "resources_bench: %s\n", problem.c_str());
  std::exit(EXIT_FAILURE);
}

std::string escaped(const std::string& text) {
  char* const escaped = g_uri_escape_string(text.c_str(), nullptr, FALSE);
  const std::string result = escaped;
  g_free(escaped);
  return result;
}

// Milliseconds per load, by the kind of the chrome's answer.
Times askedTimes(const Server& server, const char* process) {
  Program program({{"CHROME_URL", "local:///resources.html?rounds=" + std::to_string(rounds) +
                                      "&process=" + process + "&server=" + server.address() +
                                      "&style=" + style + "&page=" + escaped(server.page())},
                   {"TESSEL_LOCAL_ROOT", PAGEHOST_BENCH_PAGES}});
  Times times;
  for (;;) {
    const auto line = program.nextLine();
    if (!line) fail("The program says nothing more.\n" + program.errors());
    std::istringstream words(*line);
    std::string what, way;
    double time = 0;
    int asked = 0;
    words >> what;
    if (what == "end") return times;
    if (what != "loaded" || !(words >> way >> time >> asked)) fail(*line);
    // The engine may request the page's icon as well.
    const bool isOff = way == "off";
    if (isOff ? asked != 0 : asked <= resources) fail(*line + ": not asked as often as it should");
    times[way].push_back(time);
  }
}

double bareTime(const Server& server) {
  Program program({}, {server.address() + "page", std::to_string(rounds + 1)}, "bare_view",
                  PAGEHOST_BARE_VIEW);
  std::vector<double> times;
  while (times.size() <= rounds) {
    const auto line = program.nextLine();
    if (!line || !line->starts_with("loaded ")) fail("The bare program says nothing.");
    times.push_back(std::stod(line->substr(7)));
  }
  times.erase(times.begin());  // the first warms up
  return median(times);
}

}  // namespace

int main() {
  const Server server;
  const double bare = bareTime(server);
  std::printf("%-44s %10s %14s %8s\n", "a page of 200 resources", "ms", "us per resource", "ratio");
  std::printf("%-44s %10.1f\n", "floor: a bare program", bare);
  for (const char* process : {"", "1"}) {
    const Times times = askedTimes(server, process);
    const double off = median(times.at("off"));
    std::printf("%-44s %10.1f %14s %8.2f of the bare program\n",
                *process ? "  in a child, nobody is asked" : "  in the program, nobody is asked",
                off, "", off / bare);
    for (const char* way : {"ACCEPT", "SUBSTITUTE", "FILTER"}) {
      const double time = median(times.at(way));
      std::printf("    %-40s %10.1f %14.0f %8.2f of nobody asked\n", way, time,
                  (time - off) * 1000 / (resources + 1), time / off);
    }
  }
}

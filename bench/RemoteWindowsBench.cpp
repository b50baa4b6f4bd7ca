// An animated web view in a child process compared with one in this process: the frame rate of the
// window and its processor time. Needs a display; the argument is the duration of each run in
// seconds.
#include "platform/graphics/Window.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"
#include "platform/graphics/remote/RemoteWindowSystem.h"
#include "platform/graphics/remote/RemoteWindows.h"

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <webkit2/webkit2.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace Tessel::Platform::Graphics;
using Tessel::Platform::IntRect;
using Tessel::Platform::IntSize;
using Tessel::Platform::UniqueFd;

namespace {

constexpr IntRect place{0, 0, 800, 600};

struct Scene {
  const char* name;
  const char* page;
};

constexpr Scene scenes[]{
    {"small box",
     "<body style='margin:0'><div id=b style='position:absolute;top:200px;width:100px;"
     "height:100px;background:#07f'></div><script>let n=0;(function f(){"
     "b.style.left=(n++*3%700)+'px';requestAnimationFrame(f)})()</script>"},
    {"whole view",
     "<body style='margin:0'><script>let n=0;(function f(){document.body.style."
     "background=`rgb(${n++%256},80,160)`;requestAnimationFrame(f)})()</script>"},
};

std::unique_ptr<Window> showPage(const char* page) {
  auto window = std::make_unique<Window>(WindowType::Child, nullptr, IntRect(), IntRect(),
                                         IntSize(), 0, false, "bench");
  GtkWidget* view = webkit_web_view_new();
  GtkWindowSystem::embed(*window, view);
  webkit_web_view_load_html(WEBKIT_WEB_VIEW(view), page, nullptr);
  return window;
}

// The processor time in milliseconds of a process and each of its descendants.
double processorTime(pid_t root) {
  std::map<pid_t, std::pair<pid_t, double>> all;
  DIR* folder = opendir("/proc");
  while (const dirent* entry = readdir(folder)) {
    std::ifstream file(std::string("/proc/") + entry->d_name + "/stat");
    std::string text;
    if (entry->d_name[0] < '0' || entry->d_name[0] > '9' || !std::getline(file, text)) continue;
    std::istringstream fields(text.substr(text.rfind(')') + 2));
    std::string skipped;
    pid_t parent = 0;
    double user = 0;
    double system = 0;
    fields >> skipped >> parent;
    for (int i = 0; i < 9; ++i) fields >> skipped;
    fields >> user >> system;
    all[std::atoi(entry->d_name)] = {
        parent, (user + system) * 1000.0 / static_cast<double>(sysconf(_SC_CLK_TCK))};
  }
  closedir(folder);
  double sum = 0;
  for (const auto& [pid, process] : all) {
    pid_t at = pid;
    while (at > 1 && at != root && all.count(at)) at = all[at].first;
    if (at == root) sum += process.second;
  }
  return sum;
}

void runFor(double seconds) {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  const auto quit = [](gpointer data) -> gboolean {
    g_main_loop_quit(static_cast<GMainLoop*>(data));
    return G_SOURCE_REMOVE;
  };
  g_timeout_add(static_cast<guint>(seconds * 1000), quit, loop);
  g_main_loop_run(loop);
  g_main_loop_unref(loop);
}

int pictures = 0;

void measure(const char* where, const Scene& scene, double seconds) {
  runFor(3);
  const int pictures0 = pictures;
  const double time0 = processorTime(getpid());
  runFor(seconds);
  const double count = pictures - pictures0;
  std::printf("%-12s %-18s %6.1f pictures/s %6.1f ms processor time/s\n", scene.name, where,
              count / seconds, (processorTime(getpid()) - time0) / seconds);
  std::fflush(stdout);
}

int runChild(int socket, const char* page) {
  auto system = RemoteWindowSystem::create(UniqueFd(socket));
  if (!system || !Window::setHandleBase(1)) return 1;
  WindowSystem::install(std::move(system));
  const Window top(WindowType::Application, nullptr, place, {}, {}, 0, false, "bench");
  const auto window = showPage(page);
  runFor(3600);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "child") == 0) {
    return runChild(std::atoi(argv[2]), scenes[std::atoi(argv[3])].page);
  }
  const double seconds = argc > 1 ? std::atof(argv[1]) : 5;
  auto system = GtkWindowSystem::create();
  if (!system) return 1;
  WindowSystem::install(std::move(system));
  Window top(WindowType::Application, nullptr, place, {}, {}, 0, false, "bench");
  // Every frame of a child window is a frame of the top-level window.
  const auto drawn = [](GtkWidget*, cairo_t*, gpointer) -> gboolean {
    ++pictures;
    return FALSE;
  };
  g_signal_connect(GtkWindowSystem::topLevelWidget(top), "draw", G_CALLBACK(+drawn), nullptr);
  for (std::size_t i = 0; i < std::size(scenes); ++i) {
    {
      const auto window = showPage(scenes[i].page);
      measure("in this process", scenes[i], seconds);
    }
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return 1;
    const std::string socket = std::to_string(ends[1]);
    const std::string number = std::to_string(i);
    const pid_t child = ::fork();
    if (child == 0) {
      ::fcntl(ends[1], F_SETFD, 0);
      ::execl("/proc/self/exe", argv[0], "child", socket.c_str(), number.c_str(), nullptr);
      ::_exit(127);
    }
    ::close(ends[1]);
    {
      const RemoteWindows remote(UniqueFd(ends[0]), 1, top);
      measure("in a child process", scenes[i], seconds);
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
  }
  return 0;
}

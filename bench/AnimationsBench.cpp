// Measures the frame rate of a window while a hundred child windows are animated at once, compared
// with the same window showing a page that only counts its frames. Needs a display; the argument is
// the duration of each run in seconds.
#include "platform/graphics/Window.h"
#include "platform/graphics/WindowAnimation.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"

#include <webkit2/webkit2.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <vector>

using namespace Tessel::Platform::Graphics;
using Tessel::Platform::IntPoint;
using Tessel::Platform::IntRect;
using Tessel::Platform::IntSize;

namespace {

constexpr IntRect place{0, 0, 800, 600};
constexpr int columns = 10;
constexpr int rows = 10;

// A page that counts its frames and sets the count as its title on request.
constexpr const char* page =
    "<body style='margin:0;background:#dde'><script>let n=0;(function f(){n++;"
    "requestAnimationFrame(f)})();addEventListener('message',()=>document.title=n)</script>";

std::unique_ptr<Window> makeChild(IntRect rect) {
  return std::make_unique<Window>(WindowType::Child, nullptr, rect, IntRect(), IntSize(), 0, false,
                                  "bench");
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

// Windows that move back and forth and fade to half opacity until they are destroyed.
class Crowd {
 public:
  explicit Crowd(int count) {
    for (int i = 0; i < count; ++i) {
      const int x = 10 + i % columns * 75;
      const int y = 10 + i / columns * 58;
      Member& member = members_.emplace_back();
      member.window = makeChild({x, y, 40, 30});
      clearBuffer(*member.window, {static_cast<std::uint8_t>(i * 2), 90, 160, 255});
      member.window->post({0, 0, 40, 30});
      member.near = {x, y};
      // Far enough to move in every frame: an unchanged window is not painted.
      member.far = {x + 70, y + 28};
    }
    for (Member& member : members_) {
      // Every second one fades, so that there are as many animations as windows.
      const bool fades = (&member - members_.data()) % 2 != 0;
      go(member, fades, true);
    }
  }

  int finished() const { return finished_; }

 private:
  struct Member {
    std::unique_ptr<Window> window;
    IntPoint near;
    IntPoint far;
    std::unique_ptr<WindowAnimation> animation;
  };

  void go(Member& member, bool fades, bool forth) {
    WindowChange change = GlobalAlphaChange{forth ? 255 : 100, forth ? 100 : 255};
    if (!fades) {
      change = LocationChange{forth ? member.near : member.far, forth ? member.far : member.near};
    }
    member.animation = std::make_unique<WindowAnimation>(
        member.window.get(), change,
        AnimationTiming{AnimationCurve::Linear, AnimationTiming::Duration(700)},
        [this, &member, fades, forth] {
          ++finished_;
          go(member, fades, !forth);
        });
    member.animation->start();
  }

  std::vector<Member> members_ = [] {
    std::vector<Member> members;
    members.reserve(std::size_t{columns} * rows);
    return members;
  }();
  int finished_ = 0;
};

int pictures = 0;

struct Rate {
  double frames = 0;    // of the page, as it counts itself
  double pictures = 0;  // that the window has painted
};

double framesOf(WebKitWebView* view) {
  webkit_web_view_evaluate_javascript(view, "postMessage(0)", -1, nullptr, nullptr, nullptr,
                                      nullptr, nullptr);
  runFor(0.2);
  const char* title = webkit_web_view_get_title(view);
  return title ? std::atof(title) : 0;
}

Rate measure(WebKitWebView* view, double seconds) {
  const double before = framesOf(view);
  const gint64 begin = g_get_monotonic_time();
  const int paintedBefore = pictures;
  runFor(seconds);
  const double passed = static_cast<double>(g_get_monotonic_time() - begin) / 1e6;
  const double painted = (pictures - paintedBefore) / passed;
  // The page keeps counting during the query, whose time is therefore included.
  const double after = framesOf(view);
  const double longer = static_cast<double>(g_get_monotonic_time() - begin) / 1e6;
  return {(after - before) / longer, painted};
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 5;
  auto system = GtkWindowSystem::create();
  if (!system) return 1;
  WindowSystem::install(std::move(system));
  Window top(WindowType::Application, nullptr, place, {}, {}, 0, false, "bench");
  const auto drawn = [](GtkWidget*, cairo_t*, gpointer) -> gboolean {
    ++pictures;
    return FALSE;
  };
  g_signal_connect(GtkWindowSystem::topLevelWidget(top), "draw", G_CALLBACK(+drawn), nullptr);
  const auto window = makeChild({});
  GtkWidget* view = webkit_web_view_new();
  GtkWindowSystem::embed(*window, view);
  webkit_web_view_load_html(WEBKIT_WEB_VIEW(view), page, nullptr);
  runFor(3);

  const Rate idle = measure(WEBKIT_WEB_VIEW(view), seconds);
  std::printf("%-32s %6.1f frames/s of the page\n", "an idle page", idle.frames);
  for (const int count : {1, 100}) {
    const Crowd crowd(count);
    const Rate busy = measure(WEBKIT_WEB_VIEW(view), seconds);
    std::printf(
        "%3d windows animated at once     %6.1f pictures/s (%.2f of the idle page's frames) "
        "%6.1f frames/s of the page, %d finished\n",
        count, busy.pictures, busy.pictures / idle.frames, busy.frames, crowd.finished());
  }
  return 0;
}

// Windows of a child process on the application's screen: display and input.
#include "platform/graphics/remote/RemoteWindows.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/WindowsOnScreen.h"

#include <gtk/gtk.h>

#include <cstdlib>
#include <memory>
#include <string>

using Tessel::Platform::Testing::iterateUntil;
using test_support::movePointer;
using test_support::Pixel;
using namespace Tessel::Platform;

namespace Graphics = Tessel::Platform::Graphics;

namespace {

constexpr Pixel green{0, 204, 0};
constexpr Pixel red{255, 0, 0};
constexpr unsigned group = 7;

class RemoteScreenTest : public test_support::WindowsOnScreen {
 protected:
  void SetUp() override {
    WindowsOnScreen::SetUp();
    startChild();
    ASSERT_TRUE(waitFor("ready"));
    ASSERT_TRUE(waitFor("resized 400 300"));
  }

  void TearDown() override {
    remote_.reset();
    g_subprocess_force_exit(child_);
    g_subprocess_wait(child_, nullptr, nullptr);
    g_clear_object(&child_);
    WindowsOnScreen::TearDown();
  }

  void startChild() {
    auto [here, there] = test_support::socketPair(SOCK_SEQPACKET);
    GSubprocessLauncher* launcher = g_subprocess_launcher_new(static_cast<GSubprocessFlags>(
        G_SUBPROCESS_FLAGS_STDIN_PIPE | G_SUBPROCESS_FLAGS_STDOUT_PIPE));
    g_subprocess_launcher_take_fd(launcher, there.release(), 3);
    child_ = g_subprocess_launcher_spawn(launcher, nullptr, REMOTE_CHILD, "3",
                                         std::to_string(group).c_str(), nullptr);
    g_object_unref(launcher);
    ASSERT_TRUE(child_);
    remote_ = std::make_unique<Graphics::RemoteWindows>(std::move(here), group, *top_);
  }

  void order(const std::string& line) {
    const std::string whole = line + "\n";
    ASSERT_TRUE(g_output_stream_write_all(g_subprocess_get_stdin_pipe(child_), whole.data(),
                                          whole.size(), nullptr, nullptr, nullptr));
  }

  // Waits for a line from the child with that prefix; earlier lines are discarded.
  testing::AssertionResult waitFor(const std::string& beginning) {
    std::string heard;
    const bool came = iterateUntil([&] {
      char chunk[4096];
      const gssize count = g_pollable_input_stream_read_nonblocking(
          G_POLLABLE_INPUT_STREAM(g_subprocess_get_stdout_pipe(child_)), chunk, sizeof chunk,
          nullptr, nullptr);
      if (count > 0) unread_.append(chunk, static_cast<std::size_t>(count));
      for (std::size_t end; (end = unread_.find('\n')) != std::string::npos;) {
        line_ = unread_.substr(0, end);
        unread_.erase(0, end + 1);
        if (line_.starts_with(beginning)) return true;
        heard.append(line_).append("; ");
      }
      return false;
    });
    if (came) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "heard only: " << heard;
  }

  std::unique_ptr<Graphics::RemoteWindows> remote_;
  GSubprocess* child_ = nullptr;
  std::string unread_;
  std::string line_;
};

TEST_F(RemoteScreenTest, FollowsTheApplicationsWindowAndWhatItDoesByHandle) {
  order("window a 0 0 0 0");
  order("content a");
  ASSERT_TRUE(shows(395, 295, green));
  top_->setWindowRectangle({0, 0, 500, 350});
  ASSERT_TRUE(waitFor("resized 500 350"));
  EXPECT_TRUE(shows(495, 345, green));
  order("tell a");
  ASSERT_TRUE(waitFor("window"));
  const int handle = std::atoi(line_.c_str() + 7);
  Graphics::Window* mirror = Graphics::Window::fromPlatformHandle(handle);
  ASSERT_TRUE(mirror);
  EXPECT_NE(line_.find(mirror->identifier().utf8()), std::string::npos);
  EXPECT_NE(line_.find(" 500 350"), std::string::npos);

  mirror->setWindowRectangle({50, 50, 60, 70});
  ASSERT_TRUE(waitFor("size 60 70"));
  EXPECT_TRUE(shows(105, 115, green));
  EXPECT_TRUE(shows(115, 115, background));
  top_->setWindowRectangle({0, 0, 450, 320});
  ASSERT_TRUE(waitFor("resized 450 320"));
  order("tell a");
  ASSERT_TRUE(waitFor("window"));
  EXPECT_NE(line_.find(" 60 70"), std::string::npos);
  // Changes by the child keep the position until the child moves the window itself.
  order("order a 3");
  EXPECT_TRUE(iterateUntil([&] { return mirror->state().zOrder == 3; }));
  EXPECT_EQ(mirror->state().rect, (IntRect{50, 50, 60, 70}));
  order("place a 10 10 30 30");
  ASSERT_TRUE(waitFor("size 30 30"));
  EXPECT_TRUE(shows(35, 35, green));
}

// The display of the tests has no such device: its toolkit events are synthetic.
TEST_F(RemoteScreenTest, TakesTouchesAndSmoothScrollingAndShowsItsCursor) {
  order("window a 100 50 200 200");
  order("content a");
  ASSERT_TRUE(shows(200, 150, green));
  movePointer(150, 70);
  ASSERT_TRUE(waitFor("enter"));
  GdkSeat* seat = gdk_display_get_default_seat(gdk_display_get_default());
  GdkWindow* below =
      gdk_device_get_window_at_position(gdk_seat_get_pointer(seat), nullptr, nullptr);
  ASSERT_TRUE(below);
  GdkCursor* hand = gdk_cursor_new_from_name(gdk_window_get_display(below), "pointer");
  EXPECT_TRUE(iterateUntil([&] { return hand && gdk_window_get_cursor(below) == hand; }));
  g_clear_object(&hand);
  const auto happen = [&](GdkEventType type, auto fill) {
    GdkEvent* event = gdk_event_new(type);
    event->any.window = GDK_WINDOW(g_object_ref(below));
    gdk_event_set_device(event, gdk_seat_get_pointer(seat));
    fill(event);
    gtk_main_do_event(event);
    gdk_event_free(event);
  };
  const auto touch = [&](guint sequence, double x) {
    return [=](GdkEvent* event) {
      event->touch.sequence = static_cast<GdkEventSequence*>(GUINT_TO_POINTER(sequence));
      event->touch.x = x;
      event->touch.y = 7;
    };
  };
  happen(GDK_TOUCH_BEGIN, touch(5, 10));
  happen(GDK_TOUCH_BEGIN, touch(6, 20));
  happen(GDK_TOUCH_UPDATE, touch(5, 12));
  happen(GDK_TOUCH_END, touch(6, 20));
  happen(GDK_TOUCH_CANCEL, touch(5, 12));
  for (const char* line :
       {"touch 0 5 10 7", "touch 0 6 20 7", "touch 1 5 12 7", "touch 2 6 20 7", "touch 3 5 12 7"}) {
    EXPECT_TRUE(waitFor(line)) << line;
  }
  happen(GDK_SCROLL, [](GdkEvent* event) {
    event->scroll.direction = GDK_SCROLL_SMOOTH;
    event->scroll.delta_y = 0.25;
  });
  EXPECT_TRUE(waitFor("scroll 4 0.25"));
}

// Hidden windows are not painted, and windows shown again are up to date.
TEST_F(RemoteScreenTest, PaintsNothingWhileNothingCanBeSeen) {
  order("window a 0 0 100 100");
  order("content a");
  ASSERT_TRUE(shows(50, 50, green));
  order("alpha a 0");
  ASSERT_TRUE(shows(50, 50, background));
  order("tint a 0 0 1");
  order("paints a");
  ASSERT_TRUE(waitFor("paints"));
  const std::string before = line_;
  order("tint a 1 0 0");
  order("paints a");
  ASSERT_TRUE(waitFor("paints"));
  EXPECT_EQ(line_, before);
  order("alpha a 255");
  EXPECT_TRUE(shows(50, 50, red));
}

}  // namespace

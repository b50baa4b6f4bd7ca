// Windows on a real display: touch and mouse input, and areas excluded from painting and input.
#include "platform/graphics/Screen.h"
#include "tests/support/WindowsOnScreen.h"

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

using test_support::clickAt;
using test_support::movePointer;
using test_support::Pixel;
using test_support::pressButton;
using namespace Tessel::Platform;

namespace Graphics = Tessel::Platform::Graphics;

namespace {

using Graphics::RawMouseEvent;
using Graphics::RawTouchEvent;
using Graphics::ScreenContext;
using Graphics::ScreenEventType;
using Testing::iterateUntil;

class WindowScreenTest : public test_support::WindowsOnScreen {};

class ScreenInputTest : public test_support::WindowsOnScreen,
                        public Graphics::ScreenWindowListener {
 protected:
  void SetUp() override {
    WindowsOnScreen::SetUp();
    widget_ = Graphics::GtkWindowSystem::topLevelWidget(*top_);
    for (const auto type : {ScreenEventType::Touch, ScreenEventType::Mouse}) {
      ScreenContext::sharedContext().addWindowListener(type, this);
    }
  }
  void TearDown() override {
    for (const auto type : {ScreenEventType::Touch, ScreenEventType::Mouse}) {
      ScreenContext::sharedContext().removeWindowListener(type, this);
    }
    WindowsOnScreen::TearDown();
  }

  // "101 0:30,40 1:50,60"
  void touchEvent(const RawTouchEvent& event) override {
    std::string text = std::to_string(event.type);
    for (const auto& point : event.points) {
      text += " " + std::to_string(point.contactId) + ":" + placeText(point.position);
    }
    told_.push_back(text);
  }
  // "1 0,40 -30,40", consecutive moves to one place once
  void mouseEvent(const RawMouseEvent& event) override {
    const std::string text = std::to_string(event.type) + " " + placeText(event.position) + " " +
                             placeText(event.sourcePosition);
    if (told_.empty() || told_.back() != text) told_.push_back(text);
  }
  static std::string placeText(IntPoint point) {
    return std::to_string(point.x) + "," + std::to_string(point.y);
  }

  // A touch event as from the display; the sequence is a number that identifies the finger.
  void touch(GdkEventType type, guint sequence, double x, double y, bool emulates = false) {
    put(type, [&](GdkEvent& event, int left, int top) {
      // The toolkit only compares these.
      event.touch.sequence = static_cast<GdkEventSequence*>(GUINT_TO_POINTER(sequence + 1));
      event.touch.emulating_pointer = emulates;
      event.touch.x = x;
      event.touch.y = y;
      event.touch.x_root = left + x;
      event.touch.y_root = top + y;
    });
  }
  // Pointer coordinates in the application's window; root coordinates follow from its position.
  void put(GdkEventType type, const std::function<void(GdkEvent&, int, int)>& fill) {
    GdkWindow* window = gtk_widget_get_window(widget_);
    int left = 0;
    int top = 0;
    gdk_window_get_origin(window, &left, &top);
    GdkEvent* event = gdk_event_new(type);
    event->any.window = GDK_WINDOW(g_object_ref(window));
    fill(*event, left, top);
    GdkSeat* seat = gdk_display_get_default_seat(gdk_display_get_default());
    gdk_event_set_device(event, gdk_seat_get_pointer(seat));
    gdk_event_put(event);
    gdk_event_free(event);
  }
  std::vector<std::string> take() { return std::exchange(told_, {}); }
  bool tells(const std::string& text) {
    const bool told = iterateUntil([&] { return !told_.empty() && told_.back() == text; });
    if (!told) {
      for (const std::string& each : told_) ADD_FAILURE() << "told " << each;
    }
    return told;
  }

  std::vector<std::string> told_;

 private:
  GtkWidget* widget_ = nullptr;
};

using Strings = std::vector<std::string>;

TEST_F(ScreenInputTest, FingersAreNumberedAndTheFirstOnesEndIsTheRelease) {
  touch(GDK_TOUCH_BEGIN, 0, 30, 40, true);
  touch(GDK_TOUCH_UPDATE, 0, 31.7, 40, true);
  touch(GDK_TOUCH_BEGIN, 1, 50, 60);
  touch(GDK_TOUCH_UPDATE, 1, 51, 60);
  touch(GDK_TOUCH_BEGIN, 2, 70, 80);
  touch(GDK_TOUCH_END, 1, 52, 60);
  touch(GDK_TOUCH_UPDATE, 0, -5, -6, true);
  touch(GDK_TOUCH_END, 0, 32, 40, true);
  EXPECT_TRUE(tells("102 0:32,40 2:70,80"));
  EXPECT_EQ(take(), (Strings{"100 0:30,40", "101 0:31,40", "101 0:31,40 1:50,60",
                             "101 0:31,40 1:51,60", "101 0:31,40 1:51,60 2:70,80",
                             "101 0:31,40 2:70,80", "101 0:-5,-6 2:70,80", "102 0:32,40 2:70,80"}));
  // While another finger is down, the next one becomes the first again.
  touch(GDK_TOUCH_BEGIN, 3, 1, 2);
  touch(GDK_TOUCH_CANCEL, 3, 0, 0);
  touch(GDK_TOUCH_END, 2, 70, 80);
  touch(GDK_TOUCH_END, 1, 70, 80);
  EXPECT_TRUE(tells("101"));
  EXPECT_EQ(take(), (Strings{"100 2:70,80 0:1,2", "102 2:70,80 0:1,2", "101"}))
      << "taken away, it ends where it was; what is unknown is ignored";
}

TEST_F(ScreenInputTest, AFingerWhoseEndWasLostIsForgottenWithTheNextFirstOne) {
  touch(GDK_TOUCH_BEGIN, 0, 30, 40, true);
  touch(GDK_TOUCH_BEGIN, 1, 5, 6, true);
  EXPECT_TRUE(tells("100 0:5,6"));
  touch(GDK_TOUCH_END, 1, 5, 6, true);
  EXPECT_TRUE(tells("102 0:5,6"));
}

TEST_F(ScreenInputTest, TheMouseIsToldWhileItsFirstButtonIsDownAndBeyondTheWindow) {
  movePointer(100, 100);
  movePointer(110, 100);
  pressButton(3, true);
  movePointer(112, 100);
  pressButton(3, false);
  pressButton(1, true);
  ASSERT_TRUE(tells("0 112,100 112,100"));
  EXPECT_EQ(take().size(), 1u) << "neither hovering nor another button counts";
  movePointer(120, 130);
  ASSERT_TRUE(tells("1 120,130 120,130"));
  movePointer(600, 130);
  ASSERT_TRUE(tells("1 399,130 600,130"));
  pressButton(1, false);
  ASSERT_TRUE(tells("2 399,130 600,130"));
  take();
  movePointer(50, 50);
  pressButton(3, true);
  pressButton(3, false);
  pressButton(1, true);
  ASSERT_TRUE(tells("0 50,50 50,50"));
  EXPECT_EQ(take().size(), 1u);
  pressButton(1, false);
  ASSERT_TRUE(tells("2 50,50 50,50"));
}

TEST_F(ScreenInputTest, AButtonThatCameUpUnseenEndsTheDragWithTheNextMotion) {
  movePointer(60, 60);
  pressButton(1, true);
  ASSERT_TRUE(tells("0 60,60 60,60"));
  put(GDK_MOTION_NOTIFY, [](GdkEvent& event, int left, int top) {
    event.motion.x_root = left + 70;
    event.motion.y_root = top + 80;
  });
  EXPECT_TRUE(tells("3 70,80 70,80"));
  pressButton(1, false);
  movePointer(90, 60);
  pressButton(1, true);
  EXPECT_TRUE(tells("0 90,60 90,60"));
  EXPECT_EQ(take().size(), 3u) << "the late release ends nothing";
  pressButton(1, false);
  EXPECT_TRUE(tells("2 90,60 90,60"));
}

TEST_F(WindowScreenTest, WhatIsDiscardedShowsAndClicksWhatLiesBelow) {
  // Two widgets with their own windows, like those of web views.
  struct Pane {
    std::unique_ptr<Graphics::Window> window;
    int clicks = 0;
  };
  Pane lower{makeChild({0, 0, 200, 200})};
  Pane upper{makeChild({50, 50, 200, 200})};
  const auto fill = [](Pane& pane, const char* color) {
    GtkWidget* box = gtk_event_box_new();
    gtk_widget_set_name(box, color);
    const auto draw = [](GtkWidget* widget, cairo_t* cairo, gpointer) -> gboolean {
      GdkRGBA rgba;
      gdk_rgba_parse(&rgba, gtk_widget_get_name(widget));
      gdk_cairo_set_source_rgba(cairo, &rgba);
      cairo_paint(cairo);
      return TRUE;
    };
    const auto press = [](GtkWidget*, GdkEvent*, gpointer data) -> gboolean {
      ++static_cast<Pane*>(data)->clicks;
      return TRUE;
    };
    g_signal_connect(box, "draw", G_CALLBACK(+draw), nullptr);
    g_signal_connect(box, "button-press-event", G_CALLBACK(+press), &pane);
    ASSERT_TRUE(Graphics::GtkWindowSystem::embed(*pane.window, box));
  };
  // Set before a widget exists, and after.
  upper.window->setDiscardRects({{0, 0, 50, 50}, {-10, 60, 1000000000, 10}, {5, 5, -3, 20}});
  fill(lower, "#0000ff");
  fill(upper, "#ff0000");
  const Pixel red{255, 0, 0};
  const Pixel blue{0, 0, 255};
  EXPECT_TRUE(shows(75, 75, blue));
  EXPECT_TRUE(shows(120, 75, red));
  EXPECT_TRUE(shows(120, 115, blue));
  clickAt(20, 20);
  EXPECT_TRUE(iterateUntil([&] { return lower.clicks == 1; }));
  clickAt(75, 75);
  EXPECT_TRUE(iterateUntil([&] { return lower.clicks == 2; }));
  clickAt(120, 75);
  EXPECT_TRUE(iterateUntil([&] { return upper.clicks == 1; }));

  upper.window->setWindowLocation({60, 50});
  EXPECT_TRUE(shows(105, 75, blue)) << "they move along";
  EXPECT_TRUE(shows(115, 75, red));
  upper.window->setDiscardRects({});
  EXPECT_TRUE(shows(75, 75, red));
  clickAt(75, 75);
  EXPECT_TRUE(iterateUntil([&] { return upper.clicks == 2; }));
  EXPECT_EQ(lower.clicks, 2);
}

}  // namespace

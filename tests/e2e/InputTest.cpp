// Touch on a page of the real engine. The display of the tests has no touch device: the events are
// synthetic and passed to the engine's view as the toolkit would.
#include "tests/support/RealEngine.h"

#include <gtest/gtest.h>
#include <webkit2/webkit2.h>

#include <algorithm>

namespace {

using test_support::RealEngine;

// The only engine view in the windows of this process.
GtkWidget* findView() {
  GtkWidget* found = nullptr;
  GtkCallback look = [](GtkWidget* widget, gpointer result) {
    if (WEBKIT_IS_WEB_VIEW(widget)) *static_cast<GtkWidget**>(result) = widget;
  };
  GList* windows = gtk_window_list_toplevels();
  for (GList* at = windows; at; at = at->next) {
    GtkWidget* stack = gtk_bin_get_child(GTK_BIN(at->data));
    if (stack && GTK_IS_CONTAINER(stack)) gtk_container_forall(GTK_CONTAINER(stack), look, &found);
  }
  g_list_free(windows);
  return found;
}

void touch(GtkWidget* view, GdkEventType type) {
  GdkEvent* event = gdk_event_new(type);
  event->touch.window = GDK_WINDOW(g_object_ref(gtk_widget_get_window(view)));
  event->touch.x = event->touch.y = 50;
  event->touch.sequence = reinterpret_cast<GdkEventSequence*>(view);
  GdkSeat* seat = gdk_display_get_default_seat(gtk_widget_get_display(view));
  gdk_event_set_device(event, gdk_seat_get_pointer(seat));
  gdk_event_set_source_device(event, gdk_seat_get_pointer(seat));
  gtk_main_do_event(event);
  gdk_event_free(event);
}

TEST(InputTest, FingersAreToldUntilTheyAreLiftedOrTakenAway) {
  std::string problem;
  RealEngine* engine = RealEngine::instance(problem);
  if (!engine) GTEST_SKIP() << problem;
  const auto page = engine->openPage("<!doctype html><title>fingers</title><p>text");
  ASSERT_TRUE(page);
  GtkWidget* view = findView();
  ASSERT_TRUE(view);
  ASSERT_TRUE(RealEngine::runUntil([&] { return gtk_widget_get_realized(view) != FALSE; }));
  const auto told = [&](OrvWebEvent::Type type) {
    return std::count(page->events.begin(), page->events.end(), type);
  };
  touch(view, GDK_TOUCH_BEGIN);
  touch(view, GDK_TOUCH_UPDATE);
  touch(view, GDK_TOUCH_END);
  EXPECT_EQ(told(OrvWebEvent::TouchEvent), 3);
  EXPECT_EQ(told(OrvWebEvent::TouchCancelEvent), 0);
  touch(view, GDK_TOUCH_BEGIN);
  touch(view, GDK_TOUCH_CANCEL);
  EXPECT_EQ(told(OrvWebEvent::TouchEvent), 4);
  EXPECT_EQ(told(OrvWebEvent::TouchCancelEvent), 1);
  // The emulated pointer of a touch is not a mouse.
  EXPECT_EQ(told(OrvWebEvent::MouseEvent), 0);
  page->setWebEventEnabled(OrvWebEvent::TouchEvent, false);
  touch(view, GDK_TOUCH_BEGIN);
  EXPECT_EQ(told(OrvWebEvent::TouchEvent), 4);
}

}  // namespace

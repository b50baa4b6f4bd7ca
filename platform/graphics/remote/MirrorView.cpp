// The widget that shows a child process's window in the application.
#include "platform/graphics/remote/MirrorView.h"

#include "platform/graphics/remote/Cursors.h"
#include "platform/graphics/remote/InputEvents.h"

namespace Tessel::Platform::Graphics::Remote {

namespace {

constexpr int wantedEvents = GDK_POINTER_MOTION_MASK | GDK_BUTTON_PRESS_MASK |
                             GDK_BUTTON_RELEASE_MASK | GDK_KEY_PRESS_MASK | GDK_KEY_RELEASE_MASK |
                             GDK_ENTER_NOTIFY_MASK | GDK_LEAVE_NOTIFY_MASK | GDK_FOCUS_CHANGE_MASK |
                             GDK_SCROLL_MASK | GDK_SMOOTH_SCROLL_MASK | GDK_TOUCH_MASK;

constexpr guint buttonsHeld = GDK_BUTTON1_MASK | GDK_BUTTON2_MASK | GDK_BUTTON3_MASK;

}  // namespace

MirrorView::MirrorView(int window, Client& client)
    : window_(window), client_(client), widget_(gtk_drawing_area_new()) {
  g_object_ref_sink(widget_);
  gtk_widget_set_can_focus(widget_, TRUE);
  gtk_widget_add_events(widget_, wantedEvents);
  const auto connect = [&](const char* signal, auto handler) {
    g_signal_connect(widget_, signal, G_CALLBACK(handler), this);
  };
  connect("draw", onDraw);
  connect("event", onEvent);
  connect("realize", onRealize);
  connect("unrealize", onUnrealize);
  connect("map", onMapped);
  connect("unmap", onMapped);
  const auto placed = [](GtkWidget*, gpointer, gpointer data) {
    auto* self = static_cast<MirrorView*>(data);
    self->client_.mirrorPlaced(self->window_);
  };
  connect("size-allocate", +placed);
  connect("notify::opacity", +placed);
}

MirrorView::~MirrorView() {
  onUnrealize(widget_, this);
  g_signal_handlers_disconnect_by_data(widget_, this);
  g_clear_object(&cursor_);
  g_object_unref(widget_);
}

void MirrorView::onRealize(GtkWidget* widget, gpointer data) {
  auto* self = static_cast<MirrorView*>(data);
  self->clock_ = GDK_FRAME_CLOCK(g_object_ref(gtk_widget_get_frame_clock(widget)));
  g_signal_connect(self->clock_, "after-paint", G_CALLBACK(onAfterPaint), self);
  self->applyCursor();
}

void MirrorView::onUnrealize(GtkWidget*, gpointer data) {
  auto* self = static_cast<MirrorView*>(data);
  if (self->clock_) g_signal_handlers_disconnect_by_data(self->clock_, self);
  g_clear_object(&self->clock_);
}

// A frame that will not be painted counts as shown.
void MirrorView::onMapped(GtkWidget*, gpointer data) {
  auto* self = static_cast<MirrorView*>(data);
  if (!self->isMapped()) self->frameShown();
  self->client_.mirrorPlaced(self->window_);
}

void MirrorView::frameShown() {
  if (!frameWaits_) return;
  frameWaits_ = false;
  client_.mirrorShown(window_, frame_);
}

// Also if nothing was painted: what is outside the window counts as shown.
void MirrorView::onAfterPaint(GdkFrameClock*, gpointer data) {
  static_cast<MirrorView*>(data)->frameShown();
}

void MirrorView::showFrame(std::uint32_t number, int buffer, int scale,
                           std::span<const IntRect> rects, bool isWhole) {
  frame_ = number;
  buffer_ = buffer;
  scale_ = scale;
  frameWaits_ = true;
  if (!isSeen() || !clock_) {
    gtk_widget_queue_draw(widget_);
    return frameShown();
  }
  if (isWhole) gtk_widget_queue_draw(widget_);
  for (const IntRect& rect : rects) {
    gtk_widget_queue_draw_area(widget_, rect.x, rect.y, rect.width, rect.height);
  }
  gdk_frame_clock_request_phase(clock_, GDK_FRAME_CLOCK_PHASE_AFTER_PAINT);
}

gboolean MirrorView::onDraw(GtkWidget*, cairo_t* cairo, gpointer data) {
  auto* self = static_cast<MirrorView*>(data);
  const FrameFile& file = self->file_;
  if (!file || self->buffer_ < 0) return TRUE;
  const IntSize size = file.size();
  cairo_surface_t* image = cairo_image_surface_create_for_data(
      file.buffer(self->buffer_), CAIRO_FORMAT_ARGB32, size.width, size.height, file.stride());
  // Where the display's scale is the same, device pixels are copied as they are.
  cairo_surface_set_device_scale(image, self->scale_, self->scale_);
  cairo_set_source_surface(cairo, image, 0, 0);
  cairo_paint(cairo);
  // Do not keep the surface: the pixels may change with the next frame.
  cairo_surface_finish(image);
  cairo_surface_destroy(image);
  return TRUE;
}

// The display grabs a pressed pointer implicitly, and would deny it to a menu that the child
// process opens. So the grab is released at once, and taken only when a drag leaves the window.
void MirrorView::watchButtons(const GdkEvent* event) {
  const GdkEventType type = gdk_event_get_event_type(event);
  if (type != GDK_BUTTON_PRESS && type != GDK_BUTTON_RELEASE && type != GDK_LEAVE_NOTIFY) return;
  GdkSeat* seat = gdk_event_get_seat(event);
  GdkModifierType state{};
  gdk_event_get_state(event, &state);
  if (type == GDK_BUTTON_PRESS) {
    if (grabbed_) return;
    gdk_seat_ungrab(seat);
    // Before the child process sees the event.
    gdk_display_flush(gdk_window_get_display(event->any.window));
  } else if (type == GDK_LEAVE_NOTIFY && event->crossing.mode != GDK_CROSSING_GRAB &&
             (state & buttonsHeld) != 0 && !grabbed_) {
    grabbed_ = gdk_seat_grab(seat, event->any.window, GDK_SEAT_CAPABILITY_ALL_POINTING, FALSE,
                             nullptr, event, nullptr, nullptr) == GDK_GRAB_SUCCESS;
  } else if (grabbed_ && type == GDK_BUTTON_RELEASE) {
    const guint released = GDK_BUTTON1_MASK << (event->button.button - 1);
    if ((state & buttonsHeld & ~released) != 0) return;
    gdk_seat_ungrab(seat);
    grabbed_ = false;
  }
}

gboolean MirrorView::onEvent(GtkWidget* widget, GdkEvent* event, gpointer data) {
  auto* self = static_cast<MirrorView*>(data);
  InputRecord record{};
  record.header = {InputRecord::recordType, self->window_};
  if (!inputRecordFor(event, record)) return FALSE;
  const bool grabbedBefore = self->grabbed_;
  if (isPointer(record) || isCrossing(record)) self->watchButtons(event);
  if (record.event == GDK_BUTTON_PRESS || record.event == GDK_TOUCH_BEGIN) {
    gtk_widget_grab_focus(widget);
  }
  self->client_.mirrorInput(record);
  if (self->grabbed_ && !grabbedBefore) {
    // The motion event went to another window.
    record.event = GDK_MOTION_NOTIFY;
    self->client_.mirrorInput(record);
  }
  // GTK tracks the focus by itself.
  return record.event != GDK_FOCUS_CHANGE;
}

void MirrorView::setCursor(const CursorRecord& record) {
  g_clear_object(&cursor_);
  cursor_ = cursorFor(record, gtk_widget_get_display(widget_));
  applyCursor();
}

void MirrorView::applyCursor() {
  if (GdkWindow* window = gtk_widget_get_window(widget_)) gdk_window_set_cursor(window, cursor_);
}

}  // namespace Tessel::Platform::Graphics::Remote

// A widget of a child process, rendered off screen.
//
// GtkOffscreenWindow reports damage; its own surface, in the display server's memory, stays empty.
// The widget is drawn once, into the memory that the application maps.
#include "platform/graphics/remote/OffscreenView.h"

#include "platform/graphics/gtk/StackContainer.h"
#include "platform/graphics/remote/Cursors.h"
#include "platform/graphics/remote/InputEvents.h"
#include "platform/graphics/remote/WindowConnection.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace Tessel::Platform::Graphics::Remote {

namespace {

constexpr guint buttonsHeld =
    GDK_BUTTON1_MASK | GDK_BUTTON2_MASK | GDK_BUTTON3_MASK | GDK_BUTTON4_MASK | GDK_BUTTON5_MASK;

struct Place {
  double x;
  double y;
};

// Converts a position in the off-screen window to one in a child GdkWindow.
Place placeIn(GdkWindow* window, GdkWindow* outermost, const InputRecord& record) {
  Place place{record.x, record.y};
  for (GdkWindow* at = window; at && at != outermost; at = gdk_window_get_parent(at)) {
    int x = 0;
    int y = 0;
    gdk_window_get_position(at, &x, &y);
    place.x -= x;
    place.y -= y;
  }
  return place;
}

}  // namespace

GdkWindow* OffscreenView::WeakWindow::get() {
  auto* window = static_cast<GdkWindow*>(g_weak_ref_get(&reference_));
  if (!window) return nullptr;
  // Existing references stay valid: everything is on one thread.
  g_object_unref(window);
  return gdk_window_is_destroyed(window) ? nullptr : window;
}

OffscreenView::OffscreenView(OffscreenViews& views, int window, GtkWidget* content)
    : views_(views),
      handle_(window),
      window_(gtk_offscreen_window_new()),
      stack_(stackContainerNew()),
      content_(GTK_WIDGET(g_object_ref_sink(content))),
      damage_(cairo_region_create()),
      stale_(cairo_region_create()) {
  gtk_widget_set_app_paintable(window_, TRUE);
  // With one, GTK queries the display for pressed keys of this window on focus-in. The display does
  // not know this window, which is a fatal error.
  gtk_window_set_mnemonic_modifier(GTK_WINDOW(window_), GdkModifierType{});
  gtk_container_add(GTK_CONTAINER(window_), stack_);
  // Lets the content have any size, whatever its size request.
  stackContainerPut(stack_, content_, WindowState());
  gtk_widget_show(stack_);
  start();
}

void OffscreenView::start() {
  g_signal_connect(window_, "draw", G_CALLBACK(onDraw), this);
  gtk_widget_realize(window_);
  clock_ = GDK_FRAME_CLOCK(g_object_ref(gtk_widget_get_frame_clock(window_)));
  g_signal_connect(clock_, "after-paint", G_CALLBACK(onAfterPaint), this);

  using Translate = void (*)(GdkWindow*, double, double, double*, double*, gpointer);
  const Translate toApplication = [](GdkWindow*, double x, double y, double* outerX, double* outerY,
                                     gpointer self) {
    *outerX = x + static_cast<OffscreenView*>(self)->place_.x;
    *outerY = y + static_cast<OffscreenView*>(self)->place_.y;
  };
  const Translate fromApplication = [](GdkWindow*, double x, double y, double* innerX,
                                       double* innerY, gpointer self) {
    *innerX = x - static_cast<OffscreenView*>(self)->place_.x;
    *innerY = y - static_cast<OffscreenView*>(self)->place_.y;
  };
  GdkWindow* outermost = gtk_widget_get_window(window_);
  g_signal_connect(outermost, "to-embedder", G_CALLBACK(toApplication), this);
  g_signal_connect(outermost, "from-embedder", G_CALLBACK(fromApplication), this);
}

OffscreenView::~OffscreenView() {
  views_.frameBytes -= file_.bytes();
  watchCursor(nullptr);
  g_signal_handlers_disconnect_by_data(clock_, this);
  g_object_unref(clock_);
  GdkWindow* outermost = gtk_widget_get_window(window_);
  g_signal_handlers_disconnect_by_data(outermost, this);
  gdk_offscreen_window_set_embedder(outermost, nullptr);
  g_signal_handlers_disconnect_by_data(window_, this);
  gtk_widget_destroy(content_);
  g_object_unref(content_);
  gtk_widget_destroy(window_);
  cairo_region_destroy(damage_);
  cairo_region_destroy(stale_);
}

void OffscreenView::resize(IntSize size) {
  gtk_widget_set_size_request(window_, std::max(size.width, 1), std::max(size.height, 1));
  gtk_container_check_resize(GTK_CONTAINER(window_));
}

void OffscreenView::setShown(bool mapped, bool seen) {
  if (mapped != bool(gtk_widget_get_visible(window_))) {
    gtk_widget_set_visible(window_, mapped);
    if (mapped) gtk_container_check_resize(GTK_CONTAINER(window_));
    applyFocus();
  }
  seen_ = seen;
  paint();
}

void OffscreenView::setCanFocus(bool canFocus) {
  gtk_widget_set_can_focus(content_, canFocus);
}

void OffscreenView::setPlace(GdkWindow* embedder, IntPoint place) {
  place_ = place;
  GdkWindow* outermost = gtk_widget_get_window(window_);
  if (gdk_offscreen_window_get_embedder(outermost) == embedder) return;
  gdk_offscreen_window_set_embedder(outermost, embedder);
}

void OffscreenView::setFocused(bool focused) {
  focused_ = focused;
  applyFocus();
}

// A hidden window ignores focus changes.
void OffscreenView::applyFocus() {
  const bool wanted = focused_ && gtk_widget_get_visible(window_);
  if (wanted == focusTold_) return;
  focusTold_ = wanted;
  InputRecord record{};
  record.event = GDK_FOCUS_CHANGE;
  record.flag = wanted;
  GdkEvent* event = eventFor(record, gtk_widget_get_window(window_), 0, 0);
  gtk_main_do_event(event);
  gdk_event_free(event);
}

// Frames.

gboolean OffscreenView::onDraw(GtkWidget*, cairo_t* cairo, gpointer data) {
  auto* self = static_cast<OffscreenView*>(data);
  if (self->painting_) return FALSE;
  cairo_rectangle_list_t* clip = cairo_copy_clip_rectangle_list(cairo);
  for (int i = 0; clip->status == CAIRO_STATUS_SUCCESS && i < clip->num_rectangles; ++i) {
    const cairo_rectangle_t& part = clip->rectangles[i];
    const int left = static_cast<int>(std::floor(part.x));
    const int top = static_cast<int>(std::floor(part.y));
    const cairo_rectangle_int_t rect{left, top,
                                     static_cast<int>(std::ceil(part.x + part.width)) - left,
                                     static_cast<int>(std::ceil(part.y + part.height)) - top};
    cairo_region_union_rectangle(self->damage_, &rect);
  }
  cairo_rectangle_list_destroy(clip);
  return TRUE;
}

void OffscreenView::onAfterPaint(GdkFrameClock*, gpointer self) {
  static_cast<OffscreenView*>(self)->paint();
}

void OffscreenView::frameShown(std::uint32_t frame) {
  if (frame != inFlight_) return;
  inFlight_ = 0;
  paint();
}

// The device pixels in the side of a pixel: fewer than the display's where a frame would be too
// large for the application.
int OffscreenView::scaleFor(IntSize size) const {
  int scale = std::clamp(gtk_widget_get_scale_factor(window_), 1, maximumScale);
  const auto fits = [&] {
    const IntSize scaled{size.width * scale, size.height * scale};
    return isSize(scaled.width, scaled.height) && FrameFile::bytesFor(scaled) <= maximumFrameBytes;
  };
  while (scale > 1 && !fits()) --scale;
  return scale;
}

// Allocates a frame file of that size in device pixels; false on failure, or if it exceeds the
// application's limits.
bool OffscreenView::prepareFile(IntSize size) {
  if (file_ && file_.size() == size) return true;
  const std::size_t bytes = FrameFile::bytesFor(size);
  views_.frameBytes -= file_.bytes();
  file_ = FrameFile();
  if (!isSize(size.width, size.height) || bytes > maximumFrameBytes ||
      views_.frameBytes + bytes > maximumFramesBytes) {
    return false;
  }
  file_ = FrameFile::create(size);
  views_.frameBytes += file_.bytes();
  // All of it, in pixels of any scale.
  const cairo_rectangle_int_t all{0, 0, size.width, size.height};
  cairo_region_union_rectangle(damage_, &all);
  cairo_region_union_rectangle(stale_, &all);
  return bool(file_);
}

// Sends the damage since the last frame, unless the application still shows that one.
void OffscreenView::paint() {
  if (!seen_ || inFlight_ != 0 || cairo_region_is_empty(damage_) ||
      !gtk_widget_get_mapped(window_)) {
    return;
  }
  // GTK draws nothing of a widget that needs a layout.
  gtk_container_check_resize(GTK_CONTAINER(window_));
  const IntSize size{gtk_widget_get_allocated_width(window_),
                     gtk_widget_get_allocated_height(window_)};
  const int scale = scaleFor(size);
  const IntSize frame{size.width * scale, size.height * scale};
  const bool newFile = !file_ || file_.size() != frame;
  if (!prepareFile(frame)) return;
  const cairo_rectangle_int_t all{0, 0, size.width, size.height};
  cairo_region_intersect_rectangle(damage_, &all);
  cairo_region_union(stale_, damage_);

  buffer_ = 1 - buffer_;
  cairo_surface_t* target = cairo_image_surface_create_for_data(
      file_.buffer(buffer_), CAIRO_FORMAT_ARGB32, frame.width, frame.height, file_.stride());
  cairo_surface_set_device_scale(target, scale, scale);
  cairo_t* cairo = cairo_create(target);
  gdk_cairo_region(cairo, stale_);
  cairo_clip(cairo);
  cairo_set_operator(cairo, CAIRO_OPERATOR_CLEAR);
  cairo_paint(cairo);
  cairo_set_operator(cairo, CAIRO_OPERATOR_OVER);
  painting_ = true;
  gtk_widget_draw(window_, cairo);
  painting_ = false;
  cairo_destroy(cairo);
  cairo_surface_finish(target);
  cairo_surface_destroy(target);

  sendFrame(newFile, scale);
  std::swap(stale_, damage_);
  cairo_region_destroy(damage_);
  damage_ = cairo_region_create();
}

void OffscreenView::sendFrame(bool newFile, int scale) {
  FrameRecord record{};
  record.header = {FrameRecord::recordType, handle_};
  inFlight_ = ++views_.lastFrame;
  if (inFlight_ == 0) inFlight_ = ++views_.lastFrame;
  record.number = inFlight_;
  record.width = file_.size().width;
  record.height = file_.size().height;
  record.scale = scale;
  record.buffer = buffer_;
  record.newFile = newFile;
  const auto count = static_cast<std::size_t>(cairo_region_num_rectangles(damage_));
  record.rectCount = count <= FrameRecord::maximumRects ? static_cast<std::uint32_t>(count) : 1;
  for (std::uint32_t i = 0; i < record.rectCount; ++i) {
    cairo_rectangle_int_t rect;
    if (count <= FrameRecord::maximumRects) {
      cairo_region_get_rectangle(damage_, static_cast<int>(i), &rect);
    } else {
      cairo_region_get_extents(damage_, &rect);
    }
    record.rects[i] = {rect.x, rect.y, rect.width, rect.height};
  }
  views_.connection.send(record, newFile ? file_.fd() : -1);
}

// Input.

GdkWindow* OffscreenView::windowAt(double x, double y) const {
  GdkWindow* found = gtk_widget_get_window(window_);
  for (GdkWindow* inside = found; inside;) {
    found = inside;
    inside = nullptr;
    for (GList* item = gdk_window_peek_children(found); item && !inside; item = item->next) {
      auto* child = static_cast<GdkWindow*>(item->data);
      if (!gdk_window_is_visible(child) || gdk_window_get_pass_through(child)) continue;
      int left = 0;
      int top = 0;
      gdk_window_get_position(child, &left, &top);
      if (x < left || y < top || x >= left + gdk_window_get_width(child) ||
          y >= top + gdk_window_get_height(child)) {
        continue;
      }
      inside = child;
      x -= left;
      y -= top;
    }
  }
  return found;
}

// The target of a pointer event: the GdkWindow below it, or the one a button was pressed in.
GdkWindow* OffscreenView::pointerTarget(const InputRecord& record) {
  const bool press = record.event == GDK_BUTTON_PRESS || record.event == GDK_2BUTTON_PRESS ||
                     record.event == GDK_3BUTTON_PRESS;
  const bool release = record.event == GDK_BUTTON_RELEASE;
  // The release may have gone to a menu.
  if (!press && !release && (record.state & buttonsHeld) == 0) pressWindow_.set(nullptr);
  GdkWindow* target = pressWindow_.get();
  if (!target) target = windowAt(record.x, record.y);
  if (record.event == GDK_BUTTON_PRESS) pressWindow_.set(target);
  if (release) {
    const guint released = record.detail >= 1 && record.detail <= 5
                               ? GDK_BUTTON1_MASK << (record.detail - 1)
                               : buttonsHeld;
    if ((record.state & buttonsHeld & ~released) == 0) pressWindow_.set(nullptr);
  }
  return target;
}

void OffscreenView::deliver(const InputRecord& record) {
  GdkWindow* outermost = gtk_widget_get_window(window_);
  std::vector<GdkEvent*> events;
  const auto add = [&](const InputRecord& what, GdkWindow* window) {
    const Place place = placeIn(window, outermost, record);
    if (GdkEvent* event = eventFor(what, window, place.x, place.y)) events.push_back(event);
  };
  const auto cross = [&](GdkEventType type, GdkWindow* window, const InputRecord& model) {
    InputRecord crossing = model;
    crossing.event = type;
    if (!isCrossing(model)) {
      crossing.mode = GDK_CROSSING_NORMAL;
      crossing.detail = GDK_NOTIFY_NONLINEAR;
      crossing.flag = focused_;
    }
    add(crossing, window);
  };

  if (isPointer(record) || record.event == GDK_ENTER_NOTIFY) {
    const bool held = (record.state & buttonsHeld) != 0 && pressWindow_.get();
    GdkWindow* target = pointerTarget(record);
    GdkWindow* before = pointerWindow_.get();
    // While a button is pressed, all events go to one window (implicit grab).
    if (target != before && !held) {
      if (before) cross(GDK_LEAVE_NOTIFY, before, record);
      cross(GDK_ENTER_NOTIFY, target, record);
      pointerWindow_.set(target);
      watchCursor(target);
    }
    if (isPointer(record)) add(record, target);
  } else if (record.event == GDK_LEAVE_NOTIFY) {
    if (GdkWindow* before = pointerWindow_.get()) add(record, before);
    pointerWindow_.set(nullptr);
  } else if (isTouch(record)) {
    if (record.event == GDK_TOUCH_BEGIN) touchWindow_.set(windowAt(record.x, record.y));
    if (GdkWindow* target = touchWindow_.get()) add(record, target);
  } else if (isKey(record)) {
    add(record, outermost);
  }
  // Do not use this object from here on: event handlers may delete it.
  for (GdkEvent* event : events) {
    gtk_main_do_event(event);
    gdk_event_free(event);
  }
}

void OffscreenView::watchCursor(GdkWindow* window) {
  GdkWindow* before = cursorWindow_.get();
  if (before == window) return;
  if (before) g_signal_handlers_disconnect_by_data(before, this);
  cursorWindow_.set(window);
  if (!window) return;
  g_signal_connect(window, "notify::cursor", G_CALLBACK(onCursor), this);
  onCursor(window, nullptr, this);
}

void OffscreenView::onCursor(GdkWindow* window, GParamSpec*, gpointer data) {
  auto* self = static_cast<OffscreenView*>(data);
  GdkCursor* cursor = nullptr;
  for (; window && !cursor; window = gdk_window_get_parent(window)) {
    cursor = gdk_window_get_cursor(window);
  }
  CursorRecord record{};
  record.header = {CursorRecord::recordType, self->handle_};
  describeCursor(cursor, record);
  self->views_.connection.send(record);
}

}  // namespace Tessel::Platform::Graphics::Remote

// Serialisation of cursors between processes.
#include "platform/graphics/remote/Cursors.h"

#include <cairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>

namespace Tessel::Platform::Graphics::Remote {

namespace {

constexpr std::array names{
    "none",       "default",     "help",        "pointer",     "context-menu",  "progress",
    "wait",       "cell",        "crosshair",   "text",        "vertical-text", "alias",
    "copy",       "no-drop",     "move",        "not-allowed", "grab",          "grabbing",
    "all-scroll", "col-resize",  "row-resize",  "n-resize",    "e-resize",      "s-resize",
    "w-resize",   "ne-resize",   "nw-resize",   "sw-resize",   "se-resize",     "ew-resize",
    "ns-resize",  "nesw-resize", "nwse-resize", "zoom-in",     "zoom-out",      "left_ptr",
    "xterm",      "hand",        "hand1",       "hand2",       "watch",
};

// GTK does not expose the name a cursor was created from, but caches cursors, so that they can be
// compared.
int nameOf(GdkCursor* cursor) {
  for (std::size_t i = 0; i < names.size(); ++i) {
    GdkCursor* named = gdk_cursor_new_from_name(gdk_cursor_get_display(cursor), names[i]);
    if (!named) continue;
    g_object_unref(named);  // owned by GTK
    if (named == cursor) return static_cast<int>(i);
  }
  return -1;
}

bool describePixels(GdkCursor* cursor, CursorRecord& record) {
  double hotX = 0;
  double hotY = 0;
  cairo_surface_t* surface = gdk_cursor_get_surface(cursor, &hotX, &hotY);
  if (!surface) return false;
  const int side = CursorRecord::imageSide;
  const bool isImage = cairo_surface_get_type(surface) == CAIRO_SURFACE_TYPE_IMAGE;
  record.width = isImage ? std::min(cairo_image_surface_get_width(surface), side) : 0;
  record.height = isImage ? std::min(cairo_image_surface_get_height(surface), side) : 0;
  double across = 1;
  double down = 1;
  cairo_surface_get_device_scale(surface, &across, &down);
  record.scale = std::clamp(static_cast<int>(std::lround(across)), 1, maximumScale);
  const auto place = [&](double hot, int length) {
    return std::clamp(static_cast<int>(std::lround(hot * record.scale)), 0,
                      std::max(length - 1, 0));
  };
  record.hotX = place(hotX, record.width);
  record.hotY = place(hotY, record.height);
  cairo_surface_t* target =
      cairo_image_surface_create_for_data(reinterpret_cast<unsigned char*>(record.pixels.data()),
                                          CAIRO_FORMAT_ARGB32, side, side, side * 4);
  cairo_surface_set_device_scale(target, across, down);
  cairo_t* cairo = cairo_create(target);
  cairo_set_source_surface(cairo, surface, 0, 0);
  cairo_paint(cairo);
  cairo_destroy(cairo);
  cairo_surface_destroy(target);
  cairo_surface_destroy(surface);
  return record.width > 0 && record.height > 0;
}

}  // namespace

void describeCursor(GdkCursor* cursor, CursorRecord& record) {
  record.kind = CursorRecord::Default;
  if (!cursor) return;
  const GdkCursorType type = gdk_cursor_get_cursor_type(cursor);
  if (type != GDK_CURSOR_IS_PIXMAP) {
    record.kind = CursorRecord::Shape;
    record.value = type;
  } else if (const int name = nameOf(cursor); name >= 0) {
    record.kind = CursorRecord::Named;
    record.value = name;
  } else if (describePixels(cursor, record)) {
    record.kind = CursorRecord::Image;
  }
}

const char* faultOf(const CursorRecord& record) {
  const auto within = [](int value, int end) { return value >= 0 && value < end; };
  switch (record.kind) {
    case CursorRecord::Default:
      return nullptr;
    case CursorRecord::Shape:
      // Cursor shapes have even numbers, apart from the one for a blank cursor.
      return record.value == GDK_BLANK_CURSOR ||
                     (within(record.value, GDK_LAST_CURSOR) && record.value % 2 == 0)
                 ? nullptr
                 : "there is no such cursor shape";
    case CursorRecord::Named:
      return within(record.value, static_cast<int>(names.size())) ? nullptr
                                                                  : "there is no such cursor name";
    case CursorRecord::Image:
      return within(record.width - 1, CursorRecord::imageSide) &&
                     within(record.height - 1, CursorRecord::imageSide) &&
                     within(record.hotX, record.width) && within(record.hotY, record.height) &&
                     isScale(record.scale)
                 ? nullptr
                 : "a cursor has no such size";
    default:
      return "there is no such kind of cursor";
  }
}

GdkCursor* cursorFor(const CursorRecord& record, GdkDisplay* display) {
  if (record.kind == CursorRecord::Shape) {
    return gdk_cursor_new_for_display(display, static_cast<GdkCursorType>(record.value));
  }
  if (record.kind == CursorRecord::Named) {
    return gdk_cursor_new_from_name(display, names[static_cast<std::size_t>(record.value)]);
  }
  if (record.kind != CursorRecord::Image) return nullptr;
  cairo_surface_t* image =
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, record.width, record.height);
  const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(image));
  unsigned char* rows = cairo_image_surface_get_data(image);
  for (int row = 0; row < record.height; ++row) {
    std::memcpy(rows + stride * static_cast<std::size_t>(row),
                record.pixels.data() + std::ptrdiff_t{row} * CursorRecord::imageSide,
                static_cast<std::size_t>(record.width) * 4);
  }
  cairo_surface_mark_dirty(image);
  cairo_surface_set_device_scale(image, record.scale, record.scale);
  const double scale = record.scale;
  GdkCursor* cursor =
      gdk_cursor_new_from_surface(display, image, record.hotX / scale, record.hotY / scale);
  cairo_surface_destroy(image);
  return cursor;
}

}  // namespace Tessel::Platform::Graphics::Remote

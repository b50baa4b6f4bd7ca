// Snapshots of documents. Main thread.
#include "engine/webkit/features/PageCapture.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/base/PageContext.h"

#include <algorithm>
#include <cmath>

namespace {

// Pixels along a side: the limit of the drawing library.
constexpr double largestSide = 16384;

struct Capture {
  std::weak_ptr<PageContext> page;
  double scale;
  OrvWebRect part;
  OrvWebSize size;
  double id;
};

// The part of the picture, scaled; null when nothing is left of it.
cairo_surface_t* cut(cairo_surface_t* whole, const Capture& capture) {
  const int wholeWidth = cairo_image_surface_get_width(whole);
  const int wholeHeight = cairo_image_surface_get_height(whole);
  const bool all = capture.part.width <= 0 || capture.part.height <= 0;
  const int left = all ? 0 : std::clamp(capture.part.x, 0, wholeWidth);
  const int top = all ? 0 : std::clamp(capture.part.y, 0, wholeHeight);
  const int width = all ? wholeWidth : std::min(capture.part.width, wholeWidth - left);
  const int height = all ? wholeHeight : std::min(capture.part.height, wholeHeight - top);
  if (width <= 0 || height <= 0) return nullptr;
  double scale = std::isfinite(capture.scale) && capture.scale > 0 ? capture.scale : 1;
  if (capture.size.width > 0) scale = std::min(scale, double(capture.size.width) / width);
  if (capture.size.height > 0) scale = std::min(scale, double(capture.size.height) / height);
  scale = std::min({scale, largestSide / width, largestSide / height});
  cairo_surface_t* result = cairo_image_surface_create(
      CAIRO_FORMAT_ARGB32, std::max(1, static_cast<int>(std::lround(width * scale))),
      std::max(1, static_cast<int>(std::lround(height * scale))));
  cairo_t* drawing = cairo_create(result);
  cairo_scale(drawing, scale, scale);
  cairo_set_source_surface(drawing, whole, -left, -top);
  cairo_pattern_set_filter(cairo_get_source(drawing), CAIRO_FILTER_BEST);
  cairo_paint(drawing);
  cairo_destroy(drawing);
  return result;
}

void onSnapshot(GObject* view, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Capture> capture(static_cast<Capture*>(data));
  cairo_surface_t* whole =
      webkit_web_view_get_snapshot_finish(WEBKIT_WEB_VIEW(view), result, nullptr);
  cairo_surface_t* picture = whole ? cut(whole, *capture) : nullptr;
  OrvWebCaptureContentsEvent event;
  event.id = capture->id;
  event.base64PNGImage = pngInBase64(picture);
  if (picture) cairo_surface_destroy(picture);
  if (whole) cairo_surface_destroy(whole);
  if (const auto page = capture->page.lock()) page->raise(event);
}

}  // namespace

void capturePage(WebKitWebView* view, const std::weak_ptr<PageContext>& page, double scale,
                 const OrvWebRect& part, const OrvWebSize& size) {
  static double last = 0;
  webkit_web_view_get_snapshot(view, WEBKIT_SNAPSHOT_REGION_FULL_DOCUMENT,
                               WEBKIT_SNAPSHOT_OPTIONS_NONE, nullptr, onSnapshot,
                               new Capture{page, scale, part, size, ++last});
}

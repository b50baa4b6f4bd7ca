// Zooms pages that are wider than their web view to fit into it. Main thread.
#include "engine/webkit/features/PageFit.h"

#include "engine/webkit/base/PageContext.h"

#include <algorithm>
#include <utility>

void PageFit::measured(int contentWidth, int seenWidth) {
  if (!page_.client() || !page_.client()->settings().isZoomToFitWidthOnLoad) return;
  if (contentWidth <= seenWidth || seenWidth <= 0) return;
  const double zoom = webkit_web_view_get_zoom_level(view_);
  const double smallest = std::min(zoom, page_.client()->pageState().minimumScale);
  if (!std::exchange(fitted_, true)) before_ = zoom;
  webkit_web_view_set_zoom_level(view_, std::max(smallest, zoom * seenWidth / contentWidth));
}

void PageFit::documentGone() {
  if (std::exchange(fitted_, false)) webkit_web_view_set_zoom_level(view_, before_);
}

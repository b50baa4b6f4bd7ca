// Touch and mouse events in the application's windows. UI thread.
#include "platform/graphics/ScreenEvents.h"

#include <algorithm>

namespace Tessel::Platform::Graphics {

const TouchPoint* RawTouchEvent::pointForContactId(int id) const {
  const auto found = std::find_if(points.begin(), points.end(),
                                  [id](const TouchPoint& point) { return point.contactId == id; });
  return found == points.end() ? nullptr : &*found;
}

}  // namespace Tessel::Platform::Graphics

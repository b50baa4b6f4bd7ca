// Conversion between GDK input events and records. UI thread.
#pragma once

#include "platform/graphics/remote/Records.h"

#include <gdk/gdk.h>

namespace Tessel::Platform::Graphics::Remote {

// False for events that are not input or not forwarded. The window in the header is not modified.
bool inputRecordFor(const GdkEvent* event, InputRecord& record);

// A new event for a window, at a position in it, which counts for pointer and touch events only.
// Null if the record is not a valid input event.
GdkEvent* eventFor(const InputRecord& record, GdkWindow* window, double x, double y);

bool isPointer(const InputRecord& record);  // buttons, motion, wheel
bool isCrossing(const InputRecord& record);
bool isTouch(const InputRecord& record);
bool isKey(const InputRecord& record);

// Nonzero for events that coalesce (only the last of a run counts); equal within a run.
std::uint64_t coalescingKey(const InputRecord& record);

}  // namespace Tessel::Platform::Graphics::Remote

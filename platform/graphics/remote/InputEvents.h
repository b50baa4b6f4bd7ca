// Input events of the toolkit as records, and records as events. UI thread.
#pragma once

#include "platform/graphics/remote/Records.h"

#include <gdk/gdk.h>

namespace Tessel::Platform::Graphics::Remote {

// False for events that are no input, or that nobody forwards. The header's window is left alone.
bool inputRecordFor(const GdkEvent* event, InputRecord& record);

// A new event for a window, at a place in it; the place counts for pointers and touches only. Null
// when the record holds no input event.
GdkEvent* eventFor(const InputRecord& record, GdkWindow* window, double x, double y);

bool isPointer(const InputRecord& record);  // buttons, motion, wheel
bool isCrossing(const InputRecord& record);
bool isTouch(const InputRecord& record);
bool isKey(const InputRecord& record);

// Other than 0 for events of which only the last of a run counts; the same for the same run.
std::uint64_t coalescingKey(const InputRecord& record);

}  // namespace Tessel::Platform::Graphics::Remote

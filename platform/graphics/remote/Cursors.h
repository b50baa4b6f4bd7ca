// Cursor shapes between processes: as the toolkit's number or the name where it has one, so that
// the application draws its own, else as pixels. UI thread.
#pragma once

#include "platform/graphics/remote/Records.h"

#include <gdk/gdk.h>

namespace Tessel::Platform::Graphics::Remote {

// Null is the default cursor, and so is one that cannot be described. The header is left alone.
void describeCursor(GdkCursor* cursor, CursorRecord& record);

// What is wrong with a record from another process; null when nothing is.
const char* faultOf(const CursorRecord& record);

// A new reference; null for the default cursor, or one that this display does not have.
GdkCursor* cursorFor(const CursorRecord& record, GdkDisplay* display);

}  // namespace Tessel::Platform::Graphics::Remote

// Serialisation of cursors between processes: as GTK's number or name if possible, so that the
// application uses its own theme, else as pixels. UI thread.
#pragma once

#include "platform/graphics/remote/Records.h"

#include <gdk/gdk.h>

namespace Tessel::Platform::Graphics::Remote {

// Null is the default cursor; so is one that cannot be described. The header is not modified.
void describeCursor(GdkCursor* cursor, CursorRecord& record);

// What is wrong with a record from another process; null if it is valid.
const char* faultOf(const CursorRecord& record);

// A new reference; null for the default cursor, or one not available on this display.
GdkCursor* cursorFor(const CursorRecord& record, GdkDisplay* display);

}  // namespace Tessel::Platform::Graphics::Remote

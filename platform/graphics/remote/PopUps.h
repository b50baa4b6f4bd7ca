// What windows of their own that widgets open, menus and dialogs, need when the widget is rendered
// off screen. UI thread.
#pragma once

namespace Tessel::Platform::Graphics::Remote {

// For the rest of the process. Twice is fine.
void preparePopUps();

}  // namespace Tessel::Platform::Graphics::Remote

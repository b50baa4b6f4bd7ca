// Support for pop-up windows (menus, dialogs) of widgets rendered off screen. UI thread.
#pragma once

namespace Tessel::Platform::Graphics::Remote {

// Process-wide. May be called twice.
void preparePopUps();

}  // namespace Tessel::Platform::Graphics::Remote

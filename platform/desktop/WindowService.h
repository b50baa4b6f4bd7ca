// The application's window as the navigator sees it: what the desktop does to it becomes
// notifications, and requests about it are carried out. Main thread.
#pragma once

#include "platform/desktop/NavigatorHandler.h"
#include "platform/graphics/Window.h"

namespace Tessel::Platform {

class WindowService final : public NavigatorService {
 public:
  // Both outlive the service.
  WindowService(NavigatorHandler& handler, Graphics::Window& window);
  ~WindowService() override;

  // What the window's listener hears.
  void activeChanged(bool active);
  void shownAsChanged(Graphics::ShownAs shownAs);
  // False when nobody hears that the application is to end.
  bool closeRequested();

  void minimizeWindow() override;
  // As if its close button had been pressed, on a later turn of the main loop.
  void closeWindow() override;
  // Whether the window can be seen and has the keyboard.
  bool isForeground() override;
  // The size of the window, as {"width":800,"height":600}: covered, it shows nothing smaller.
  String coverSize() override;

 private:
  NavigatorHandler& handler_;
  Graphics::Window& window_;
  Graphics::ShownAs shownAs_ = Graphics::ShownAs::Normal;
  bool active_ = false;
  unsigned closing_ = 0;
};

}  // namespace Tessel::Platform

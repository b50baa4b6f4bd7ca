// The application's window as the navigator sees it: window state changes become notifications, and
// requests about the window are carried out. Main thread.
#pragma once

#include "platform/desktop/NavigatorHandler.h"
#include "platform/graphics/Window.h"

namespace Tessel::Platform {

class WindowService final : public NavigatorService {
 public:
  // Both outlive the service.
  WindowService(NavigatorHandler& handler, Graphics::Window& window);
  ~WindowService() override;

  // Called by the window's listener.
  void activeChanged(bool active);
  void shownAsChanged(Graphics::ShownAs shownAs);
  // Whether the seat shows the session; where it does not, the window cannot be seen.
  void seatChanged(bool active);
  // False if nobody listens for the end of the application.
  bool closeRequested();

  void minimizeWindow() override;
  // Simulates a click on the close button, on a later turn of the main loop.
  void closeWindow() override;
  // Whether the window is visible and has the keyboard focus.
  bool isForeground() override;
  // Size of the window as {"width":800,"height":600}; the same when covered, as there is no smaller
  // view.
  String coverSize() override;

 private:
  void updateHidden();

  NavigatorHandler& handler_;
  Graphics::Window& window_;
  Graphics::ShownAs shownAs_ = Graphics::ShownAs::Normal;
  bool active_ = false;
  bool isSeatActive_ = true;
  bool isHidden_ = false;
  unsigned closing_ = 0;
};

}  // namespace Tessel::Platform

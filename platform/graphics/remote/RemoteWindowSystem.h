// The window system of a child process whose windows the application shows. UI thread.
//
// The process makes one top-level window, a stand-in for the application's: it shows nothing and
// has that window's size. Its child windows render off screen, and RemoteWindows at the other end
// of the connection shows them.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/graphics/WindowSystem.h"
#include "platform/graphics/gtk/GtkFrameClock.h"

#include <memory>

namespace Tessel::Platform::Graphics {

class RemoteWindowSystem final : public WindowSystem {
 public:
  // Starts GTK. Null if no display can be opened. The connection is one end of a SOCK_SEQPACKET
  // socket, close-on-exec. If the application at the other end is gone, windows keep their state
  // but are not visible.
  static std::unique_ptr<RemoteWindowSystem> create(UniqueFd connection);
  ~RemoteWindowSystem() override;

  // Null for a second top-level window, and beyond the maximum number of child windows.
  std::unique_ptr<WindowSurface> createSurface(Window& window, WindowSurface* parent) override;
  void flush(bool wait) override;
  // Nothing is painted here: a timer. The application animates these windows, not this process.
  FrameClock& frameClock() override { return clock_; }

 private:
  class Connected;
  class StandIn;
  class Child;
  explicit RemoteWindowSystem(UniqueFd connection);

  // Shared with the surfaces, which may outlive the system.
  std::shared_ptr<Connected> connected_;
  GtkFrameClock clock_;
};

}  // namespace Tessel::Platform::Graphics

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
  // Starts GTK. Null when there is no display that can be opened. The connection is one end of a
  // SOCK_SEQPACKET socket, close-on-exec. When the application at its other end goes, windows are
  // as they were, and nobody sees them.
  static std::unique_ptr<RemoteWindowSystem> create(UniqueFd connection);
  ~RemoteWindowSystem() override;

  // Null for a second top-level window, and for more child windows than the application shows.
  std::unique_ptr<WindowSurface> createSurface(Window& window, WindowSurface* parent) override;
  void flush(bool wait) override;
  // Nothing is painted here: it is a timer. The application animates these windows, not this
  // process.
  FrameClock& frameClock() override { return clock_; }

 private:
  class Connected;
  class StandIn;
  class Child;
  explicit RemoteWindowSystem(UniqueFd connection);

  // The surfaces share it, and may outlive the system.
  std::shared_ptr<Connected> connected_;
  GtkFrameClock clock_;
};

}  // namespace Tessel::Platform::Graphics

// Windows on a real display, by GTK. UI thread.
#pragma once

#include "platform/graphics/WindowSystem.h"
#include "platform/graphics/gtk/GtkFrameClock.h"

#include <memory>

typedef struct _GtkWidget GtkWidget;

namespace Tessel::Platform::Graphics {

class ScreenInput;

class GtkWindowSystem final : public WindowSystem {
 public:
  // Starts GTK. Null if no display can be opened.
  static std::unique_ptr<GtkWindowSystem> create();
  ~GtkWindowSystem() override;

  std::unique_ptr<WindowSurface> createSurface(Window& window, WindowSurface* parent) override;
  void flush(bool wait) override;
  FrameClock& frameClock() override { return *clock_; }

  // Shows a widget as the content of a child window of a window system that supports it; position,
  // stacking order, alpha and visibility of the window apply to the widget. The window takes
  // ownership of the widget. False, without effect, for any other window.
  static bool embed(Window& window, GtkWidget* widget);

  // The GTK window behind a top-level window of this system; null for any other.
  static GtkWidget* topLevelWidget(const Window& window);
  // Whether a window manager looks after a top-level window of this system.
  static bool hasManager(const Window& window);

 private:
  GtkWindowSystem();

  // Shared with the surfaces, which may outlive the system.
  std::shared_ptr<GtkFrameClock> clock_;
  std::shared_ptr<ScreenInput> input_;
};

}  // namespace Tessel::Platform::Graphics

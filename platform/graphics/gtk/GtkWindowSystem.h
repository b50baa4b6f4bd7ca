// Windows on a real screen, by GTK. UI thread.
#pragma once

#include "platform/graphics/WindowSystem.h"
#include "platform/graphics/gtk/GtkFrameClock.h"

#include <memory>

typedef struct _GtkWidget GtkWidget;

namespace Tessel::Platform::Graphics {

class ScreenInput;

class GtkWindowSystem final : public WindowSystem {
 public:
  // Starts GTK. Null when there is no display that can be opened.
  static std::unique_ptr<GtkWindowSystem> create();
  ~GtkWindowSystem() override;

  std::unique_ptr<WindowSurface> createSurface(Window& window, WindowSurface* parent) override;
  void flush(bool wait) override;
  FrameClock& frameClock() override { return *clock_; }

  // Shows a widget as the content of a child window made by this system, or by another one that
  // shows widgets; the window's place, order, alpha and visibility become the widget's. The widget
  // belongs to the window from now on and is destroyed with it. False, and the widget is left
  // alone, for any other window.
  static bool embed(Window& window, GtkWidget* widget);

  // The toolkit's window behind a top-level window made by this system; null for any other.
  static GtkWidget* topLevelWidget(const Window& window);

 private:
  GtkWindowSystem();

  // The surfaces share them, and may outlive the system.
  std::shared_ptr<GtkFrameClock> clock_;
  std::shared_ptr<ScreenInput> input_;
};

}  // namespace Tessel::Platform::Graphics

// A child window that can show a widget, for window systems that support it. UI thread.
#pragma once

typedef struct _GtkWidget GtkWidget;

namespace Tessel::Platform::Graphics {

class Window;

// Implemented by a surface in addition to WindowSurface.
class WidgetHost {
 public:
  virtual ~WidgetHost() = default;
  // Replaces the surface's content by the widget and takes ownership of it.
  virtual void show(GtkWidget* widget) = 0;

  // The host of a window; null if its window system does not show widgets, or not in such a window.
  static WidgetHost* of(const Window& window);
};

}  // namespace Tessel::Platform::Graphics

// What a child window of a window system that shows widgets can do with one. UI thread.
#pragma once

typedef struct _GtkWidget GtkWidget;

namespace Tessel::Platform::Graphics {

class Window;

// A surface implements it beside WindowSurface.
class WidgetHost {
 public:
  virtual ~WidgetHost() = default;
  // Shows the widget in the place of what the surface showed so far, and owns it from now on.
  virtual void show(GtkWidget* widget) = 0;

  // The one of a window; null when its window system shows no widgets, or none in such a window.
  static WidgetHost* of(const Window& window);
};

}  // namespace Tessel::Platform::Graphics

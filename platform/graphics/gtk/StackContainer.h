// The GTK container behind a top-level window: children with a rectangle, an order, an alpha and
// a say in input. UI thread.
//
// The toolkit's own containers do not do: GtkFixed paints in the order of insertion whatever is
// raised, GtkOverlay reorders reliably to the top only. Here painting and input follow one order.
#pragma once

#include "platform/graphics/WindowSystem.h"

#include <gtk/gtk.h>

namespace Tessel::Platform::Graphics {

// A new container, floating like every new widget.
GtkWidget* stackContainerNew();

// Adds a child at the place that its state names; the container holds a reference until the
// child is removed with gtk_container_remove or destroyed.
void stackContainerPut(GtkWidget* container, GtkWidget* child, const WindowState& state);
// Moves, restacks, fades, shows or hides a child.
void stackContainerUpdate(GtkWidget* container, GtkWidget* child, const WindowState& state);

}  // namespace Tessel::Platform::Graphics

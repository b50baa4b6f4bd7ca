// The GTK container behind a top-level window: children with a rectangle, a stacking order, an
// alpha and an input mode. UI thread.
//
// GTK's own containers do not suffice: GtkFixed paints in insertion order whatever is raised, and
// GtkOverlay reorders reliably to the top only. Here painting and input use the same order.
#pragma once

#include "platform/graphics/WindowSystem.h"

#include <gtk/gtk.h>

namespace Tessel::Platform::Graphics {

// A new container, floating like every new widget.
GtkWidget* stackContainerNew();

// Adds a child at the position in its state; the container holds a reference until the child is
// removed with gtk_container_remove or destroyed.
void stackContainerPut(GtkWidget* container, GtkWidget* child, const WindowState& state);
// Moves, restacks, fades, shows or hides a child.
void stackContainerUpdate(GtkWidget* container, GtkWidget* child, const WindowState& state);

}  // namespace Tessel::Platform::Graphics

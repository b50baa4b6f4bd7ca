// The GTK container behind a top-level window. UI thread.
#include "platform/graphics/gtk/StackContainer.h"

#include <algorithm>
#include <vector>

namespace Tessel::Platform::Graphics {

namespace {

struct Slot {
  GtkWidget* widget;
  WindowState state;
};

// In painting order: lowest first.
using Slots = std::vector<Slot>;

}  // namespace

struct StackContainer {
  GtkContainer parent;
  Slots* slots;
};

struct StackContainerClass {
  GtkContainerClass parent;
};

G_DEFINE_TYPE(StackContainer, stack_container, GTK_TYPE_CONTAINER)

namespace {

StackContainer* asStack(void* object) {
  return G_TYPE_CHECK_INSTANCE_CAST(object, stack_container_get_type(), StackContainer);
}

Slots::iterator findSlot(StackContainer* stack, GtkWidget* widget) {
  return std::find_if(stack->slots->begin(), stack->slots->end(),
                      [&](const Slot& slot) { return slot.widget == widget; });
}

// Painting order.
bool isBelow(const WindowState& a, const WindowState& b) {
  const bool first = a.fullScreen == FullScreen::Filling;
  const bool second = b.fullScreen == FullScreen::Filling;
  return first != second ? second : a.zOrder < b.zOrder;
}

// What is invisible must not take clicks either, and a window may be set to take no input.
bool takesInput(const WindowState& state) {
  return state.globalAlpha > 0 && state.sensitivity != Sensitivity::Never;
}

// No window is larger or farther away.
constexpr int farthest = 1 << 20;

// The window without its discarded parts, relative to it. Null if it has no such parts.
cairo_region_t* keptRegion(const WindowState& state) {
  if (state.discardRects.empty()) return nullptr;
  const cairo_rectangle_int_t everything{0, 0, farthest, farthest};
  cairo_region_t* region = cairo_region_create_rectangle(&everything);
  for (const IntRect& rect : state.discardRects) {
    const auto within = [](long long value) {
      return static_cast<int>(std::clamp<long long>(value, 0, farthest));
    };
    const int left = within(rect.x);
    const int top = within(rect.y);
    const int right = within(static_cast<long long>(rect.x) + rect.width);
    const int bottom = within(static_cast<long long>(rect.y) + rect.height);
    const cairo_rectangle_int_t part{left, top, right - left, bottom - top};
    if (part.width > 0 && part.height > 0) cairo_region_subtract_rectangle(region, &part);
  }
  return region;
}

void applyInput(const Slot& slot) {
  GdkWindow* window =
      gtk_widget_get_has_window(slot.widget) ? gtk_widget_get_window(slot.widget) : nullptr;
  if (window) gdk_window_set_pass_through(window, !takesInput(slot.state));
}

// Clicks on discarded parts go to what is below.
void applyInputShape(const Slot& slot) {
  // A widget without a GdkWindow takes no input.
  if (!gtk_widget_get_has_window(slot.widget)) return;
  cairo_region_t* kept = keptRegion(slot.state);
  gtk_widget_input_shape_combine_region(slot.widget, kept);
  if (kept) cairo_region_destroy(kept);
}

void raiseInOrder(StackContainer* stack) {
  for (const Slot& slot : *stack->slots) {
    applyInput(slot);
    if (gtk_widget_get_has_window(slot.widget) && gtk_widget_get_window(slot.widget)) {
      gdk_window_raise(gtk_widget_get_window(slot.widget));
    }
  }
}

void onChildRealized(GtkWidget*, gpointer stack) {
  raiseInOrder(asStack(stack));
}

void applySlot(StackContainer* stack, GtkWidget* child, const WindowState& state) {
  const auto slot = findSlot(stack, child);
  if (slot == stack->slots->end()) return;
  const bool restack =
      slot->state.zOrder != state.zOrder || slot->state.fullScreen != state.fullScreen;
  const bool reshape = slot->state.discardRects != state.discardRects;
  slot->state = state;
  gtk_widget_set_opacity(child, state.globalAlpha / 255.0);
  gtk_widget_set_can_focus(child, state.sensitivity != Sensitivity::NoFocus);
  gtk_widget_set_visible(child, state.visible);
  applyInput(*slot);
  if (reshape) {
    applyInputShape(*slot);
    gtk_widget_queue_draw(child);
  }
  if (restack) {
    std::stable_sort(stack->slots->begin(), stack->slots->end(),
                     [](const Slot& a, const Slot& b) { return isBelow(a.state, b.state); });
    raiseInOrder(stack);
    gtk_widget_queue_draw(GTK_WIDGET(stack));
  }
  gtk_widget_queue_allocate(GTK_WIDGET(stack));
}

void add(GtkContainer* container, GtkWidget* widget) {
  stackContainerPut(GTK_WIDGET(container), widget, WindowState());
}

void removeChild(GtkContainer* container, GtkWidget* widget) {
  StackContainer* stack = asStack(container);
  const auto slot = findSlot(stack, widget);
  if (slot == stack->slots->end()) return;
  g_signal_handlers_disconnect_by_data(widget, stack);
  stack->slots->erase(slot);
  gtk_widget_unparent(widget);
  gtk_widget_queue_draw(GTK_WIDGET(stack));
}

void forall(GtkContainer* container, gboolean, GtkCallback callback, gpointer data) {
  // The callback may remove children.
  const Slots slots = *asStack(container)->slots;
  for (const Slot& slot : slots) callback(slot.widget, data);
}

GType childType(GtkContainer*) {
  return GTK_TYPE_WIDGET;
}

// The program sets the window's size; it does not follow from the children's size requests.
void preferredSize(GtkWidget*, gint* minimum, gint* natural) {
  *minimum = 1;
  *natural = 1;
}

void sizeAllocate(GtkWidget* widget, GtkAllocation* allocation) {
  GTK_WIDGET_CLASS(stack_container_parent_class)->size_allocate(widget, allocation);
  for (const Slot& slot : *asStack(widget)->slots) {
    const IntRect& rect = slot.state.rect;
    GtkAllocation place = *allocation;
    if (!slot.state.fillsParent && slot.state.fullScreen != FullScreen::Filling) {
      place = {allocation->x + rect.x, allocation->y + rect.y, std::max(rect.width, 1),
               std::max(rect.height, 1)};
    }
    // GTK warns about an allocation without a prior size request.
    gtk_widget_get_preferred_size(slot.widget, nullptr, nullptr);
    gtk_widget_size_allocate(slot.widget, &place);
  }
}

gboolean draw(GtkWidget* widget, cairo_t* cairo) {
  for (const Slot& slot : *asStack(widget)->slots) {
    cairo_region_t* kept = keptRegion(slot.state);
    if (kept) {
      GtkAllocation place;
      GtkAllocation own;
      gtk_widget_get_allocation(slot.widget, &place);
      gtk_widget_get_allocation(widget, &own);
      cairo_region_translate(kept, place.x - own.x, place.y - own.y);
      cairo_save(cairo);
      gdk_cairo_region(cairo, kept);
      cairo_clip(cairo);
      cairo_region_destroy(kept);
    }
    gtk_container_propagate_draw(GTK_CONTAINER(widget), slot.widget, cairo);
    if (kept) cairo_restore(cairo);
  }
  return FALSE;
}

void finalize(GObject* object) {
  delete asStack(object)->slots;
  G_OBJECT_CLASS(stack_container_parent_class)->finalize(object);
}

}  // namespace

static void stack_container_init(StackContainer* stack) {
  stack->slots = new Slots;
  gtk_widget_set_has_window(GTK_WIDGET(stack), FALSE);
}

static void stack_container_class_init(StackContainerClass* stackClass) {
  auto* container = GTK_CONTAINER_CLASS(stackClass);
  container->add = add;
  container->remove = removeChild;
  container->forall = forall;
  container->child_type = childType;
  auto* widget = GTK_WIDGET_CLASS(stackClass);
  widget->size_allocate = sizeAllocate;
  widget->draw = draw;
  widget->get_preferred_width = preferredSize;
  widget->get_preferred_height = preferredSize;
  G_OBJECT_CLASS(stackClass)->finalize = finalize;
}

GtkWidget* stackContainerNew() {
  return GTK_WIDGET(g_object_new(stack_container_get_type(), nullptr));
}

void stackContainerPut(GtkWidget* container, GtkWidget* child, const WindowState& state) {
  StackContainer* stack = asStack(container);
  const auto place = std::find_if(stack->slots->begin(), stack->slots->end(),
                                  [&](const Slot& slot) { return isBelow(state, slot.state); });
  applyInputShape(*stack->slots->insert(place, Slot{child, state}));
  g_signal_connect(child, "realize", G_CALLBACK(onChildRealized), stack);
  gtk_widget_set_parent(child, container);
  applySlot(stack, child, state);
}

void stackContainerUpdate(GtkWidget* container, GtkWidget* child, const WindowState& state) {
  applySlot(asStack(container), child, state);
}

}  // namespace Tessel::Platform::Graphics

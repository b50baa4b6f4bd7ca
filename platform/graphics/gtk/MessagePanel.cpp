// Lines of text over the lower part of a top-level window. UI thread.
#include "platform/graphics/gtk/MessagePanel.h"

#include "platform/base/String.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"

#include <gtk/gtk.h>

#include <algorithm>
#include <limits>

namespace Tessel::Platform::Graphics {

namespace {

constexpr int highest = std::numeric_limits<int>::max();
// The part of the window that it covers, and its height in pixels at most.
constexpr int part = 3;
constexpr int tallest = 260;

constexpr const char* style =
    "* { background-color: #3b0f12; color: #ffe9e6; font-family: monospace; font-size: 13px; }"
    "label { padding: 4px 10px; }"
    "button { color: #3b0f12; background: #ffe9e6; padding: 2px 10px; margin: 4px; }"
    "button label { color: #3b0f12; background: none; padding: 0; }";

void useStyle(GtkWidget* widget, gpointer provider) {
  gtk_style_context_add_provider(gtk_widget_get_style_context(widget),
                                 static_cast<GtkStyleProvider*>(provider),
                                 GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
  if (GTK_IS_CONTAINER(widget)) {
    gtk_container_forall(GTK_CONTAINER(widget), useStyle, provider);
  }
}

void styleAll(GtkWidget* widget) {
  static GtkCssProvider* const provider = [] {
    GtkCssProvider* const made = gtk_css_provider_new();
    gtk_css_provider_load_from_data(made, style, -1, nullptr);
    return made;
  }();
  useStyle(widget, provider);
}

GtkWidget* labelOf(const std::string& text) {
  // The toolkit shows nothing of a text that is no UTF-8.
  const String whole = repaired(String(text));
  GtkWidget* const label = gtk_label_new(whole.utf8());
  gtk_label_set_xalign(GTK_LABEL(label), 0);
  gtk_label_set_line_wrap(GTK_LABEL(label), TRUE);
  gtk_label_set_line_wrap_mode(GTK_LABEL(label), PANGO_WRAP_WORD_CHAR);
  gtk_label_set_selectable(GTK_LABEL(label), TRUE);
  return label;
}

void scrollToEnd(GtkAdjustment* adjustment, gpointer) {
  gtk_adjustment_set_value(adjustment, gtk_adjustment_get_upper(adjustment));
}

}  // namespace

void MessagePanel::show(const std::string& line) {
  if (!window_) open();
  if (!window_) return;
  place();
  if (lines_ == mostLines) {
    GList* const all = gtk_container_get_children(GTK_CONTAINER(list_));
    gtk_widget_destroy(GTK_WIDGET(all->data));
    g_list_free(all);
    --lines_;
  }
  GtkWidget* const label = labelOf(line.substr(0, longestLine));
  gtk_container_add(GTK_CONTAINER(list_), label);
  styleAll(label);
  gtk_widget_show(label);
  ++lines_;
}

void MessagePanel::open() {
  auto* const window = new Window(WindowType::Child, &parent_, {0, 0, 1, 1}, {0, 0, 1, 1}, {1, 1},
                                  0, false, String());
  GtkWidget* const box = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  GtkWidget* const header = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
  GtkWidget* const close = gtk_button_new_with_label("Close");
  gtk_box_pack_start(GTK_BOX(header), gtk_label_new("Errors of this chrome"), FALSE, FALSE, 0);
  gtk_box_pack_end(GTK_BOX(header), close, FALSE, FALSE, 0);
  g_signal_connect(close, "clicked", G_CALLBACK(onClose), this);
  scroller_ = gtk_scrolled_window_new(nullptr, nullptr);
  list_ = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_container_add(GTK_CONTAINER(scroller_), list_);
  gtk_box_pack_start(GTK_BOX(box), header, FALSE, FALSE, 0);
  gtk_box_pack_start(GTK_BOX(box), scroller_, TRUE, TRUE, 0);
  g_signal_connect(gtk_scrolled_window_get_vadjustment(GTK_SCROLLED_WINDOW(scroller_)), "changed",
                   G_CALLBACK(scrollToEnd), nullptr);
  styleAll(box);
  gtk_widget_show_all(box);
  if (!GtkWindowSystem::embed(*window, box)) {
    deleteGuardedObject(window);
    return;
  }
  window_ = window;
  window_->setZOrder(highest);
  window_->setVisible(true);
}

void MessagePanel::place() {
  const IntSize size = parent_.surfaceSize();
  const int height = std::min(tallest, size.height / part);
  window_->setWindowRectangle({0, size.height - height, size.width, height});
}

void MessagePanel::onClose(GtkButton*, MessagePanel* self) {
  self->clear();
}

void MessagePanel::clear() {
  if (window_) deleteGuardedObject(window_);
  window_ = nullptr;
  list_ = scroller_ = nullptr;
  lines_ = 0;
}

}  // namespace Tessel::Platform::Graphics

// Pictures of windows. UI thread.
#include "platform/graphics/gtk/Picture.h"

#include <gtk/gtk.h>

#include <memory>
#include <utility>

namespace Tessel::Platform::Graphics {

namespace {

struct Free {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, Free>;

struct Work {
  Surface surface;
  PictureTaken taken;
  std::string png;
};

Surface paint(GtkWidget* window) {
  const int scale = gtk_widget_get_scale_factor(window);
  Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                             gtk_widget_get_allocated_width(window) * scale,
                                             gtk_widget_get_allocated_height(window) * scale));
  cairo_surface_set_device_scale(surface.get(), scale, scale);
  cairo_t* const cairo = cairo_create(surface.get());
  gtk_widget_draw(window, cairo);
  cairo_destroy(cairo);
  return surface;
}

cairo_status_t append(void* png, const unsigned char* bytes, unsigned int length) {
  static_cast<std::string*>(png)->append(reinterpret_cast<const char*>(bytes), length);
  return CAIRO_STATUS_SUCCESS;
}

// On a thread of the pool.
void compress(GTask* task, gpointer, gpointer data, GCancellable*) {
  auto* const work = static_cast<Work*>(data);
  if (!work->surface) return g_task_return_boolean(task, TRUE);
  const auto status = cairo_surface_write_to_png_stream(work->surface.get(), append, &work->png);
  if (status != CAIRO_STATUS_SUCCESS) work->png.clear();
  g_task_return_boolean(task, TRUE);
}

}  // namespace

void takePictureOf(GtkWidget* window, PictureTaken taken) {
  GTask* const task = g_task_new(
      nullptr, nullptr,
      [](GObject*, GAsyncResult* result, gpointer) {
        const auto* const work = static_cast<Work*>(g_task_get_task_data(G_TASK(result)));
        work->taken(work->png);
      },
      nullptr);
  g_task_set_task_data(
      task,
      new Work{gtk_widget_is_drawable(window) ? paint(window) : nullptr, std::move(taken), {}},
      [](gpointer work) { delete static_cast<Work*>(work); });
  g_task_run_in_thread(task, compress);
  g_object_unref(task);
}

}  // namespace Tessel::Platform::Graphics

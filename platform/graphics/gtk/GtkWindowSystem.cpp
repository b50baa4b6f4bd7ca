// Windows on a real display, by GTK. UI thread.
#include "platform/graphics/gtk/GtkWindowSystem.h"

#include "platform/graphics/Window.h"
#include "platform/graphics/gtk/Picture.h"
#include "platform/graphics/gtk/ScreenFit.h"
#include "platform/graphics/gtk/ScreenInput.h"
#include "platform/graphics/gtk/StackContainer.h"
#include "platform/graphics/gtk/ToolkitEnds.h"
#include "platform/graphics/gtk/WidgetHost.h"

#include <gtk/gtk.h>

#include <memory>
#include <utility>

namespace Tessel::Platform::Graphics {

namespace {

void drawColor(cairo_t* cairo, const Color& color) {
  cairo_set_source_rgba(cairo, color.red / 255.0, color.green / 255.0, color.blue / 255.0,
                        color.alpha / 255.0);
  cairo_paint(cairo);
}

// The colour a surface was cleared to; visible after the next post, as with a double buffer.
struct Fill {
  bool cleared = false;
  Color pending;
  Color shown{0, 0, 0, 0};

  void clear(Color color) {
    cleared = true;
    pending = color;
  }
  void post() {
    if (cleared) shown = pending;
  }
};

class TopLevelSurface final : public WindowSurface {
 public:
  TopLevelSurface(Window& owner, std::shared_ptr<GtkFrameClock> clock,
                  std::shared_ptr<ScreenInput> input)
      : owner_(owner),
        clock_(std::move(clock)),
        input_(std::move(input)),
        window_(gtk_window_new(GTK_WINDOW_TOPLEVEL)),
        stack_(stackContainerNew()) {
    const IntRect& rect = owner.state().rect;
    gtk_window_set_title(GTK_WINDOW(window_), g_get_prgname() ? g_get_prgname() : "pagehost");
    gtk_window_set_default_size(GTK_WINDOW(window_), std::max(rect.width, 1),
                                std::max(rect.height, 1));
    requested_ = {rect.width, rect.height};
    gtk_widget_set_app_paintable(window_, TRUE);
    g_signal_connect(window_, "draw", G_CALLBACK(onDraw), this);
    g_signal_connect(window_, "delete-event", G_CALLBACK(onDelete), this);
    g_signal_connect(window_, "size-allocate", G_CALLBACK(onAllocate), this);
    gtk_widget_add_events(window_, GDK_VISIBILITY_NOTIFY_MASK);
    g_signal_connect(window_, "window-state-event", G_CALLBACK(onState), this);
    g_signal_connect(window_, "visibility-notify-event", G_CALLBACK(onVisibility), this);
    g_signal_connect(window_, "notify::is-active", G_CALLBACK(onActive), this);
    gtk_container_add(GTK_CONTAINER(window_), stack_);
    gtk_widget_show(stack_);
    fit_ = std::make_shared<ScreenFit>(GTK_WINDOW(window_), [this] { tellShownAs(); });
    input_->watch(window_);
    // An application has one window; of several, the first counts.
    if (!clock_->followed()) clock_->follow(window_);
  }

  ~TopLevelSurface() override {
    if (clock_->followed() == window_) clock_->follow(nullptr);
    input_->unwatch(window_);
    fit_.reset();
    g_signal_handlers_disconnect_by_data(window_, this);
    gtk_widget_destroy(window_);
  }

  GtkWidget* widget() const { return window_; }
  GtkWidget* stack() const { return stack_; }
  const std::shared_ptr<ScreenFit>& fit() const { return fit_; }

  void update(const WindowState& state) override {
    const IntSize size{state.rect.width, state.rect.height};
    if (size != requested_ && size.width > 0 && size.height > 0) {
      requested_ = size;
      if (!fit_->resize(size)) tellSize();
    }
    gtk_widget_set_opacity(window_, state.globalAlpha / 255.0);
    gtk_widget_set_visible(window_, state.visible);
  }

  IntSize size() const override {
    IntSize size;
    gtk_window_get_size(GTK_WINDOW(window_), &size.width, &size.height);
    return size;
  }

  void clear(Color color) override { fill_.clear(color); }
  void post(const IntRect& area) override {
    fill_.post();
    gtk_widget_queue_draw_area(window_, area.x, area.y, area.width, area.height);
  }
  void requestKeyboardFocus() override { gtk_window_present(GTK_WINDOW(window_)); }
  void showAs(ShownAs wanted) override { fit_->showAs(wanted); }
  void fillScreen(ScreenFilling filling) override { fit_->fillScreen(filling); }
  void takePicture(PictureTaken taken) override { takePictureOf(window_, std::move(taken)); }

 private:
  static gboolean onDraw(GtkWidget*, cairo_t* cairo, gpointer self) {
    drawColor(cairo, static_cast<TopLevelSurface*>(self)->fill_.shown);
    return FALSE;
  }

  // The program decides what closing the window means; without a listener nothing happens.
  static gboolean onDelete(GtkWidget*, GdkEvent*, gpointer self) {
    WindowListener* listener = static_cast<TopLevelSurface*>(self)->owner_.listener();
    if (listener) listener->windowCloseRequested();
    return TRUE;
  }

  static gboolean onState(GtkWidget*, GdkEventWindowState* event, gpointer data) {
    auto* self = static_cast<TopLevelSurface*>(data);
    self->state_ = event->new_window_state;
    self->tellShownAs();
    return FALSE;
  }

  static gboolean onVisibility(GtkWidget*, GdkEventVisibility* event, gpointer data) {
    auto* self = static_cast<TopLevelSurface*>(data);
    self->covered_ = event->state == GDK_VISIBILITY_FULLY_OBSCURED;
    self->tellShownAs();
    return FALSE;
  }

  static void onActive(GtkWindow* window, GParamSpec*, gpointer data) {
    WindowListener* listener = static_cast<TopLevelSurface*>(data)->owner_.listener();
    if (listener) listener->windowActiveChanged(gtk_window_is_active(window));
  }

  void tellShownAs() {
    WindowListener* listener = owner_.listener();
    // Not meaningful before the window is first shown.
    if (!listener || (state_ & GDK_WINDOW_STATE_WITHDRAWN) != 0) return;
    listener->windowShownAsChanged(shownAs());
  }

  ShownAs shownAs() const {
    if ((state_ & GDK_WINDOW_STATE_ICONIFIED) != 0) return ShownAs::Minimized;
    if (covered_) return ShownAs::Covered;
    if (fit_->coversScreen()) return fit_->covering();
    if ((state_ & GDK_WINDOW_STATE_FULLSCREEN) != 0) return ShownAs::Fullscreen;
    return (state_ & GDK_WINDOW_STATE_MAXIMIZED) != 0 ? ShownAs::Maximized : ShownAs::Normal;
  }

  static void onAllocate(GtkWidget*, GdkRectangle*, gpointer data) {
    auto* self = static_cast<TopLevelSurface*>(data);
    const IntSize size = self->size();
    if (size == self->allocated_) return;
    self->allocated_ = size;
    self->tellSize();
  }

  // The size that the window has, whatever was asked for.
  void tellSize() {
    const IntSize size = requested_ = this->size();
    const IntRect& rect = owner_.state().rect;
    owner_.windowPlaced({rect.x, rect.y, size.width, size.height}, false);
    if (WindowListener* listener = owner_.listener()) listener->windowResized(size);
  }

  Window& owner_;
  std::shared_ptr<GtkFrameClock> clock_;
  std::shared_ptr<ScreenInput> input_;
  GtkWidget* window_;
  GtkWidget* stack_;
  std::shared_ptr<ScreenFit> fit_;  // as long as the window
  IntSize requested_;
  IntSize allocated_;
  int state_ = GDK_WINDOW_STATE_WITHDRAWN;
  bool covered_ = false;
  Fill fill_;
};

// A child shows one widget: initially one that paints the colour the surface was cleared to, later
// possibly an embedded one.
class ChildSurface final : public WindowSurface, public WidgetHost {
 public:
  ChildSurface(Window& owner, TopLevelSurface& parent)
      : owner_(owner), stack_(GTK_WIDGET(g_object_ref(parent.stack()))), fit_(parent.fit()) {
    GtkWidget* painter = gtk_event_box_new();
    // No input window: clicks pass through to what is below.
    gtk_widget_set_has_window(painter, FALSE);
    gtk_widget_set_app_paintable(painter, TRUE);
    g_signal_connect(painter, "draw", G_CALLBACK(onDraw), this);
    show(painter);
  }

  ~ChildSurface() override {
    setFullScreen(false);
    drop();
    g_object_unref(stack_);
  }

  void show(GtkWidget* widget) override {
    const bool hadFocus = widget_ && gtk_widget_is_focus(widget_);
    drop();
    widget_ = GTK_WIDGET(g_object_ref_sink(widget));
    stackContainerPut(stack_, widget_, owner_.state());
    if (hadFocus) gtk_widget_grab_focus(widget_);
  }

  void update(const WindowState& state) override {
    stackContainerUpdate(stack_, widget_, state);
    setFullScreen(state.fullScreen != FullScreen::No);
  }

  IntSize size() const override {
    const WindowState& state = owner_.state();
    if (!state.fillsParent && state.fullScreen != FullScreen::Filling)
      return {state.rect.width, state.rect.height};
    return {gtk_widget_get_allocated_width(stack_), gtk_widget_get_allocated_height(stack_)};
  }

  void clear(Color color) override { fill_.clear(color); }
  void post(const IntRect&) override {
    fill_.post();
    gtk_widget_queue_draw(widget_);
  }
  void requestKeyboardFocus() override {
    // Also before there is a page: its widget inherits the focus.
    gtk_widget_set_can_focus(widget_, TRUE);
    gtk_widget_grab_focus(widget_);
  }

 private:
  void setFullScreen(bool fullScreen) {
    if (std::exchange(fullScreen_, fullScreen) == fullScreen) return;
    if (const auto fit = fit_.lock()) fit->showContent(fullScreen);
  }

  static gboolean onDraw(GtkWidget*, cairo_t* cairo, gpointer self) {
    drawColor(cairo, static_cast<ChildSurface*>(self)->fill_.shown);
    return FALSE;
  }

  void drop() {
    if (!widget_) return;
    g_signal_handlers_disconnect_by_data(widget_, this);
    gtk_widget_destroy(widget_);
    g_object_unref(widget_);
    widget_ = nullptr;
  }

  Window& owner_;
  GtkWidget* stack_;
  const std::weak_ptr<ScreenFit> fit_;  // of the parent, while that is there
  bool fullScreen_ = false;
  GtkWidget* widget_ = nullptr;
  Fill fill_;
};

}  // namespace

std::unique_ptr<GtkWindowSystem> GtkWindowSystem::create() {
  // Only X11 is supported and tested; Wayland cannot place child windows that input can be
  // forwarded to.
  gdk_set_allowed_backends("x11");
  if (!gtk_init_check(nullptr, nullptr)) return nullptr;
  tellOfLostDisplay();
  return std::unique_ptr<GtkWindowSystem>(new GtkWindowSystem);
}

GtkWindowSystem::GtkWindowSystem()
    : clock_(std::make_shared<GtkFrameClock>()), input_(std::make_shared<ScreenInput>()) {}

GtkWindowSystem::~GtkWindowSystem() = default;

std::unique_ptr<WindowSurface> GtkWindowSystem::createSurface(Window& window,
                                                              WindowSurface* parent) {
  if (!parent) return std::make_unique<TopLevelSurface>(window, clock_, input_);
  auto* topLevel = dynamic_cast<TopLevelSurface*>(parent);
  if (!topLevel) return nullptr;
  return std::make_unique<ChildSurface>(window, *topLevel);
}

void GtkWindowSystem::flush(bool wait) {
  GdkDisplay* display = gdk_display_get_default();
  if (wait) {
    gdk_display_sync(display);
  } else {
    gdk_display_flush(display);
  }
}

bool GtkWindowSystem::embed(Window& window, GtkWidget* widget) {
  WidgetHost* host = WidgetHost::of(window);
  if (host) host->show(widget);
  return host != nullptr;
}

GtkWidget* GtkWindowSystem::topLevelWidget(const Window& window) {
  auto* surface = dynamic_cast<TopLevelSurface*>(window.surface());
  return surface ? surface->widget() : nullptr;
}

bool GtkWindowSystem::hasManager(const Window& window) {
  GtkWidget* const widget = topLevelWidget(window);
  return widget && ScreenFit::hasManager(GTK_WINDOW(widget));
}

WidgetHost* WidgetHost::of(const Window& window) {
  return dynamic_cast<WidgetHost*>(window.surface());
}

}  // namespace Tessel::Platform::Graphics

// A widget of a child process, rendered off screen: frames go to the application, its input comes
// back. UI thread.
#pragma once

#include "platform/graphics/remote/FrameFile.h"
#include "platform/graphics/remote/Records.h"

#include <gtk/gtk.h>

namespace Tessel::Platform::Graphics::Remote {

class WindowConnection;

// Shared by the views of a process.
struct OffscreenViews {
  WindowConnection& connection;
  std::uint32_t lastFrame = 0;
  std::size_t frameBytes = 0;
};

class OffscreenView {
 public:
  // For the window with that handle. The view owns the widget. The other arguments must outlive it.
  OffscreenView(OffscreenViews& views, int window, GtkWidget* content);
  ~OffscreenView();
  OffscreenView(const OffscreenView&) = delete;
  OffscreenView& operator=(const OffscreenView&) = delete;

  // In pixels; takes effect at once, layout included, if the view is shown.
  void resize(IntSize size);
  // Whether the application's window shows it, and whether any of it is visible: invisible views
  // are not painted.
  void setShown(bool mapped, bool seen);
  void setCanFocus(bool canFocus);
  // The apparent position on the screen, as an offset in the application's window, where menus and
  // tooltips open. The window is null if there is none.
  void setPlace(GdkWindow* embedder, IntPoint place);
  void setFocused(bool focused);
  void frameShown(std::uint32_t frame);
  // The view may be deleted by this call.
  void deliver(const InputRecord& record);

 private:
  // A GdkWindow of the content, while it exists.
  class WeakWindow {
   public:
    WeakWindow() { g_weak_ref_init(&reference_, nullptr); }
    ~WeakWindow() { g_weak_ref_clear(&reference_); }
    WeakWindow(const WeakWindow&) = delete;
    WeakWindow& operator=(const WeakWindow&) = delete;
    GdkWindow* get();
    void set(GdkWindow* window) { g_weak_ref_set(&reference_, window); }

   private:
    GWeakRef reference_;
  };

  static gboolean onDraw(GtkWidget* widget, cairo_t* cairo, gpointer self);
  static void onAfterPaint(GdkFrameClock* clock, gpointer self);
  static void onCursor(GdkWindow* window, GParamSpec* property, gpointer self);
  void start();
  void paint();
  int scaleFor(IntSize size) const;
  bool prepareFile(IntSize size);
  void sendFrame(bool newFile, int scale);
  void applyFocus();
  GdkWindow* windowAt(double x, double y) const;
  GdkWindow* pointerTarget(const InputRecord& record);
  void watchCursor(GdkWindow* window);

  OffscreenViews& views_;
  const int handle_;
  GtkWidget* window_;
  GtkWidget* stack_;
  GtkWidget* content_;
  GdkFrameClock* clock_ = nullptr;
  IntPoint place_;
  bool seen_ = false;
  bool focused_ = false;
  bool focusTold_ = false;

  FrameFile file_;
  int buffer_ = 0;
  std::uint32_t inFlight_ = 0;  // the frame not yet shown by the application; 0: none
  bool painting_ = false;
  cairo_region_t* damage_;  // since the last frame
  cairo_region_t* stale_;   // damage of the last frame that the other buffer lacks

  WeakWindow pointerWindow_;  // the one below the pointer
  WeakWindow pressWindow_;    // the one a button was pressed in, until its release
  WeakWindow touchWindow_;
  WeakWindow cursorWindow_;
};

}  // namespace Tessel::Platform::Graphics::Remote

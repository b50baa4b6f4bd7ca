// The widget that shows a child process's window in the application, and returns its input. UI
// thread.
#pragma once

#include "platform/graphics/remote/FrameFile.h"
#include "platform/graphics/remote/Records.h"

#include <gtk/gtk.h>

#include <span>

namespace Tessel::Platform::Graphics::Remote {

class MirrorView {
 public:
  class Client {
   public:
    virtual ~Client() = default;
    // Position, visibility or alpha of the widget may have changed.
    virtual void mirrorPlaced(int window) = 0;
    // The last frame has been shown, or is not visible.
    virtual void mirrorShown(int window, std::uint32_t frame) = 0;
    // The header identifies the window.
    virtual void mirrorInput(const InputRecord& record) = 0;
  };

  // The client is not owned.
  MirrorView(int window, Client& client);
  ~MirrorView();
  MirrorView(const MirrorView&) = delete;
  MirrorView& operator=(const MirrorView&) = delete;

  // For the owner, which destroys it.
  GtkWidget* widget() const { return widget_; }
  bool isMapped() const { return gtk_widget_get_mapped(widget_); }
  bool isSeen() const { return isMapped() && gtk_widget_get_opacity(widget_) > 0; }

  // Replaces the frame file.
  void useFile(FrameFile file) { file_ = std::move(file); }
  const FrameFile& file() const { return file_; }
  // Shows a frame of the file, with so many device pixels in the side of a pixel; only its
  // rectangles have changed unless all of it has.
  void showFrame(std::uint32_t number, int buffer, int scale, std::span<const IntRect> rects,
                 bool isWhole);
  void setCursor(const CursorRecord& record);

 private:
  static gboolean onDraw(GtkWidget* widget, cairo_t* cairo, gpointer self);
  static gboolean onEvent(GtkWidget* widget, GdkEvent* event, gpointer self);
  static void onAfterPaint(GdkFrameClock* clock, gpointer self);
  static void onRealize(GtkWidget* widget, gpointer self);
  static void onUnrealize(GtkWidget* widget, gpointer self);
  static void onMapped(GtkWidget* widget, gpointer self);
  void watchButtons(const GdkEvent* event);
  void frameShown();
  void applyCursor();

  const int window_;
  Client& client_;
  GtkWidget* widget_;
  FrameFile file_;
  int buffer_ = -1;
  int scale_ = 1;
  std::uint32_t frame_ = 0;
  bool frameWaits_ = false;
  bool grabbed_ = false;
  GdkFrameClock* clock_ = nullptr;
  GdkCursor* cursor_ = nullptr;
};

}  // namespace Tessel::Platform::Graphics::Remote

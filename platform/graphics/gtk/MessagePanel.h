// Lines of text over the lower part of a top-level window, for what a developer must see whatever
// is shown there. UI thread.
#pragma once

#include "platform/graphics/Window.h"

#include <string>

typedef struct _GtkWidget GtkWidget;
typedef struct _GtkButton GtkButton;

namespace Tessel::Platform::Graphics {

class MessagePanel {
 public:
  // The window outlives it. Nothing is there until the first line.
  explicit MessagePanel(Window& parent) : parent_(parent) {}
  ~MessagePanel() { clear(); }
  MessagePanel(const MessagePanel&) = delete;
  MessagePanel& operator=(const MessagePanel&) = delete;

  // Adds a line. Of many the last ones are kept.
  void show(const std::string& line);
  // Takes the panel away.
  void clear();

  static constexpr std::size_t mostLines = 100;
  // Bytes, of one line.
  static constexpr std::size_t longestLine = 2000;

 private:
  static void onClose(GtkButton*, MessagePanel* self);
  void open();
  void place();

  Window& parent_;
  Window* window_ = nullptr;   // owned
  GtkWidget* list_ = nullptr;  // of the window
  GtkWidget* scroller_ = nullptr;
  std::size_t lines_ = 0;
};

}  // namespace Tessel::Platform::Graphics

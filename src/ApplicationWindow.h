// The one top-level window of the application, in whose group all its web views live. UI thread.
#pragma once

#include "platform/desktop/WindowService.h"
#include "platform/graphics/Window.h"

#include <map>
#include <string>

class ApplicationWindow final : public Tessel::Platform::Graphics::Window,
                                private Tessel::Platform::Graphics::WindowListener {
 public:
  // Created on first use, with the size and rotation that WIDTH, HEIGHT and ROTATION give; never
  // destroyed. Registers the applicationWindow.* functions.
  static ApplicationWindow& instance();

  // Stores the application's size; width and height change places for a sideways rotation.
  static void setApplicationSize(int width, int height, int rotation);

  // The platform handle of the child window with that identifier, 0 when there is none.
  int windowHandleFor(const std::string& identifier) const;
  // Gives the window's group the keyboard (1), or leaves it where it is (0).
  void setKeyboardFocus(int value);
  // Shows what has been drawn.
  void present();
  // Resizes and turns the window.
  void resize(int width, int height, int rotation);

  // Told what the desktop does to the window, and whether to end the application; not owned.
  // Without one, closing the window ends every web view.
  void setService(Tessel::Platform::WindowService* service) { service_ = service; }

  // As its close button does.
  void close() { windowCloseRequested(); }

  void addChildWindow(Window* child) override;
  void removeChildWindow(Window* child) override;

 private:
  explicit ApplicationWindow(Tessel::Platform::IntSize size);

  void windowResized(Tessel::Platform::IntSize size) override;
  void windowCloseRequested() override;
  void windowActiveChanged(bool active) override;
  void windowShownAsChanged(Tessel::Platform::Graphics::ShownAs shownAs) override;

  std::map<std::string, Window*> children_;
  Tessel::Platform::WindowService* service_ = nullptr;
};

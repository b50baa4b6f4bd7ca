// The application's top-level window, in whose group all web views live. UI thread.
#pragma once

#include "platform/desktop/WindowService.h"
#include "platform/graphics/Window.h"

#include <chrono>
#include <deque>
#include <map>
#include <string>

class ApplicationWindow final : public Tessel::Platform::Graphics::Window,
                                private Tessel::Platform::Graphics::WindowListener {
 public:
  // Created on first use, with size and rotation from WIDTH, HEIGHT and ROTATION; never destroyed.
  // Registers the applicationWindow.* functions.
  static ApplicationWindow& instance();

  // Stores the application's size; width and height are swapped for a sideways rotation.
  static void setApplicationSize(int width, int height, int rotation);

  // The platform handle of the child window with that identifier, 0 if there is none.
  int windowHandleFor(const std::string& identifier) const;
  // Gives the window's group the keyboard focus (1), or leaves it unchanged (0).
  void setKeyboardFocus(int value);
  // Flushes what has been drawn.
  void present();
  // Resizes and rotates the window.
  void resize(int width, int height, int rotation);

  // Notified of what the desktop does to the window, and asked to end the application; not owned.
  // Without one, closing the window closes every web view.
  void setService(Tessel::Platform::WindowService* service) { service_ = service; }

  // Ends the application without asking the chrome.
  void close() { windowEndRequested(); }
  // Whether a click on the close button asks the chrome, by onCloseRequest.
  void setAsksBeforeClosing(bool asks);

  void addChildWindow(Window* child) override;
  void removeChildWindow(Window* child) override;

 private:
  explicit ApplicationWindow(Tessel::Platform::IntSize size);

  void windowResized(Tessel::Platform::IntSize size) override;
  void windowCloseRequested() override;
  void windowEndRequested() override;
  void windowActiveChanged(bool active) override;
  void windowShownAsChanged(Tessel::Platform::Graphics::ShownAs shownAs) override;

  std::map<std::string, Window*> children_;
  Tessel::Platform::WindowService* service_ = nullptr;
  bool asksBeforeClosing_ = false;
  std::deque<std::chrono::steady_clock::time_point> closeRequests_;  // the latest
};

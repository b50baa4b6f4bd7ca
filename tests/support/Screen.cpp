// Reads the display of the test and sends input to it. Main thread.
#include "tests/support/Screen.h"

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>

#include <chrono>
#include <cstdlib>
#include <sstream>
#include <string_view>
#include <thread>

namespace test_support {

namespace {

Display* display() {
  static Display* opened = XOpenDisplay(nullptr);
  if (!opened) std::abort();
  return opened;
}

// Windows may be destroyed while they are inspected.
int ignoreError(Display*, XErrorEvent*) {
  return 0;
}

// By its class, since the title is the document's.
Window findWindow(Window parent, std::string_view program) {
  XClassHint hint{};
  if (XGetClassHint(display(), parent, &hint)) {
    const bool found = hint.res_name && hint.res_name == program;
    XFree(hint.res_name);
    XFree(hint.res_class);
    // Skips a hidden window of that class that the toolkit creates.
    XWindowAttributes attributes{};
    if (found && XGetWindowAttributes(display(), parent, &attributes) &&
        attributes.map_state == IsViewable) {
      return parent;
    }
  }
  Window root = 0;
  Window above = 0;
  Window* children = nullptr;
  unsigned int count = 0;
  if (!XQueryTree(display(), parent, &root, &above, &children, &count)) return 0;
  Window found = 0;
  for (unsigned int i = 0; i < count && !found; ++i) found = findWindow(children[i], program);
  if (children) XFree(children);
  return found;
}

// The key code; a key that the keyboard lacks is mapped first.
KeyCode codeOf(KeySym key) {
  const KeyCode there = XKeysymToKeycode(display(), key);
  if (there != 0) return there;
  int lowest = 0;
  int highest = 0;
  XDisplayKeycodes(display(), &lowest, &highest);
  for (int code = highest; code >= lowest; --code) {
    if (XkbKeycodeToKeysym(display(), static_cast<KeyCode>(code), 0, 0) != NoSymbol) continue;
    XChangeKeyboardMapping(display(), code, 1, &key, 1);
    XSync(display(), False);
    return static_cast<KeyCode>(code);
  }
  return 0;
}

}  // namespace

std::vector<Pixel> pixelsIn(int x, int y, unsigned int width, unsigned int height) {
  std::vector<Pixel> pixels(std::size_t{width} * height, Pixel{-1, -1, -1});
  XImage* image =
      XGetImage(display(), DefaultRootWindow(display()), x, y, width, height, AllPlanes, ZPixmap);
  if (!image) return pixels;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const unsigned long value =
        XGetPixel(image, static_cast<int>(i % width), static_cast<int>(i / width));
    pixels[i] = {static_cast<int>(value >> 16 & 255), static_cast<int>(value >> 8 & 255),
                 static_cast<int>(value & 255)};
  }
  XDestroyImage(image);
  return pixels;
}

Pixel pixelAt(int x, int y) {
  return pixelsIn(x, y, 1, 1).front();
}

bool waitForPixel(int x, int y, const Pixel& color, std::chrono::milliseconds limit) {
  const auto end = std::chrono::steady_clock::now() + limit;
  do {
    const Pixel pixel = pixelAt(x, y);
    int difference = 0;
    for (std::size_t i = 0; i < color.size(); ++i) difference += std::abs(pixel[i] - color[i]);
    if (difference < 12) return true;
    // The display sends no notification when another client has drawn.
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  } while (std::chrono::steady_clock::now() < end);
  return false;
}

void clickAt(int x, int y) {
  movePointer(x, y);
  pressButton(1, true);
  pressButton(1, false);
}

void movePointer(int x, int y) {
  XTestFakeMotionEvent(display(), -1, x, y, CurrentTime);
  XSync(display(), False);
}

void pressButton(unsigned int number, bool down) {
  XTestFakeButtonEvent(display(), number, down, CurrentTime);
  XSync(display(), False);
}

void pressKey(const char* name, bool down) {
  XTestFakeKeyEvent(display(), codeOf(XStringToKeysym(name)), down, CurrentTime);
  XSync(display(), False);
}

void perform(const std::string& command) {
  std::istringstream words(command);
  std::string what;
  std::string name;
  words >> what >> name;
  int second = 0;
  words >> second;
  const int first = std::atoi(name.c_str());
  if (what == "press" || what == "key") pressKey(name.c_str(), true);
  if (what == "release" || what == "key") pressKey(name.c_str(), false);
  if (what == "move") movePointer(first, second);
  if (what == "click") clickAt(first, second);
  if (what == "button") {
    pressButton(static_cast<unsigned int>(first), true);
    pressButton(static_cast<unsigned int>(first), false);
  }
  if (what == "keyboard") giveKeyboardTo(topLevelWindow(name.c_str()));
}

bool requestClose(const char* program) {
  const Window window = topLevelWindow(program);
  if (!window) return false;
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = XInternAtom(display(), "WM_PROTOCOLS", False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(XInternAtom(display(), "WM_DELETE_WINDOW", False));
  event.xclient.data.l[1] = CurrentTime;
  XSendEvent(display(), window, False, NoEventMask, &event);
  XSync(display(), False);
  return true;
}

unsigned long topLevelWindow(const char* program) {
  XSetErrorHandler(ignoreError);
  return findWindow(DefaultRootWindow(display()), program);
}

void showTopLevel(unsigned long window, bool shown) {
  shown ? XMapWindow(display(), window) : XUnmapWindow(display(), window);
  XSync(display(), False);
}

void giveKeyboardTo(unsigned long window) {
  XSetInputFocus(display(), window, RevertToPointerRoot, CurrentTime);
  XSync(display(), False);
}

void coverScreen(bool covered) {
  static const Window cover = [] {
    XSetWindowAttributes attributes{};
    attributes.override_redirect = True;
    return XCreateWindow(display(), DefaultRootWindow(display()), 0, 0, 4096, 4096, 0,
                         CopyFromParent, InputOutput, CopyFromParent, CWOverrideRedirect,
                         &attributes);
  }();
  covered ? XMapRaised(display(), cover) : XUnmapWindow(display(), cover);
  XSync(display(), False);
}

}  // namespace test_support

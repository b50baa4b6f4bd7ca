// Reads the display of the test, which must exist, and sends input to it. Main thread.
#pragma once

#include <array>
#include <chrono>
#include <string>
#include <vector>

namespace test_support {

using Pixel = std::array<int, 3>;

// The colours on the screen in a rectangle, row by row; {-1, -1, -1} if they cannot be read.
std::vector<Pixel> pixelsIn(int x, int y, unsigned int width, unsigned int height);
Pixel pixelAt(int x, int y);
// Polls until the point has approximately that colour; false at the deadline.
bool waitForPixel(int x, int y, const Pixel& color,
                  std::chrono::milliseconds limit = std::chrono::seconds(15));
// Presses and releases the first button at that point.
void clickAt(int x, int y);
// The pointer and the keyboard, one step at a time; buttons by their number, keys by their name.
void movePointer(int x, int y);
void pressButton(unsigned int number, bool down);
void pressKey(const char* name, bool down);
// One of these by its name: "press KEY", "release KEY", "key KEY" for both, "move X Y", "click X
// Y", "button NUMBER" for a press and a release, "keyboard PROGRAM" to give a window the keyboard.
void perform(const std::string& command);
// Requests the top-level window of that program to close, as a window manager does; false if there
// is none.
bool requestClose(const char* program);

// The X window id of the top-level window of that program; 0 if there is none on the screen.
unsigned long topLevelWindow(const char* program);
// Window manager operations: unmaps or maps a window, and gives it the keyboard focus.
void showTopLevel(unsigned long window, bool shown);
void giveKeyboardTo(unsigned long window);
// Covers the screen with another program's window, or removes it.
void coverScreen(bool covered);

}  // namespace test_support

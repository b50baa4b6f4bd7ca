// What can be seen and done on the display of the test, which must be there. Main thread.
#pragma once

#include <array>
#include <string>

namespace test_support {

using Pixel = std::array<int, 3>;

// The colour on the screen at a place, {-1, -1, -1} when it cannot be had.
Pixel pixelAt(int x, int y);
// Looks again until the place has that colour, give or take a little; false when it never has.
bool waitForPixel(int x, int y, const Pixel& color);
// Presses and releases the first button there.
void clickAt(int x, int y);
// The pointer and the keyboard, one step at a time; buttons by their number, keys by their name.
void movePointer(int x, int y);
void pressButton(unsigned int number, bool down);
void pressKey(const char* name, bool down);
// One of these by its name: "press KEY", "release KEY", "key KEY" for both, "move X Y", "click X
// Y", "button NUMBER" for a press and a release, "keyboard TITLE" to give a window the keyboard.
void perform(const std::string& command);
// Asks the top-level window of that title prefix to close, as a window manager does; false when
// there is none.
bool requestClose(const char* title);

// The number of the top-level window of that title prefix, 0 when there is none on the screen.
unsigned long topLevelWindow(const char* title);
// What a window manager does to a window: takes it off the screen or brings it back, and gives it
// the keyboard.
void showTopLevel(unsigned long window, bool shown);
void giveKeyboardTo(unsigned long window);
// Puts another program's window over the whole screen, or takes it away again.
void coverScreen(bool covered);

}  // namespace test_support

// The protocol between a child process that has windows and the application that shows them: one
// record per datagram, in the machine's byte order. Both ends are of one build, but neither trusts
// the other: the receiver validates the size and every field of a record.
#pragma once

#include "platform/base/Geometry.h"
#include "platform/graphics/WindowSystem.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace Tessel::Platform::Graphics::Remote {

// Limits per child process.
constexpr int maximumSide = 16384;                       // pixels
constexpr int maximumPlace = 1 << 20;                    // pixels to either side
constexpr int maximumScale = 8;                          // device pixels in a pixel's side
constexpr std::size_t maximumWindows = 256;              //
constexpr std::size_t maximumFrameBytes = 256u << 20;    // of one window
constexpr std::size_t maximumFramesBytes = 1024u << 20;  // of all windows

enum class RecordType : std::uint32_t {
  // Child to application.
  Window = 1,
  WindowGone = 2,
  Fill = 3,
  Frame = 4,
  Cursor = 5,
  KeyboardRequest = 6,
  // Application to child.
  TopLevel = 17,
  Placement = 18,
  FrameShown = 19,
  Input = 20,
};

struct RecordHeader {
  RecordType type;
  std::int32_t window;  // its platform handle; 0 for the top-level window
};

// The complete state of a child window; the first one creates it.
struct WindowRecord {
  static constexpr RecordType recordType = RecordType::Window;
  RecordHeader header;
  std::int32_t pid;
  std::uint32_t placement;  // counts the rectangles that the child has given the window
  IntRect rect;
  std::int32_t fillsParent;
  std::int32_t fullScreen;
  std::int32_t zOrder;
  std::int32_t visible;
  std::int32_t globalAlpha;
  std::int32_t sensitivity;
  std::int32_t transparency;
  std::int32_t orientation;
  std::int32_t hasContent;  // frames will come, and input is wanted
};

struct WindowGoneRecord {
  static constexpr RecordType recordType = RecordType::WindowGone;
  RecordHeader header;
};

// The window shows a single colour.
struct FillRecord {
  static constexpr RecordType recordType = RecordType::Fill;
  RecordHeader header;
  Color color;
};

// One buffer of the window's frame file is complete, with new content in these rectangles, which
// are in pixels of the window. A new file is attached to its first frame.
struct FrameRecord {
  static constexpr RecordType recordType = RecordType::Frame;
  static constexpr std::size_t maximumRects = 16;
  RecordHeader header;
  std::uint32_t number;
  std::int32_t width;    // of the file, in device pixels
  std::int32_t height;   //
  std::int32_t scale;    // device pixels in the side of a pixel of the window
  std::int32_t buffer;   // 0 or 1
  std::int32_t newFile;  // 1: a file comes along
  std::uint32_t rectCount;
  std::array<IntRect, maximumRects> rects;
};

struct CursorRecord {
  static constexpr RecordType recordType = RecordType::Cursor;
  static constexpr int imageSide = 64;
  enum Kind : std::int32_t { Default = 0, Shape = 1, Named = 2, Image = 3 };
  RecordHeader header;
  std::int32_t kind;
  std::int32_t value;  // a shape's number of the toolkit, or the place in its list of names
  std::int32_t width;  // of an image, in device pixels, as all of it
  std::int32_t height;
  std::int32_t scale;
  std::int32_t hotX;
  std::int32_t hotY;
  std::array<std::uint32_t, std::size_t{imageSide} * imageSide> pixels;  // rows of imageSide
};

// Requests the keyboard focus for a window, or for the application's window as a whole.
struct KeyboardRequestRecord {
  static constexpr RecordType recordType = RecordType::KeyboardRequest;
  RecordHeader header;
};

struct TopLevelRecord {
  static constexpr RecordType recordType = RecordType::TopLevel;
  RecordHeader header;
  std::uint64_t systemWindow;  // the X window; 0 while there is none
  IntSize size;
};

// The geometry of a window in the application, whoever set it.
struct PlacementRecord {
  static constexpr RecordType recordType = RecordType::Placement;
  RecordHeader header;
  std::uint32_t placement;  // the last that the application knows of
  IntRect rect;
  std::int32_t fillsParent;
  std::int32_t fillsScreen;  // whatever its rectangle is
  std::int32_t mapped;       // on the screen, as far as its own visibility and its parents' go
  std::int32_t seen;         // mapped, and not faded out
};

struct FrameShownRecord {
  static constexpr RecordType recordType = RecordType::FrameShown;
  RecordHeader header;
  std::uint32_t number;
};

// One input event. The numbers are GDK's; positions are in pixels, relative to the window.
struct InputRecord {
  static constexpr RecordType recordType = RecordType::Input;
  RecordHeader header;
  std::int32_t event;
  std::uint32_t time;
  double x;
  double y;
  double rootX;
  double rootY;
  double deltaX;
  double deltaY;
  std::uint32_t state;
  std::uint32_t detail;  // button, hardware key code, scroll direction or kind of crossing
  std::uint32_t key;     // key value
  std::uint32_t group;   // of the keyboard
  std::uint32_t mode;    // of a crossing
  std::uint32_t flag;    // focus: it came; key: a modifier; touch: the pointer's; scroll: the last
  std::uint64_t sequence;  // of touches
};

// Parses a record of that type; false if the bytes are malformed.
template <typename Record>
bool readRecord(std::span<const char> bytes, Record& record) {
  if (bytes.size() != sizeof(Record)) return false;
  std::memcpy(&record, bytes.data(), sizeof record);
  return record.header.type == Record::recordType;
}

constexpr bool isSize(int width, int height) {
  return width >= 0 && height >= 0 && width <= maximumSide && height <= maximumSide;
}

constexpr bool isScale(int scale) {
  return scale >= 1 && scale <= maximumScale;
}

constexpr bool isRect(const IntRect& rect) {
  return isSize(rect.width, rect.height) && rect.x >= -maximumPlace && rect.x <= maximumPlace &&
         rect.y >= -maximumPlace && rect.y <= maximumPlace;
}

}  // namespace Tessel::Platform::Graphics::Remote

// When the next picture of the windows is due. UI thread.
#pragma once

#include <chrono>

namespace Tessel::Platform::Graphics {

class FrameListener {
 public:
  virtual ~FrameListener() = default;
  // Now is the time to change what the next picture shows. The time is that of a clock with a start
  // of its own; it never goes back.
  virtual void frame(std::chrono::microseconds time) = 0;
};

class FrameClock {
 public:
  virtual ~FrameClock() = default;
  // Tells the listener, not owned, of every frame until it is stopped, and also while nothing is
  // painted (a window that nobody sees): what waits for frames must come to an end. There is one
  // listener; a later one takes the place of the one before.
  virtual void start(FrameListener& listener) = 0;
  // Also from within a frame.
  virtual void stop() = 0;
};

}  // namespace Tessel::Platform::Graphics

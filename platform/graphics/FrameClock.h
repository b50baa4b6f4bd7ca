// Tells when the next frame of the windows is due. UI thread.
#pragma once

#include <chrono>

namespace Tessel::Platform::Graphics {

class FrameListener {
 public:
  virtual ~FrameListener() = default;
  // Time to apply changes for the next frame. The time is monotonic, with an arbitrary origin.
  virtual void frame(std::chrono::microseconds time) = 0;
};

class FrameClock {
 public:
  virtual ~FrameClock() = default;
  // Notifies the listener (not owned) of every frame until stopped, also while nothing is painted
  // (a hidden window): whatever waits for frames must terminate. There is one listener; a later one
  // replaces it.
  virtual void start(FrameListener& listener) = 0;
  // May be called within a frame.
  virtual void stop() = 0;
};

}  // namespace Tessel::Platform::Graphics

// The default output of the sound server, by PulseAudio's library, which PipeWire's server speaks,
// too. Main thread.
#pragma once

#include "device/Members.h"

#include <functional>
#include <memory>

namespace Device {

class Audio {
 public:
  using Changed = std::function<void(Values)>;

  // The server is not started: while it is not running, its socket is waited for.
  explicit Audio(Changed changed);
  ~Audio();
  Audio(const Audio&) = delete;
  Audio& operator=(const Audio&) = delete;

  // A percentage, or whether it is muted.
  void set(Member member, const Tessel::Platform::String& value);

 private:
  struct State;
  const std::unique_ptr<State> state_;
};

}  // namespace Device

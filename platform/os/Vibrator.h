// The vibrator of the device. Desktop machines have none, so this does nothing. UI thread.
#pragma once

namespace TesselPlatformVibrate {

// Milliseconds, and 0 to 1; a duration of 0 stops it.
inline void vibrate(int duration, double intensity) {
  static_cast<void>(duration);
  static_cast<void>(intensity);
}

}  // namespace TesselPlatformVibrate

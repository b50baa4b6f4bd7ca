// The largest size that a window is given, whoever asks for it. Any thread.
#pragma once

#include "platform/base/Geometry.h"

#include <algorithm>

namespace Tessel::Platform::Graphics {

// Pixels of a side and of the area. Displays are a quarter of that at most; a picture of that area
// has 256 MiB, and a window of the coordinates' range would have 4 GiB.
inline constexpr int longestSide = 16384;
inline constexpr int largestArea = 1 << 26;

// The size as far as a display can hold it: too long a side is cut, then the height.
constexpr IntSize displayable(IntSize size) {
  size.width = std::min(size.width, longestSide);
  size.height = std::min(size.height, longestSide);
  if (size.width > 0) size.height = std::min(size.height, largestArea / size.width);
  return size;
}

constexpr IntRect displayable(const IntRect& rect) {
  const IntSize size = displayable(IntSize{rect.width, rect.height});
  return {rect.x, rect.y, size.width, size.height};
}

}  // namespace Tessel::Platform::Graphics

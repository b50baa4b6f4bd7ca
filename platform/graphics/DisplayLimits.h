// The largest size of any window. Any thread.
#pragma once

#include "platform/base/Geometry.h"

#include <algorithm>

namespace Tessel::Platform::Graphics {

// Pixels per side and in total. Displays have at most a quarter of that; a picture of that area
// takes 256 MiB, and a window of the coordinates' range would take 4 GiB.
inline constexpr int longestSide = 16384;
inline constexpr int largestArea = 1 << 26;

// Clamps a size to the limits: each side first, then the height.
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

// Integer points, sizes and rectangles, in pixels unless said otherwise.
#pragma once

namespace Tessel::Platform {

struct IntPoint {
  int x = 0;
  int y = 0;
  friend bool operator==(const IntPoint&, const IntPoint&) = default;
};

struct IntSize {
  int width = 0;
  int height = 0;
  friend bool operator==(const IntSize&, const IntSize&) = default;
};

struct IntRect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
  friend bool operator==(const IntRect&, const IntRect&) = default;
};

}  // namespace Tessel::Platform

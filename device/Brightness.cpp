// The brightness of the screen. Main thread.
#include "device/Brightness.h"

#include "device/DeviceObjects.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>

namespace Device {

namespace {

// As the kernel recommends, where there are several for one screen.
int rankOf(const std::filesystem::path& backlight) {
  std::string type;
  std::ifstream(backlight / "type") >> type;
  return type == "firmware" ? 0 : type == "platform" ? 1 : 2;
}

std::filesystem::path firstBacklight(const std::string& root) {
  std::filesystem::path best;
  std::error_code none;
  for (const auto& entry :
       std::filesystem::directory_iterator(root + "/sys/class/backlight", none)) {
    const auto key = [](const std::filesystem::path& path) {
      return std::pair(rankOf(path), path);
    };
    if (best.empty() || key(entry.path()) < key(best)) best = entry.path();
  }
  return best;
}

}  // namespace

Brightness::Brightness(const std::string& root, Changed changed) : changed_(std::move(changed)) {
  const std::filesystem::path backlight = firstBacklight(root);
  if (backlight.empty()) return;
  name_ = backlight.filename();
  folder_ = backlight;
  most_ = number("max_brightness");
  // The kernel tells changes of its own at the first file, and the file system those of programs at
  // the second.
  actual_.reset(::open((folder_ + "/actual_brightness").c_str(), O_RDONLY | O_CLOEXEC));
  if (actual_) source_.watch(actual_.get(), POLLPRI, [this](short) { read(); });
  watch_.emplace(folder_, "brightness", [this] { read(); });
  read();
}

double Brightness::number(const char* file) const {
  double value = 0;
  std::ifstream stream(folder_ + "/" + file);
  return stream >> value ? value : -1;
}

unsigned Brightness::stepsFor(double percentage) const {
  return static_cast<unsigned>(std::max(1L, std::lround(most_ * percentage / 100)));
}

void Brightness::read() {
  // The kernel tells the next change once this one was read.
  std::array<char, 64> ignored;
  if (actual_ && ::pread(actual_.get(), ignored.data(), ignored.size(), 0) < 0) source_.stop();
  Values values;
  const double steps = number("brightness");
  if (most_ > 0 && steps >= 0 && steps <= most_) {
    values[Member::DisplayBrightness] = numberText(std::round(100 * steps / most_));
  }
  changed_(std::move(values));
}

}  // namespace Device

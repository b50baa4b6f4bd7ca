// The time zone, and when the clock is set. Main thread.
#include "device/Clock.h"

#include "device/DeviceObjects.h"

#include <fcntl.h>
#include <glib.h>
#include <poll.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <ctime>
#include <filesystem>

namespace Device {

using Tessel::Platform::String;

namespace {

constexpr long long halfAYear = 183LL * 86400;

using Zone = std::unique_ptr<GTimeZone, decltype(&g_time_zone_unref)>;

int intervalAt(const Zone& zone, long long time) {
  return g_time_zone_find_interval(zone.get(), G_TIME_TYPE_UNIVERSAL, time);
}

// When the zone's time changes next, within half a year; else the end of that.
long long nextTurn(const Zone& zone, long long now) {
  long long before = now;
  long long after = now + halfAYear;
  const int current = intervalAt(zone, now);
  if (intervalAt(zone, after) == current) return after;
  while (after - before > 1) {
    const long long middle = before + (after - before) / 2;
    (intervalAt(zone, middle) == current ? before : after) = middle;
  }
  return after;
}

}  // namespace

Clock::Clock(std::string root, Changed changed)
    : root_(std::move(root)),
      changed_(std::move(changed)),
      timer_(::timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC)) {
  if (timer_) {
    source_.watch(timer_.get(), POLLIN, [this](short) {
      std::uint64_t count = 0;
      const bool wasSet = ::read(timer_.get(), &count, sizeof count) < 0 && errno == ECANCELED;
      if (wasSet) setAt_ = std::time(nullptr);
      read();
    });
  }
  watch_.emplace(root_ + "/etc", "localtime", [this] { read(); });
  read();
}

// What the link is to, below the folder of zones; empty if it is something else.
std::string Clock::zoneName() const {
  constexpr std::string_view folder = "/zoneinfo/";
  std::error_code none;
  const std::string target = std::filesystem::read_symlink(root_ + "/etc/localtime", none);
  const std::size_t found = target.find(folder);
  return found == std::string::npos ? "" : target.substr(found + folder.size());
}

void Clock::read() {
  Values values;
  const std::string name = zoneName();
  // Without a link it is UTC, as the C library has it.
  const Zone zone(g_time_zone_new_identifier(name.empty() ? "UTC" : name.c_str()),
                  g_time_zone_unref);
  const long long now = std::time(nullptr);
  if (zone) {
    const int seconds = g_time_zone_get_offset(zone.get(), intervalAt(zone, now));
    if (!name.empty()) values[Member::TimeZone] = plainText(name);
    values[Member::TimeOffset] = String::fromSignedInteger(seconds / 60);
    arm(nextTurn(zone, now));
  } else {
    arm(now + halfAYear);
  }
  if (setAt_ != 0) values[Member::TimeSetAt] = String::fromSignedInteger(setAt_);
  changed_(std::move(values));
}

void Clock::arm(long long turn) {
  itimerspec at{};
  at.it_value.tv_sec = static_cast<time_t>(turn);
  ::timerfd_settime(timer_.get(), TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &at, nullptr);
}

}  // namespace Device

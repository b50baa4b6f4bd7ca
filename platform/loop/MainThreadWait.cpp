// Waits of the main thread that keep serving others. Main thread only, except for isActive(), which
// is false on every other thread.
#include "platform/loop/MainThreadWait.h"

#include "platform/base/ListenerList.h"
#include "platform/base/Log.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

namespace Tessel::Platform {

namespace {

// Per thread: clients of every thread query their own.
thread_local int activeWaits = 0;

ListenerList<MainThreadWait::Participant>& participants() {
  // Leaked: participants with static storage may be removed after any static list is destroyed.
  static auto* const list = new ListenerList<MainThreadWait::Participant>;
  return *list;
}

int pollTimeout(std::chrono::milliseconds timeout) {
  if (timeout.count() < 0) return -1;
  return static_cast<int>(std::min<std::chrono::milliseconds::rep>(timeout.count(), INT_MAX));
}

}  // namespace

void MainThreadWait::addParticipant(Participant* participant) {
  participants().add(participant);
}

void MainThreadWait::removeParticipant(Participant* participant) {
  participants().remove(participant);
}

MainThreadWait::MainThreadWait() {
  ++activeWaits;
}

MainThreadWait::~MainThreadWait() {
  --activeWaits;
}

bool MainThreadWait::isActive() {
  return activeWaits > 0;
}

bool MainThreadWait::poll(std::vector<pollfd>& own, std::chrono::milliseconds timeout) {
  const std::size_t ownCount = own.size();
  participants().forEach(
      [&own](Participant& participant) { participant.appendPollDescriptors(own); });
  const int ready = ::poll(own.data(), own.size(), pollTimeout(timeout));
  if (ready < 0 && errno != EINTR) {
    logAlways(LogError, "waiting on the main thread: %s", std::strerror(errno));
  }
  own.resize(ownCount);
  if (ready < 0) {
    // A failed poll may leave old results.
    for (pollfd& descriptor : own) descriptor.revents = 0;
  }

  const auto ownReady =
      std::count_if(own.begin(), own.end(), [](const pollfd& d) { return d.revents != 0; });
  // Fast path: only the caller's own answer has arrived.
  if (ready <= 0 || ready > ownReady) {
    participants().forEach([](Participant& participant) { participant.serve(); });
  }
  return ownReady > 0;
}

}  // namespace Tessel::Platform

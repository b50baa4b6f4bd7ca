// Deadlock-free waits of the main thread: whatever it waits for, it keeps serving the participants
// that may be needed for the answer.
//
// Main thread only.
#pragma once

#include <poll.h>

#include <chrono>
#include <vector>

namespace Tessel::Platform {

// While in scope, the main thread is inside a wait: message clients hold back their messages, so
// that deferred work does not run in the middle of the waiting call. Scopes nest.
class MainThreadWait {
 public:
  // Served in every wait of the main thread.
  class Participant {
   public:
    virtual ~Participant() = default;
    // Adds the descriptors to poll.
    virtual void appendPollDescriptors(std::vector<pollfd>& descriptors) const = 0;
    // Serves what is ready, without waiting; there may be nothing. It may itself wait, and is then
    // called recursively.
    virtual void serve() = 0;
  };
  // Not owned. Any participant may be removed inside a serve().
  static void addParticipant(Participant* participant);
  static void removeParticipant(Participant* participant);

  MainThreadWait();
  ~MainThreadWait();
  MainThreadWait(const MainThreadWait&) = delete;
  MainThreadWait& operator=(const MainThreadWait&) = delete;

  // False on every thread but the waiting one. Any thread.
  static bool isActive();

  // Blocks until a descriptor of the caller or of a participant is ready, or the timeout has
  // expired (negative: none), then serves the participants, unless only the caller's are ready.
  // Returns whether a descriptor of the caller, whose revents are filled in, is ready. EINTR counts
  // as a return without one.
  bool poll(std::vector<pollfd>& own, std::chrono::milliseconds timeout);
};

}  // namespace Tessel::Platform

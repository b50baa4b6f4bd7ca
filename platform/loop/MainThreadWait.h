// How the main thread waits for somebody's answer without deadlock: whatever it waits for, it
// goes on serving the participants that may need it before they can answer.
//
// Main thread only.
#pragma once

#include <poll.h>

#include <chrono>
#include <vector>

namespace Tessel::Platform {

// For the length of a scope the main thread is inside a wait: message clients hold their messages
// back, so that deferred work does not run in the middle of the call that waits. Scopes nest.
class MainThreadWait {
 public:
  // Served in every wait of the main thread, whatever is waited for.
  class Participant {
   public:
    virtual ~Participant() = default;
    // Adds the descriptors that tell that there is something to serve.
    virtual void appendPollDescriptors(std::vector<pollfd>& descriptors) const = 0;
    // Serves what is there, without waiting for more; there may be nothing. What it serves may
    // wait in turn, and then it is called again from inside.
    virtual void serve() = 0;
  };
  // Not owned. Removing any participant inside a serve() is fine.
  static void addParticipant(Participant* participant);
  static void removeParticipant(Participant* participant);

  MainThreadWait();
  ~MainThreadWait();
  MainThreadWait(const MainThreadWait&) = delete;
  MainThreadWait& operator=(const MainThreadWait&) = delete;

  // False on every thread but the one that waits. Any thread.
  static bool isActive();

  // Blocks until one of the caller's descriptors or of the participants' is ready, or the time is
  // over (negative: without end), then serves the participants, unless all that is ready is the
  // caller's. Returns whether one of the caller's own descriptors, whose revents are filled in, is
  // ready. EINTR counts as a return without one.
  bool poll(std::vector<pollfd>& own, std::chrono::milliseconds timeout);
};

}  // namespace Tessel::Platform

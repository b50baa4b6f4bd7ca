// The connections of this process to channels of others: messages go out, replies come back, and
// the other's end is noticed.
//
// Main thread, but for what is said to be for any.
#pragma once

#include "platform/channel/Message.h"

#include <sys/types.h>

#include <chrono>

namespace Tessel::Platform {

// Has what could not be sent at once sent while the main thread waits for something else. Called
// once per process, by the main client.
void serveConnectionsDuringWaits();

// Marks a connection that is no standard stream; kept for systems that tell them apart.
inline constexpr int sideChannel = 0x40000000;

// A flag: while more processes connect than are accepted, wait for room, up to waitForRoomLimit.
// For who cannot go on without; a process that serves others does not wait for one of them.
inline constexpr int waitForRoom = 1;
// A child connects twice, which together is less than the three seconds that a launch may take.
inline constexpr std::chrono::milliseconds waitForRoomLimit{1000};

// Connects to a channel of a process of the same user. The result is the connection's number, which
// is never used again; -1 with errno set when nobody listens there. When the other end has gone
// the handlers of the main client get the pulse Pulse::connectionDied with that number, once, and
// after everything that the process had sent.
// NOLINTNEXTLINE(readability-identifier-naming): the name that systems with channels give it
int ConnectAttach(int node, pid_t pid, int channelId, int index, int flags);
// Without a pulse.
// NOLINTNEXTLINE(readability-identifier-naming)
void ConnectDetach(int connectionId);

// Whoever does not answer for that long while the main thread waits for him is killed and counts as
// dead, but for one that somebody has stopped or traces: there the wait ends, unanswered, and the
// chrome is told. Without a limit such a wait ends, unanswered, after a minute.
void killSilentPeer(int connectionId, std::chrono::milliseconds limit);

// Sends over a connection. With a reply buffer it waits (MainThreadWait) until the reply is in
// there or none will come; others return at once, and may be sent from any thread. What is sent to
// a connection that has gone, or never was, is dropped.
void sendOver(int connectionId, Message& message);

}  // namespace Tessel::Platform

// Outgoing connections of this process: sends messages, receives replies, and detects that the peer
// is gone.
//
// Main thread, unless stated otherwise.
#pragma once

#include "platform/channel/Message.h"

#include <sys/types.h>

#include <chrono>

namespace Tessel::Platform {

// Flushes queued data while the main thread waits for something else. Called once per process, by
// the main client.
void serveConnectionsDuringWaits();

// Flag for a connection that is not a standard stream; accepted for compatibility.
inline constexpr int sideChannel = 0x40000000;

// Flag: if the backlog is full, wait up to waitForRoomLimit. For processes that cannot do without
// the connection; a process that serves others must not wait for one of them.
inline constexpr int waitForRoom = 1;
// A child connects twice, which together is less than the launch limit of three seconds.
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

// A peer that does not answer for that long while the main thread waits for it is killed and counts
// as dead, unless it is stopped or traced: then the wait ends without a reply, and the chrome is
// told. Without a limit, such a wait ends without a reply after a minute.
void killSilentPeer(int connectionId, std::chrono::milliseconds limit);

// Sends over a connection. With a reply buffer it waits (MainThreadWait) until the reply has
// arrived or cannot arrive any more; otherwise it returns at once, and may be called on any thread.
// Messages to a closed or unknown connection are dropped.
void sendOver(int connectionId, Message& message);

}  // namespace Tessel::Platform

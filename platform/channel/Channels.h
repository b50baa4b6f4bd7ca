// Channels, to which other processes connect: a channel is a listening socket in the user's
// run-time folder, named after its process and a number, so that it can be found by these two.
//
// A separate thread, the acceptor, owns all listeners of a process. It must not depend on the other
// threads: the main thread may wait for a launched child, and the web-engine thread for the chrome,
// while the processes that they wait for connect.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/channel/ChannelSocket.h"

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <memory>

namespace Tessel::Platform {

// Accepts or rejects the connections of a channel. Called on the acceptor's thread.
class ChannelOwner {
 public:
  virtual ~ChannelOwner() = default;
  // Whether the process's connections are taken. The pid is the kernel's word.
  virtual bool knows(pid_t pid) const = 0;
  // Whether the process is expected to identify itself: its connection has a separate limit and is
  // not closed in favour of others.
  virtual bool expects(pid_t pid) const = 0;
  // A process that is not known has sent its first message; it is taken if it is known afterwards.
  virtual void greet(pid_t pid, const ReceivedMessage& message) = 0;
  // Takes the connection over.
  virtual void connected(pid_t pid, ChannelSocket socket) = 0;
};

// The fixed number of a well-known channel, for the sockets of windows.
inline constexpr int windowChannel = 0;
// Chosen by openChannel, from 1.
inline constexpr int anyChannel = -1;

// Opens a channel of this process for other processes of the same user, or of root. The result is
// its number; -1 with errno set on failure. Any thread.
int openChannel(int wanted, const std::shared_ptr<ChannelOwner>& owner);
void closeChannel(int channel);
// The owner may know more processes now than before. Any thread.
void lookAtConnectionsAgain();

// Calls the function once all connections made so far have been accepted, and handed over if their
// processes are known: on the acceptor's thread, or at once if there is none. Any thread.
void afterConnections(std::function<void()> call);

// A socket to another process's channel, close-on-exec. Empty, with errno set, if there is none or
// another process listens. While the listener's queue is full it waits for room, up to the limit;
// without one it does not block. Any thread.
UniqueFd connectToChannel(pid_t pid, int channel,
                          std::chrono::milliseconds limit = std::chrono::milliseconds::zero());

}  // namespace Tessel::Platform

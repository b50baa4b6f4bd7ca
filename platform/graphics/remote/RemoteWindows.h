// The windows that one child process has, shown inside a top-level window of the application. UI
// thread.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/graphics/Window.h"

#include <memory>

namespace Tessel::Platform::Graphics {

class RemoteWindows {
 public:
  // The connection is one end of a SOCK_SEQPACKET socket whose other end a RemoteWindowSystem has.
  // The group is that of the child process: its handles are checked against it, and log lines
  // mention it. Each window of the child becomes a child window of the top-level window, with the
  // child's handle and identifier. A child that violates the protocol is disconnected, its windows
  // are removed, and one log line gives the reason. The top-level window may be destroyed first.
  RemoteWindows(UniqueFd connection, unsigned groupId, Window& topLevel);
  // Removes all windows from the screen.
  ~RemoteWindows();
  RemoteWindows(const RemoteWindows&) = delete;
  RemoteWindows& operator=(const RemoteWindows&) = delete;

  // False once the child is gone or disconnected; its windows are removed then.
  bool isConnected() const;

 private:
  class Connected;
  std::unique_ptr<Connected> connected_;
};

}  // namespace Tessel::Platform::Graphics

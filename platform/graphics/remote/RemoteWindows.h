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
  // The group is that of the child process: its handles are checked against it, and the log names
  // it. Each window of the child becomes a child window of the top-level window, with the child's
  // handle and identifier. A child that breaks the rules is told nothing any more, its windows go,
  // and one line in the log says why. The top-level window may go first.
  RemoteWindows(UniqueFd connection, unsigned groupId, Window& topLevel);
  // Takes all of them off the screen.
  ~RemoteWindows();
  RemoteWindows(const RemoteWindows&) = delete;
  RemoteWindows& operator=(const RemoteWindows&) = delete;

  // False once the child has gone or was dropped; its windows have gone then.
  bool isConnected() const;

 private:
  class Connected;
  std::unique_ptr<Connected> connected_;
};

}  // namespace Tessel::Platform::Graphics

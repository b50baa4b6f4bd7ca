// Shows the windows of child processes in the application window. UI thread.
#include "src/ChildWindows.h"

#include "ipc/IPCSenderGroup.h"
#include "platform/base/Log.h"
#include "platform/channel/Channels.h"
#include "platform/graphics/remote/RemoteWindows.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <set>

using Tessel::Platform::connectToChannel;
using Tessel::Platform::UniqueFd;
using Tessel::Platform::windowChannel;
using Tessel::Platform::Graphics::RemoteWindows;
using Tessel::Platform::Graphics::Window;

namespace {

// Handle groups, one per live child process; 0 is the application's own. Those of dead processes
// are reused last: somebody may still hold handles of their windows.
class HandleGroups {
 public:
  // 0 if all are in use.
  unsigned take() {
    for (unsigned i = 0; i < Window::lastHandleGroup; ++i) {
      last_ = last_ % Window::lastHandleGroup + 1;
      if (taken_.insert(last_).second) return last_;
    }
    return 0;
  }
  void give(unsigned group) { taken_.erase(group); }

 private:
  unsigned last_ = 0;
  std::set<unsigned> taken_;
};

struct Shown {
  unsigned handleGroup;
  std::unique_ptr<RemoteWindows> windows;
};

}  // namespace

void showWindowsOfChildren(Window& applicationWindow) {
  // Leaked, like the window.
  static auto* const byGroup = new std::map<const IPCSenderGroup*, Shown>;
  static auto* const handleGroups = new HandleGroups;
  IPCSenderGroup::onConnected([&applicationWindow](const IPCSenderGroup& group, int pid) {
    UniqueFd connection = connectToChannel(pid, windowChannel);
    const std::uint32_t handleGroup = connection ? handleGroups->take() : 0;
    // The child waits for it before it creates windows.
    if (handleGroup == 0 ||
        ::send(connection.get(), &handleGroup, sizeof handleGroup, MSG_NOSIGNAL) < 0) {
      if (connection && handleGroup == 0) errno = EMFILE;
      handleGroups->give(handleGroup);
      Tessel::Platform::logAlways(Tessel::Platform::LogError,
                                  "The windows of process %d cannot be shown: %s", pid,
                                  std::strerror(errno));
      return;
    }
    (*byGroup)[&group] = {handleGroup, std::make_unique<RemoteWindows>(
                                           std::move(connection), handleGroup, applicationWindow)};
  });
  IPCSenderGroup::onGone([](const IPCSenderGroup& group) {
    const auto gone = byGroup->extract(&group);
    if (!gone.empty()) handleGroups->give(gone.mapped().handleGroup);
  });
}

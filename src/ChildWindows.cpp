// Shows the windows of child processes in the application window. UI thread.
#include "ChildWindows.h"

#include "ipc/IPCSenderGroup.h"
#include "platform/Log.h"
#include "platform/graphics/remote/RemoteWindows.h"
#include "platform/messages/Channels.h"

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>

using Tessel::Platform::connectToChannel;
using Tessel::Platform::UniqueFd;
using Tessel::Platform::windowChannel;
using Tessel::Platform::Graphics::RemoteWindows;
using Tessel::Platform::Graphics::Window;

void showWindowsOfChildren(Window& applicationWindow) {
  // Leaked, as the window is.
  static auto* const byGroup = new std::map<const IPCSenderGroup*, std::unique_ptr<RemoteWindows>>;
  IPCSenderGroup::onConnected([&applicationWindow](const IPCSenderGroup& group, int pid) {
    UniqueFd connection = connectToChannel(pid, windowChannel);
    if (!connection) {
      Tessel::Platform::logAlways(Tessel::Platform::LogError,
                                  "The windows of process %d cannot be shown: %s", pid,
                                  std::strerror(errno));
      return;
    }
    (*byGroup)[&group] =
        std::make_unique<RemoteWindows>(std::move(connection), group.groupId(), applicationWindow);
  });
  IPCSenderGroup::onGone([](const IPCSenderGroup& group) { byGroup->erase(&group); });
}

// The services that connect the application with the desktop and the device. Main thread.
#include "src/NavigatorServices.h"

#include "platform/base/Log.h"
#include "platform/desktop/FontInfo.h"
#include "platform/desktop/gtk/SystemFont.h"
#include "platform/os/Folders.h"
#include "src/ApplicationWindow.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

using Tessel::Platform::ControlSocket;

NavigatorServices::NavigatorServices(ApplicationWindow& window)
    : window_(window), windowService_(handler_, window) {
  window_.setService(&windowService_);
  Tessel::Platform::followSystemFont();
  Tessel::Platform::FontInfo::instance().watchFiles();
  Tessel::Platform::removeStaleFiles(Tessel::Platform::runtimeFolder(), ControlSocket::namePrefix);
  control_ = ControlSocket::open(ControlSocket::pathOf(::getpid()));
  if (!control_) {
    Tessel::Platform::logAlways(Tessel::Platform::LogError,
                                "No control socket, pagehost-ctl cannot reach this program: %s",
                                std::strerror(errno));
  }
}

NavigatorServices::~NavigatorServices() {
  window_.setService(nullptr);
}

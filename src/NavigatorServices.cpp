// The services that connect the application with the desktop and the device. Main thread.
#include "src/NavigatorServices.h"

#include "platform/desktop/FontInfo.h"
#include "platform/desktop/gtk/SystemFont.h"
#include "src/ApplicationWindow.h"

NavigatorServices::NavigatorServices(ApplicationWindow& window)
    : window_(window), windowService_(handler_, window) {
  window_.setService(&windowService_);
  Tessel::Platform::followSystemFont();
  Tessel::Platform::FontInfo::instance().watchFiles();
}

NavigatorServices::~NavigatorServices() {
  window_.setService(nullptr);
}

// The one set of settings of the process.
#include "platform/os/Settings.h"

namespace Tessel::Platform {

Settings& Settings::instance() {
  // Leaked: threads that outlive main() may still ask.
  static auto* const settings = new Settings;
  return *settings;
}

}  // namespace Tessel::Platform

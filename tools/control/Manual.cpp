// What pagehost-ctl says about itself: its options, and the notifications from the program's table.
#include "tools/control/Manual.h"

#include "platform/desktop/Notifications.h"

#include <string_view>

using Tessel::Platform::ManualSection;
using Tessel::Platform::Notification;
using Tessel::Platform::Option;
using Tessel::Platform::ProgramText;

namespace {

constexpr Option options[] = {
    {"pid", "PID", "The program to talk to; needed when there are several."},
    {"watch", nullptr,
     "Prints every request of the chrome, one line of JSON each, until it is ended."},
    {"list", nullptr, "Prints the numbers of the processes of the running programs."},
};

// One for each part of the chrome that hears of them.
std::vector<ManualSection> sections() {
  std::vector<ManualSection> sections;
  std::string_view group;
  for (const Notification& each : Tessel::Platform::notifications()) {
    if (group != each.group) {
      group = each.group;
      sections.push_back({std::string("Notifications of ") + each.group, "", {}});
    }
    sections.back().entries.emplace_back(std::string(each.name) + each.parameters, each.text);
  }
  sections.push_back({"exit status",
                      "",
                      {{"0", "The notification was raised."},
                       {"1", "That failed."},
                       {"2", "There is a mistake in the command."}}});
  sections.push_back({"files",
                      "",
                      {{"$XDG_RUNTIME_DIR/pagehost/control-PID",
                        "The socket of a running program; below /tmp/pagehost-UID where the "
                        "variable is not set. The program refuses everybody but its own user and "
                        "root."}}});
  sections.push_back({"examples",
                      "pagehost-ctl onWindowState fullscreen\npagehost-ctl onRegionChange de_AT\n"
                      "pagehost-ctl onFontInfoChange \"DejaVu Serif\" 12.5",
                      {}});
  return sections;
}

}  // namespace

const ProgramText& controlText() {
  static const ProgramText text{
      "pagehost-ctl",
      "NOTIFICATION [ARGUMENT...]",
      "Raises a notification in a running pagehost, as if the desktop, the device or another "
      "application had, or shows what its chrome asks of them.",
      options,
      sections(),
      true};
  return text;
}

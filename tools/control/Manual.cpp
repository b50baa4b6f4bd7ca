// What pagehost-ctl says about itself: its options, and the program's tables of commands and
// notifications.
#include "tools/control/Manual.h"

#include "platform/control/ControlBus.h"
#include "platform/control/ControlCommands.h"
#include "platform/desktop/Notifications.h"

#include <algorithm>
#include <cctype>
#include <string_view>

using Tessel::Platform::ControlBus;
using Tessel::Platform::ControlCommand;
using Tessel::Platform::ControlResult;
using Tessel::Platform::ManualSection;
using Tessel::Platform::Notification;
using Tessel::Platform::Option;
using Tessel::Platform::ProgramText;

namespace {

constexpr Option options[] = {
    {"pid", "PID", "The program to talk to, by its process."},
    {"profile", "NAME", "The program to talk to, by its profile."},
    {"view", "NUMBER", "The web view that load, reload and eval mean; else 1, the chrome's."},
    {"timeout", "SECONDS", "How long the program may take to answer; else 25."},
};

// What there is beside the tables.
const ManualSection& commandsOfTheClient() {
  static const ManualSection section{
      "Commands",
      "",
      {{"list",
        "Prints a line for each running program: process, user, profile and address of the chrome. "
        "Root sees those of every user."},
       {"watch", "Prints every request of the chrome, one line of JSON each, until it is ended."}}};
  return section;
}

ManualSection commands() {
  ManualSection section = commandsOfTheClient();
  for (const ControlCommand& each : Tessel::Platform::controlCommands()) {
    const std::string words = wordsOf(each);
    section.entries.emplace_back(each.name + (words.empty() ? "" : " " + words), each.text);
  }
  return section;
}

const ManualSection& statusMembers() {
  static const ManualSection section{
      "Members of status",
      "",
      {{"pid, version, profile, chrome",
        "The program, as of about. Without a profile of its own that is empty. A folder that "
        "--chrome or --dev has named is a file: address."},
       {"uptime", "Seconds since the window was opened."},
       {"eval", "Whether eval is allowed."},
       {"views",
        "A list of the web views, objects with view, the handle; process, the one that it lives "
        "in; "
        "answers, which is false where that process has not answered for two seconds; and, if "
        "true, "
        "address, title, visible, private, and progress, the percentage that is loaded. Texts are "
        "cut "
        "to 4 KiB."},
       {"processes",
        "A list of the processes, objects with process, parent, role (program, launcher, web "
        "views, pages, network, graphics, sandbox or other), name, and in bytes rss; private, "
        "which is not shared with any other; and pss, with its share of shared memory. pss is null "
        "where the kernel does not tell the program: processes of pages are closed to it unless it "
        "runs as root."},
       {"rss, private, pss",
        "Their sums. pss is null if that of any process is. private is what --memory-limit "
        "bounds."}}};
  return section;
}

// One for each part of the chrome that hears of them.
void addNotifications(std::vector<ManualSection>& sections) {
  std::string_view group;
  for (const Notification& each : Tessel::Platform::notifications()) {
    if (group != each.group) {
      group = each.group;
      sections.push_back({std::string("Notifications of ") + each.group, "", {}});
    }
    sections.back().entries.emplace_back(std::string(each.name) + each.parameters, each.text);
  }
}

std::vector<ManualSection> sections() {
  std::vector<ManualSection> sections{commands(), statusMembers()};
  addNotifications(sections);
  sections.push_back(
      {"D-Bus",
       "",
       {{std::string(ControlBus::applicationName) + ".ProcessPID",
         std::string("The name of each program on the session's bus; the one that the desktop "
                     "starts has ") +
             ControlBus::applicationName + " as well. The object " + ControlBus::path +
             " has the interface " + ControlBus::interface +
             ": the commands above from about on, written as Status, with the web view as the "
             "first argument "
             "where there is one. JSON comes as a text, a picture as a file descriptor."}}});
  sections.push_back(
      {"exit status",
       "",
       {{"0", "It was done."},
        {"1", "The program refused, or could not do it; what a script has thrown, too."},
        {"2", "There is a mistake in the command."},
        {"3", "No program is running, or several, and none was chosen."},
        {"4", "The program did not answer in time."}}});
  sections.push_back({"files",
                      "",
                      {{"$XDG_RUNTIME_DIR/pagehost/control-PID",
                        "The socket of a running program; below /tmp/pagehost-UID where the "
                        "variable is not set. The program refuses everybody but its own user and "
                        "root."}}});
  sections.push_back({"examples",
                      "pagehost-ctl status\npagehost-ctl load https://panel.example/\n"
                      "pagehost-ctl screenshot - >window.png\n"
                      "pagehost-ctl --view 2 eval document.title\n"
                      "pagehost-ctl onWindowState fullscreen\npagehost-ctl onRegionChange de_AT\n"
                      "pagehost-ctl onFontInfoChange \"DejaVu Serif\" 12.5",
                      {}});
  return sections;
}

}  // namespace

std::string wordsOf(const ControlCommand& command) {
  std::string words;
  const auto add = [&](std::string word, const char* end) {
    std::transform(word.begin(), word.end(), word.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    words.append(words.empty() ? "" : " ").append(word).append(end);
  };
  for (const auto& parameter : command.parameters) {
    const std::string_view type = parameter.type;
    if (type == "s") add(parameter.name, "");
    if (type == "as") add(parameter.name, "...");
  }
  if (command.result == ControlResult::File) add("file", "");
  return words;
}

const ProgramText& controlText() {
  static const ProgramText text{"pagehost-ctl",
                                "COMMAND [ARGUMENT...]",
                                "Controls a running pagehost: tells how it does, loads pages, "
                                "takes pictures; or raises a notification "
                                "in it, as if the desktop, the device or another application had.",
                                options,
                                sections(),
                                true};
  return text;
}

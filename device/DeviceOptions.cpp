// The options and the configuration of pagehost-device. Main thread.
#include "device/DeviceOptions.h"

#include "platform/options/CommandLine.h"
#include "platform/options/KeyFile.h"

#include <string_view>

namespace Device {

using Tessel::Platform::endMisused;

namespace {

constexpr const char* program = "pagehost-device";

constexpr Tessel::Platform::Option options[] = {
    {"config", "FILE", "Reads this configuration file in place of the user's and the system's."},
    {"root", "FOLDER", "Where /sys and /etc are, for tests."},
};

std::vector<std::pair<std::string, std::string>> keys() {
  std::vector<std::pair<std::string, std::string>> list;
  for (const PermissionRow& row : permissions()) {
    list.emplace_back(std::string(row.key) + "=true",
                      std::string("Whoever writes shared objects may set ") + row.meaning + ".");
  }
  return list;
}

const Tessel::Platform::ProgramText& programText() {
  static const Tessel::Platform::ProgramText text{
      program,
      "",
      "Keeps shared objects about the device up to date, below device/: power, network, sound and "
      "so on. A service that is not running is waited for.",
      options,
      {{"configuration files",
        "~/.config/pagehost/device.conf, then /etc/pagehost/device.conf: a line [device], and "
        "below "
        "it what may be set by writing to the objects. Nothing may that is not named.",
        keys()},
       {"exit status",
        "",
        {{"0", "It was asked to end."},
         {"1", "The objects cannot be kept, or the system's bus has gone."},
         {"2", "An option or a configuration file is wrong."}}}}};
  return text;
}

Permissions readPermissions(const std::string& file) {
  Tessel::Platform::Configuration configuration;
  std::string problem;
  if (!Tessel::Platform::readConfigurations(file, "device.conf", "device", true, configuration,
                                            problem)) {
    endMisused(program, problem);
  }
  Permissions allowed;
  for (const PermissionRow& row : permissions()) {
    const auto found = configuration.find(row.key);
    if (found == configuration.end()) continue;
    const auto& [text, place] = found->second;
    if (!Tessel::Platform::isSwitchText(text)) {
      endMisused(program,
                 std::string(place).append(": \"").append(text).append("\" is not true or false"));
    }
    if (Tessel::Platform::isSwitchedOnText(text)) allowed.insert(row.permission);
    configuration.erase(found);
  }
  for (const auto& [key, value] : configuration) {
    endMisused(program, value.place + ": there is no key \"" + key + "\"");
  }
  return allowed;
}

}  // namespace

Options takeOptions(int argc, char** argv) {
  const auto line = Tessel::Platform::readCommandLine(programText(), argc, argv);
  if (line.words.size() > 2) endMisused(program, std::string(line.words[1]) + " is no option");
  Options options;
  std::string file;
  for (const auto& [option, value] : line.options) {
    (std::string_view(option->name) == "config" ? file : options.root) = value;
  }
  options.allowed = readPermissions(file);
  return options;
}

}  // namespace Device

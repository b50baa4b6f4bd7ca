// The options of the launcher server.
#include "src/ServerOptions.h"

#include "platform/options/CommandLine.h"

#include <grp.h>
#include <pwd.h>

#include <charconv>
#include <optional>
#include <string>
#include <string_view>

using Tessel::Platform::Option;

namespace {

constexpr const char* program = "pagehost-server";

constexpr Option options[] = {
    {"user", "USER", "Becomes this user, who may ask for applications as root may; else 89."},
    {"group", "GROUP", "Becomes this group; else 214."},
    {"lowest-uid", "NUMBER", "Applications run as no user below this; else 89."},
};

const Tessel::Platform::ProgramText& serverText() {
  static const Tessel::Platform::ProgramText text{
      program,
      "",
      "Waits for requests to launch applications, and forks each from itself: see pagehost-launch. "
      "It starts as root.",
      options,
      {{"files",
        "",
        {{"/dev/webkit",
          "Where it is found, below the folder TESSEL_RESMGR_ROOT if that is set."}}},
       {"exit status",
        "",
        {{"1", "It could not serve."}, {"2", "It was started with what it does not take."}}}}};
  return text;
}

std::optional<unsigned> numberFrom(std::string_view text) {
  unsigned number = 0;
  const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isNumber = error == std::errc() && last == text.data() + text.size();
  return isNumber ? std::optional(number) : std::nullopt;
}

std::optional<unsigned> userFrom(const std::string& text) {
  if (const auto number = numberFrom(text)) return number;
  const passwd* const record = ::getpwnam(text.c_str());
  return record ? std::optional(record->pw_uid) : std::nullopt;
}

std::optional<unsigned> groupFrom(const std::string& text) {
  if (const auto number = numberFrom(text)) return number;
  const group* const record = ::getgrnam(text.c_str());
  return record ? std::optional(record->gr_gid) : std::nullopt;
}

}  // namespace

LauncherConfiguration takeServerOptions(int argc, char** argv) {
  const auto line = Tessel::Platform::readCommandLine(serverText(), argc, argv);
  if (line.words.size() > 2) {
    Tessel::Platform::endMisused(program, "It takes no words but options");
  }
  LauncherConfiguration configuration;
  for (const auto& [option, value] : line.options) {
    const std::string_view name = option->name;
    const std::optional<unsigned> id = name == "user"    ? userFrom(value)
                                       : name == "group" ? groupFrom(value)
                                                         : numberFrom(value);
    // With 0 the server would keep running as root, or its children could become root.
    if (!id || *id == 0) {
      Tessel::Platform::endMisused(
          program, "--" + std::string(name) + ": \"" + value + "\" is root's, or nobody's");
    }
    if (name == "user") configuration.serverUser = *id;
    if (name == "group") configuration.serverGroup = *id;
    if (name == "lowest-uid") configuration.lowestUser = *id;
  }
  return configuration;
}

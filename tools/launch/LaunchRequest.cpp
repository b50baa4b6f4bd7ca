// Serialises the options as a launch request.
#include "platform/os/DeviceProtocol.h"
#include "src/LauncherRequest.h"
#include "tools/launch/LaunchOptions.h"

#include <cstring>

std::vector<char> requestOf(const LaunchOptions& options, std::string& problem) {
  LauncherRequest header{};
  header.version = options.directory ? 2 : 1;
  header.priority = options.priority;
  header.uid = static_cast<std::int32_t>(options.uid);
  header.gid = static_cast<std::int32_t>(options.gid);
  header.ngroups = static_cast<std::int32_t>(options.groups.size());
  header.argc = static_cast<std::int32_t>(options.arguments.size());
  header.envc = static_cast<std::int32_t>(options.environment.size());

  std::vector<char> request(sizeof header + options.groups.size() * sizeof(gid_t));
  std::memcpy(request.data(), &header, sizeof header);
  if (!options.groups.empty()) {
    std::memcpy(request.data() + sizeof header, options.groups.data(),
                options.groups.size() * sizeof(gid_t));
  }
  const auto append = [&](const std::string& text) {
    request.insert(request.end(), text.c_str(), text.c_str() + text.size() + 1);
  };
  for (const std::string& argument : options.arguments) append(argument);
  for (const auto& [name, value] : options.environment) {
    request.insert(request.end(), name.begin(), name.end());
    request.push_back('=');
    append(value);
  }
  if (options.directory) append(*options.directory);

  const std::size_t largest = largestLaunchMessage - sizeof(Tessel::Platform::DeviceMessageHeader);
  if (request.size() > largest) {
    problem = "Arguments, variables and folder take " + std::to_string(request.size()) +
              " bytes; the server takes " + std::to_string(largest) + ".";
    request.clear();
  }
  return request;
}

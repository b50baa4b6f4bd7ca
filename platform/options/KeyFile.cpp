// Parses the configuration files with GLib. GLib does not report line numbers, so they are searched
// for afterwards.
#include "platform/options/KeyFile.h"

#include <glib.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <string_view>

namespace Tessel::Platform {

namespace {

constexpr std::string_view onWords[] = {"1", "true", "yes", "on"};
constexpr std::string_view offWords[] = {"0", "false", "no", "off"};

using Text = std::unique_ptr<gchar, decltype(&g_free)>;

std::string_view trimmed(std::string_view text) {
  constexpr const char* blanks = " \t\r";
  const auto first = text.find_first_not_of(blanks);
  return first == std::string_view::npos
             ? ""
             : text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

// The number of the last matching line, counted from 1; 0 if there is none.
int lineOf(std::string_view text, const std::function<bool(std::string_view)>& isWanted) {
  int found = 0;
  for (int line = 1; !text.empty(); ++line) {
    const auto end = std::min(text.find('\n'), text.size());
    if (isWanted(trimmed(text.substr(0, end)))) found = line;
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return found;
}

bool isNothingOfAKeyFile(std::string_view line) {
  return !line.empty() && line[0] != '#' && line[0] != '[' &&
         line.find('=') == std::string_view::npos;
}

std::string placeIn(const std::string& path, int line) {
  return line == 0 ? path : path + ":" + std::to_string(line);
}

// Adds what the file says. What is wrong with a value, with its place, else nothing.
std::string add(GKeyFile* file, const char* groupName, const std::string& path,
                std::string_view content, Configuration& configuration) {
  std::string problem;
  gchar** const keys = g_key_file_get_keys(file, groupName, nullptr, nullptr);
  for (gchar** key = keys; key && *key; ++key) {
    GError* error = nullptr;
    const Text value(g_key_file_get_string(file, groupName, *key, &error), g_free);
    const int line = lineOf(content, [&](std::string_view each) {
      return trimmed(each.substr(0, each.find('='))) == *key &&
             each.find('=') != std::string_view::npos;
    });
    if (error) problem = placeIn(path, line) + ": " + error->message;
    g_clear_error(&error);
    configuration[*key] = {value ? value.get() : "", placeIn(path, line)};
  }
  g_strfreev(keys);
  return problem;
}

}  // namespace

bool readConfiguration(const std::string& path, const char* groupName, bool mustExist,
                       Configuration& configuration, std::string& problem) {
  // Also where its folder is none, or is closed to this user. Reading a pipe might never end.
  if (!g_file_test(path.c_str(), G_FILE_TEST_IS_REGULAR)) {
    if (mustExist) problem = path + ": there is no such file";
    return !mustExist;
  }
  gchar* bytes = nullptr;
  gsize size = 0;
  GError* error = nullptr;
  if (!g_file_get_contents(path.c_str(), &bytes, &size, &error)) {
    problem = error->message;
    g_error_free(error);
    return false;
  }
  const Text owned(bytes, g_free);
  const std::string_view content(bytes, size);
  const std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)> file(g_key_file_new(),
                                                                    g_key_file_unref);
  if (!g_key_file_load_from_data(file.get(), bytes, size, G_KEY_FILE_NONE, &error)) {
    problem = placeIn(path, lineOf(content, isNothingOfAKeyFile)) + ": " + error->message;
    g_error_free(error);
    return false;
  }
  gchar** const groups = g_key_file_get_groups(file.get(), nullptr);
  for (gchar** group = groups; *group; ++group) {
    if (std::string_view(*group) == groupName) continue;
    const std::string heading = std::string("[") + *group + "]";
    const int line = lineOf(content, [&](std::string_view each) { return each == heading; });
    problem = placeIn(path, line) + ": the only group is [" + groupName + "]";
  }
  g_strfreev(groups);
  if (!problem.empty()) return false;
  problem = add(file.get(), groupName, path, content, configuration);
  return problem.empty();
}

bool readConfigurations(const std::string& file, const char* name, const char* groupName,
                        bool readsUsers, Configuration& configuration, std::string& problem) {
  if (!file.empty()) return readConfiguration(file, groupName, true, configuration, problem);
  const std::string system = std::string("/etc/pagehost/") + name;
  const std::string users = std::string(g_get_user_config_dir()) + "/pagehost/" + name;
  return readConfiguration(system, groupName, false, configuration, problem) &&
         (!readsUsers || readConfiguration(users, groupName, false, configuration, problem));
}

bool isSwitchedOnText(std::string_view text) {
  return std::find(std::begin(onWords), std::end(onWords), text) != std::end(onWords);
}

bool isSwitchText(std::string_view text) {
  return isSwitchedOnText(text) ||
         std::find(std::begin(offWords), std::end(offWords), text) != std::end(offWords);
}

}  // namespace Tessel::Platform

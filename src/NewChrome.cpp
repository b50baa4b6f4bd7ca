// Writes a chrome from a template: the files of templates/common and those of the template itself,
// with @NAME@ and the like replaced. Main thread.
#include "src/NewChrome.h"

#include "platform/options/CommandLine.h"
#include "src/DataFolders.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using Tessel::Platform::endMisused;

namespace {

constexpr std::size_t longestName = 64;
// What each template adds to the README.
constexpr const char* aboutFile = "ABOUT.md";
using Replacements = std::vector<std::pair<std::string, std::string>>;

std::string contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) throw std::system_error(errno, std::generic_category(), path.string());
  return text.str();
}

std::string replaced(std::string text, const Replacements& replacements) {
  for (const auto& [mark, value] : replacements) {
    for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
      text.replace(at, mark.size(), value);
      at += value.size();
    }
  }
  return text;
}

void copyFile(const fs::path& from, const fs::path& to, const Replacements& replacements) {
  fs::create_directories(to.parent_path());
  std::ofstream file(to, std::ios::binary);
  file << replaced(contentOf(from), replacements);
  file.close();
  if (!file) throw std::system_error(errno, std::generic_category(), to.string());
}

// The names of files are replaced as well.
void copyTree(const fs::path& from, const fs::path& to, const Replacements& replacements) {
  for (const fs::directory_entry& each : fs::recursive_directory_iterator(from)) {
    const fs::path name = fs::relative(each.path(), from);
    if (!each.is_regular_file() || name == aboutFile) continue;
    copyFile(each.path(), to / replaced(name.string(), replacements), replacements);
  }
}

std::string templateNames(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code ignored;
  for (const fs::directory_entry& each : fs::directory_iterator(folder, ignored)) {
    const std::string name = each.path().filename();
    if (each.is_directory() && name != "common") names.push_back(name);
  }
  std::sort(names.begin(), names.end());
  std::string text;
  for (const std::string& name : names) text.append(text.empty() ? "" : ", ").append(name);
  return text;
}

// It becomes the name of a package and of a unit.
bool isGoodName(std::string_view name) {
  return !name.empty() && name.size() <= longestName && g_ascii_isalpha(name[0]) &&
         std::all_of(name.begin(), name.end(), [](char each) {
           return g_ascii_islower(each) || g_ascii_isdigit(each) || each == '-';
         });
}

void write(const fs::path& target, const fs::path& own, const Replacements& replacements) {
  const fs::path bundled = bundledFolder();
  // Beside it, so that it is renamed into place as a whole.
  fs::path unfinished = target;
  unfinished += ".new-" + std::to_string(::getpid());
  try {
    copyTree(bundled / "templates/common", unfinished, replacements);
    copyTree(own, unfinished, replacements);
    for (const char* types : {"native.d.ts", "pagehost.d.ts"}) {
      copyFile(bundled / "chrome" / types, unfinished / "types" / types, {});
    }
    fs::rename(unfinished, target);
  } catch (...) {
    std::error_code ignored;
    fs::remove_all(unfinished, ignored);
    throw;
  }
}

}  // namespace

void makeNewChrome(const WantedChrome& wanted) {
  fs::path target = fs::absolute(wanted.folder).lexically_normal();
  if (!target.has_filename()) target = target.parent_path();
  const std::string name = target.filename();
  const fs::path templates = fs::path(bundledFolder()) / "templates";
  const fs::path own = templates / wanted.templateName;
  if (!isGoodName(name)) {
    endMisused("pagehost", "new: \"" + name +
                               "\" is no name for a chrome: small letters, digits and '-', and a "
                               "letter first");
  }
  const bool isTemplate = wanted.templateName.find('/') == std::string::npos &&
                          wanted.templateName != "common" && fs::exists(own / aboutFile);
  if (!isTemplate) {
    endMisused("pagehost", "--template: there is no \"" + wanted.templateName +
                               "\"; there are: " + templateNames(templates));
  }
  std::error_code ignored;
  if (fs::exists(target, ignored) && !fs::is_empty(target, ignored)) {
    endMisused("pagehost", "new: " + target.string() + " is there already");
  }
  try {
    write(target, own,
          {{"@ABOUT@", contentOf(own / aboutFile)},
           {"@NAME@", name},
           {"@TEMPLATE@", wanted.templateName},
           {"@VERSION@", PAGEHOST_VERSION}});
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "pagehost: %s could not be written: %s\n", target.c_str(), problem.what());
    std::exit(EXIT_FAILURE);
  }
  std::printf(
      "%s is a chrome now, from the template %s. See it, and change it:\n"
      "  pagehost --dev %s\nIts README.md says what comes next.\n",
      target.c_str(), wanted.templateName.c_str(), wanted.folder.c_str());
  std::exit(std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE);
}

// Where the files are that come with the program, and where the chrome is. Main thread.
#include "src/DataFolders.h"

#include "src/ProgramOptions.h"

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>

namespace {

// The folder named by the environment variable, if any; else the one next to the executable (the
// layout of a build tree); else the installed one.
std::string folderFor(const char* variable, const char* besideExecutable, const char* installed) {
  const char* named = variable ? std::getenv(variable) : nullptr;
  if (named && *named) {
    char resolved[PATH_MAX];
    return ::realpath(named, resolved) ? resolved : named;
  }
  char executable[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", executable, sizeof executable - 1);
  if (length > 0) {
    const std::string path(executable, static_cast<std::size_t>(length));
    std::string beside = path.substr(0, path.rfind('/') + 1) + besideExecutable;
    struct stat status {};
    if (::stat(beside.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return beside;
  }
  return installed;
}

}  // namespace

std::string moduleFolder() {
  return folderFor("PAGEHOST_MODULE_PATH", "modules", PAGEHOST_MODULE_FOLDER);
}

std::string bundledFolder() {
  return folderFor(nullptr, "share", PAGEHOST_DATA_FOLDER);
}

LocalRoots localRoots() {
  const char* app = std::getenv(chromeFolderVariable);
  return {folderFor("TESSEL_LOCAL_ROOT", "share", PAGEHOST_DATA_FOLDER), app ? app : "",
          bundledFolder() + "/chrome"};
}

std::string chromeAddress() {
  const char* named = std::getenv("CHROME_URL");
  return named && *named ? named : bundledChrome;
}

std::string chromeIdentity() {
  std::string address = chromeAddress();
  const char* folder = std::getenv(chromeFolderVariable);
  if (!folder || !address.starts_with("local://app/")) return address;
  gchar* const uri = g_filename_to_uri(folder, nullptr, nullptr);
  if (uri) address = uri;
  g_free(uri);
  return address;
}

// Reads the capabilities of origins from a file beside the chrome. Main thread, at start.
#include "src/ChromeCapabilities.h"

#include "engine/webkit/network/LocalScheme.h"
#include "platform/base/Log.h"
#include "platform/base/UniqueFd.h"
#include "src/DataFolders.h"

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::UniqueFd;

namespace {

constexpr const char* fileName = "capabilities.json";
// Sanity limit.
constexpr std::size_t longestFile = std::size_t{1} << 20;

struct NamedFile {
  std::string name;  // empty for none
  UniqueFd file;
};

NamedFile openFile(std::string path) {
  UniqueFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  return {std::move(path), std::move(file)};
}

NamedFile openBeside(const std::string& chromeUrl) {
  const std::string address = chromeUrl.substr(0, chromeUrl.find_first_of("?#"));
  const std::string beside = address.substr(0, address.rfind('/') + 1) + fileName;
  if (beside.starts_with("local:")) {
    return {beside, openBelow(localRoots().of(beside), pathOf(beside))};
  }
  gchar* path = g_filename_from_uri(beside.c_str(), nullptr, nullptr);
  const std::string name = path ? path : "";
  g_free(path);
  return name.empty() ? NamedFile() : openFile(name);
}

// False, with errno set, if it cannot be read.
bool readAll(const UniqueFd& file, std::string& text) {
  std::array<char, 4096> piece;
  for (;;) {
    const ssize_t count = ::read(file.get(), piece.data(), piece.size());
    if (count < 0) return false;
    if (count == 0) return true;
    text.append(piece.data(), static_cast<std::size_t>(count));
    if (text.size() > longestFile) {
      errno = EFBIG;
      return false;
    }
  }
}

}  // namespace

Capabilities chromeCapabilities(const char* chromeUrl) {
  const char* variable = std::getenv("PAGEHOST_CAPABILITIES");
  const bool isNamed = variable && *variable;
  const NamedFile source = isNamed ? openFile(variable) : openBeside(chromeUrl);
  std::string problem;
  std::string text;
  if (!source.file || !readAll(source.file, text)) {
    if (source.name.empty() || (!isNamed && errno == ENOENT)) return {};
    problem = std::string(" ") + std::strerror(errno);
  } else if (auto capabilities = Capabilities::read(text, problem)) {
    logAlways(LogNotice, "The native functions that origins may call are read from %s.",
              source.name.c_str());
    return *std::move(capabilities);
  }
  logAlways(LogError, "%s:%s Only the chrome may call native functions.", source.name.c_str(),
            problem.c_str());
  return {};
}

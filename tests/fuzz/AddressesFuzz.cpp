// Addresses of pages and of clients: their origins, display texts and local files.
#include "engine/TrustedLoads.h"
#include "engine/webkit/network/LocalScheme.h"
#include "platform/hosts/HostNames.h"
#include "platform/inspector_server/PageList.h"
#include "tests/fuzz/Fuzz.h"

#include <fstream>

using Tessel::Platform::String;

namespace {

// A tree with a file, a folder and links that lead out of it.
std::string makeRoot() {
  const auto place = fuzz::folder();
  std::filesystem::create_directories(place / "root/a");
  for (const char* name : {"root/f", "root/a/index.html", "secret"})
    std::ofstream(place / name) << name;
  std::filesystem::create_symlink("../secret", place / "root/l");
  std::filesystem::create_directory_symlink("..", place / "root/d");
  return place / "root";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace Tessel::Platform;
  static const auto* const root = new std::string(makeRoot());
  const std::string text(reinterpret_cast<const char*>(data), size);

  const Origin origin = Origin::of(text);
  fuzz::require(origin.isNone() || origin.holds(text));
  fuzz::require(origin.isNone() || Origin::of(origin.text().view()).text() == origin.text());

  if (const auto file = openBelow(*root, text); file) {
    const auto path = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(file.get()));
    fuzz::require(path == *root + "/f" || path == *root + "/a/index.html");
  }
  mimeTypeOf(text);

  // Decoding for display is idempotent.
  const String readable = idnToReadableUtf8String(text, "de");
  fuzz::require(idnToReadableUtf8String(readable, "de") == readable);

  const auto socket = socketPathFrom(text);
  fuzz::require(socket.handle == 0 || text.starts_with("/socket/"));
  handleFrom(text);
  if (isLocalHost(text)) {
    fuzz::require(text.find_first_not_of("0123456789.:[]localhostLOCALHOST") == text.npos);
  }
  return 0;
}

// Writes the reference of native functions, events and objects of the device, or checks that it is
// up to date. Main thread.
#include "device/Members.h"
#include "tools/reference/Writers.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

int usage() {
  std::fputs("Usage: generate_reference [--check] ROOT\n", stderr);
  return 2;
}

std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

bool writeFile(const std::string& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) std::fprintf(stderr, "generate_reference: %s cannot be written\n", path.c_str());
  return static_cast<bool>(file);
}

bool checkFile(const std::string& path, const std::string& text) {
  const bool current = contentOf(path) == text;
  if (!current) {
    std::fprintf(stderr, "%s is not what the tables say: run tools/generate-reference.sh\n",
                 path.c_str());
  }
  return current;
}

}  // namespace

int main(int argc, char** argv) {
  const bool checks = argc == 3 && std::strcmp(argv[1], "--check") == 0;
  if (argc != 2 && !checks) return usage();
  const std::string root = argv[argc - 1];

  reference::Reference reference;
  reference.functions = reference::nativeFunctions(reference.records);
  reference.events = reference::eventsOfWebViews(reference.records);
  const auto use = checks ? checkFile : writeFile;
  const bool functions = use(root + "/docs/native-functions.md", reference::markdown(reference));
  const bool types = use(root + "/chrome/native.d.ts", reference::typeScript(reference));
  const bool objects = use(root + "/docs/device-objects.md", Device::objectsReference());
  return functions && types && objects ? 0 : 1;
}

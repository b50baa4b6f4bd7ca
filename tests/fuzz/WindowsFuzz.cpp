// Window records from a child process, and the files with their contents.
#include "platform/graphics/MemoryWindowSystem.h"
#include "platform/graphics/remote/Records.h"
#include "platform/graphics/remote/RemoteWindows.h"
#include "platform/graphics/remote/WindowConnection.h"
#include "platform/sockets/Transfer.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Waiting.h"

#include <fcntl.h>
#include <sys/mman.h>

using namespace Tessel::Platform;
using namespace Tessel::Platform::Graphics;
using namespace Tessel::Platform::Graphics::Remote;

namespace {

constexpr unsigned group = 3;
constexpr int handle = (3 << 20) + 1;

Window& topLevel() {
  static auto* const window = [] {
    WindowSystem::install(std::make_unique<MemoryWindowSystem>());
    return new Window(WindowType::Application, nullptr, IntRect{0, 0, 400, 300}, IntRect{},
                      IntSize{}, 0, false, "remote");
  }();
  return *window;
}

// A valid record with some bytes changed.
template <typename Record>
std::string record(fuzz::Input& input, Record sound = {}) {
  sound.header = {Record::recordType, handle + input.ConsumeIntegralInRange(0, 2)};
  if (input.ConsumeBool()) fuzz::overwrite(input, sound);
  std::string bytes(reinterpret_cast<const char*>(&sound), sizeof sound);
  if (input.ConsumeIntegral<std::uint8_t>() == 7)
    bytes.resize(input.ConsumeIntegralInRange(0, 30000));
  return bytes;
}

std::string nextRecord(fuzz::Input& input) {
  switch (input.ConsumeIntegralInRange(0, 6)) {
    case 0: {
      WindowRecord window{};
      window.rect = {10, 20, 30, 40};
      window.globalAlpha = 255;
      window.visible = window.hasContent = 1;
      return record(input, window);
    }
    case 1:
      return record<WindowGoneRecord>(input);
    case 2:
      return record<FillRecord>(input);
    case 3: {
      FrameRecord frame{};
      frame.width = 30;
      frame.height = 40;
      frame.scale = 1;
      frame.newFile = input.ConsumeBool();
      frame.rectCount = 1;
      frame.rects[0] = {1, 2, 3, 4};
      return record(input, frame);
    }
    case 4:
      return record<CursorRecord>(input);
    case 5:
      return record<KeyboardRequestRecord>(input);
    default:
      return input.ConsumeRandomLengthString();
  }
}

UniqueFd file(fuzz::Input& input) {
  if (input.ConsumeBool()) return UniqueFd();
  UniqueFd memory(::memfd_create("fuzz", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  const off_t frames = 2 * 30 * 40 * 4;
  const off_t size = input.ConsumeBool() ? frames : input.ConsumeIntegralInRange(0, 65536);
  fuzz::require(::ftruncate(memory.get(), size) == 0);
  if (input.ConsumeIntegral<std::uint8_t>() != 7) {
    ::fcntl(memory.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL);
  }
  return memory;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  auto [here, child] = test_support::socketPair(SOCK_SEQPACKET);
  RemoteWindows windows(std::move(here), group, topLevel());
  while (input.remaining_bytes() > 0 && windows.isConnected()) {
    const std::string bytes = nextRecord(input);
    const UniqueFd picture = file(input);
    Tessel::Platform::trySend(child.get(), bytes, picture.get());
    test_support::turnLoop();
  }
  return 0;
}

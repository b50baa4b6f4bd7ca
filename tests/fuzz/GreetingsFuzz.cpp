// Input of unknown processes to the listener for web processes: only an issued token is accepted.
#include "engine/webkit/link/Frame.h"
#include "engine/webkit/link/LinkListener.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/Waiting.h"

using Tessel::Platform::UniqueFd;

namespace {

int welcomed = 0;

LinkListener& listener() {
  static auto* const made =
      new LinkListener(fuzz::folder(), [](UniqueFd, pid_t, const std::string&) { ++welcomed; });
  return *made;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const bool isSound = input.ConsumeBool();
  link_protocol::FrameHeader header{32, 0, 0, 0, 0};
  if (!isSound) fuzz::overwrite(input, header);
  const bool hasToken = input.ConsumeBool();
  std::string token = hasToken ? listener().issueToken() : input.ConsumeBytesAsString(32);
  const std::string greeting = std::string(reinterpret_cast<const char*>(&header), sizeof header) +
                               token + input.ConsumeRandomLengthString();
  const UniqueFd socket = test_support::socketAt(listener().address());
  fuzz::require(bool(socket));
  test_support::turnLoop();
  welcomed = 0;
  const auto cut = input.ConsumeIntegralInRange<std::size_t>(0, greeting.size());
  for (const auto& part : {greeting.substr(0, cut), greeting.substr(cut)}) {
    ::send(socket.get(), part.data(), part.size(), MSG_NOSIGNAL);
    test_support::turnLoop();
  }
  fuzz::require(welcomed == (hasToken && header.size == 32 && header.kind == 0 ? 1 : 0));
  return 0;
}

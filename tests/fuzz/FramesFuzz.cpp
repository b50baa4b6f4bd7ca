// Frames from a web process over the page link, and their payloads.
#include "engine/webkit/link/LinkSocket.h"
#include "tests/engine/webkit/link/FrameRules.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/support/LocalSocket.h"

using namespace link_protocol;

namespace {

void readStream(const std::string& bytes, std::size_t cut) {
  auto [here, peer] = test_support::socketPair();
  LinkSocket socket(std::move(here));
  std::deque<Frame> frames;
  bool alive = true;
  for (const auto& part : {bytes.substr(0, cut), bytes.substr(cut)}) {
    fuzz::require(::send(peer.get(), part.data(), part.size(), 0) ==
                  static_cast<ssize_t>(part.size()));
    alive = alive && socket.receive(frames, LinkSocket::Mode::Poll);
  }
  std::size_t total = 0;
  for (const Frame& frame : frames) {
    fuzz::require(static_cast<std::uint32_t>(frame.kind) < frameKindCount);
    total += sizeof(FrameHeader) + frame.payload.size();
  }
  fuzz::require(total <= bytes.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const auto cut = input.ConsumeIntegral<std::uint16_t>();
  const std::string bytes = input.ConsumeRemainingBytesAsString();
  fuzz::require(frame_rules::everyDecoderKeeps(bytes));
  readStream(bytes, std::min<std::size_t>(cut, bytes.size()));
  return 0;
}

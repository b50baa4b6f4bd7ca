// What a web process that was taken over could send: valid bytes with damage, always the same.
#include "engine/webkit/link/LinkSocket.h"
#include "tests/link/FrameSamples.h"
#include "tests/link/ScriptedPeer.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

namespace {

using namespace link_protocol;
using namespace test_support;

constexpr int mutations = 200000;

class Mutator {
 public:
  std::size_t below(std::size_t limit) { return random_() % limit; }

  // One to four faults.
  std::string damage(std::string bytes) {
    for (auto faults = 1 + below(4); faults > 0; --faults) damageOnce(bytes);
    return bytes;
  }

 private:
  void damageOnce(std::string& bytes) {
    const std::size_t at = below(bytes.size() + 1);
    switch (below(6)) {
      case 0:
        bytes.insert(at, 1 + below(8), static_cast<char>(random_()));
        break;
      case 1:
        bytes.erase(at, 1 + below(8));
        break;
      case 2:
        bytes.resize(at);
        break;
      case 3: {
        constexpr std::array<std::uint32_t, 8> lengths{
            0, 1, 0x7fffffff, 0x80000000, 0xffffffff, 65536, 65537, maximumPayload + 1};
        const std::string number = rawBytes(lengths[below(lengths.size())]);
        bytes.replace(at, std::min(number.size(), bytes.size() - at), number);
        break;
      }
      default:
        if (at < bytes.size()) bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
    }
  }

  std::mt19937 random_{20240611};
};

// What is accepted is exactly what an encoder would have written.
template <typename Record>
bool acceptsOnlyItsOwn(const std::string& payload) {
  Record record;
  if (!decode(payload, record)) return false;
  EXPECT_TRUE(encode(record) == payload) << testing::PrintToString(payload);
  return true;
}

bool decodeAsEverything(const std::string& payload) {
  // Not short-circuited: each decoder is to see every payload.
  return acceptsOnlyItsOwn<FunctionCall>(payload) | acceptsOnlyItsOwn<JavaScriptVariant>(payload) |
         acceptsOnlyItsOwn<PageSetup>(payload) | acceptsOnlyItsOwn<DialogQuestion>(payload) |
         acceptsOnlyItsOwn<DialogAnswer>(payload) | acceptsOnlyItsOwn<NativeArguments>(payload);
}

std::vector<std::string> samplePayloads() {
  std::vector<std::string> payloads;
  forEachSampleList([&](const auto& samples) {
    for (const auto& sample : samples) payloads.push_back(encode(sample));
  });
  return payloads;
}

TEST(FrameFuzzTest, DamagedPayloadsAreDecodedOrRefused) {
  const auto payloads = samplePayloads();
  Mutator mutator;
  int accepted = 0;
  for (int i = 0; i < mutations && !testing::Test::HasFailure(); ++i) {
    const std::string payload = mutator.damage(payloads[mutator.below(payloads.size())]);
    if (decodeAsEverything(payload)) ++accepted;
  }
  // The damage must leave both: else half of the decoders' code is not reached.
  EXPECT_GT(accepted, mutations / 50);
  EXPECT_LT(accepted, mutations * 49 / 50);
}

TEST(FrameFuzzTest, DamagedStreamsGiveFramesOrEnd) {
  const auto payloads = samplePayloads();
  Mutator mutator;
  constexpr int framesOfAStream = 20;
  int arrived = 0;
  int ended = 0;
  for (int i = 0; i < mutations / framesOfAStream; ++i) {
    std::string bytes;
    for (int j = 0; j < framesOfAStream; ++j) {
      const auto kind = static_cast<std::uint32_t>(mutator.below(frameKindCount));
      const std::string frame = rawFrame(kind, payloads[mutator.below(payloads.size())], 1, 2);
      // Most of the damage late in the stream is only seen when what is before it is whole.
      bytes += mutator.below(framesOfAStream) == 0 ? mutator.damage(frame) : frame;
    }
    auto [here, there] = socketPair();
    LinkSocket socket(std::move(here));
    const std::size_t cut = mutator.below(bytes.size() + 1);
    std::deque<Frame> frames;
    bool alive = true;
    for (const auto& part : {bytes.substr(0, cut), bytes.substr(cut)}) {
      ASSERT_EQ(::send(there.get(), part.data(), part.size(), 0),
                static_cast<ssize_t>(part.size()));
      alive = alive && socket.receive(frames, LinkSocket::Mode::Poll);
    }
    if (!alive) ++ended;
    std::size_t total = 0;
    for (const Frame& frame : frames) {
      ASSERT_LT(static_cast<std::uint32_t>(frame.kind), frameKindCount);
      total += sizeof(FrameHeader) + frame.payload.size();
    }
    ASSERT_LE(total, bytes.size());
    arrived += static_cast<int>(frames.size());
  }
  EXPECT_GT(arrived, mutations / 4);
  EXPECT_GT(ended, 1000);
}

}  // namespace

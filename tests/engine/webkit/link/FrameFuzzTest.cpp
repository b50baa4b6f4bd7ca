// The page link's payloads and frames, and what a web process that was taken over could send: valid
// bytes with damage, always the same.
#include "engine/webkit/link/LinkSocket.h"
#include "tests/engine/webkit/link/FrameRules.h"
#include "tests/engine/webkit/link/FrameSamples.h"
#include "tests/engine/webkit/link/ScriptedPeer.h"
#include "tests/support/Mutator.h"

#include <gtest/gtest.h>

#include <set>

namespace {

using namespace link_protocol;
using namespace test_support;

constexpr int mutations = 200000;

Mutator mutatorOfFrames() {
  std::vector<std::string> lengths;
  for (const std::uint32_t length :
       {0u, 1u, 0x7fffffffu, 0x80000000u, 0xffffffffu, 65536u, 65537u, maximumPayload + 1}) {
    lengths.push_back(rawBytes(length));
  }
  return Mutator(20240611, lengths);
}

std::vector<std::string> samplePayloads() {
  std::vector<std::string> payloads;
  forEachSampleList([&](const auto& samples) {
    for (const auto& sample : samples) payloads.push_back(encode(sample));
  });
  return payloads;
}

TEST(FrameFuzzTest, SamplesAreTakenAndEachIsItsOwn) {
  forEachSampleList([](const auto& samples) {
    std::set<std::string> encoded;
    for (const auto& sample : samples) {
      const std::string payload = encode(sample);
      int accepted = 0;
      EXPECT_TRUE(frame_rules::decoderKeeps<std::decay_t<decltype(sample)>>(payload, accepted));
      EXPECT_EQ(accepted, 1) << testing::PrintToString(payload);
      EXPECT_TRUE(encoded.insert(payload).second) << testing::PrintToString(payload);
    }
  });
  // There is an end to the number of arguments, each of a single byte.
  const auto most = static_cast<std::uint32_t>(maximumArguments);
  NativeArguments arguments;
  EXPECT_TRUE(decode(rawBytes(most) + std::string(most, '\0'), arguments));
  EXPECT_FALSE(decode(rawBytes(most + 1) + std::string(most + 1, '\0'), arguments));
}

TEST(FrameFuzzTest, DamagedPayloadsAreDecodedOrRefused) {
  const auto payloads = samplePayloads();
  Mutator mutator = mutatorOfFrames();
  int accepted = 0;
  for (int i = 0; i < mutations && !testing::Test::HasFailure(); ++i) {
    const std::string payload = mutator.damage(payloads[mutator.below(payloads.size())]);
    int decoders = 0;
    EXPECT_TRUE(frame_rules::everyDecoderKeeps(payload, decoders))
        << testing::PrintToString(payload);
    if (decoders > 0) ++accepted;
  }
  // The damage must leave both: else half of the decoders' code is not reached.
  EXPECT_GT(accepted, mutations / 50);
  EXPECT_LT(accepted, mutations * 49 / 50);
}

TEST(FrameFuzzTest, DamagedStreamsGiveFramesOrEnd) {
  const auto payloads = samplePayloads();
  Mutator mutator = mutatorOfFrames();
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

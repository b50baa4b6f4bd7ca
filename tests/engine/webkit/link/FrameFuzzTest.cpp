// The page link's payloads and frames, and what a compromised web process could send.
// tests/fuzz/FramesFuzz.cpp covers more.
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

TEST(FrameFuzzTest, SamplesCrossAndDamagedOnesAreDecodedOrRefused) {
  std::vector<std::string> payloads;
  forEachSampleList([&](const auto& samples) {
    std::set<std::string> encoded;
    for (const auto& sample : samples) {
      const std::string payload = encode(sample);
      std::decay_t<decltype(sample)> decoded;
      EXPECT_TRUE(decode(payload, decoded)) << testing::PrintToString(payload);
      EXPECT_EQ(encode(decoded), payload);
      EXPECT_TRUE(encoded.insert(payload).second) << "a field is not told";
      payloads.push_back(payload);
    }
  });
  // Numbers that are not in the tables.
  PageReport report;
  EXPECT_FALSE(decode(std::string(1, char(std::size(reportNames))) + rawBytes(0u), report));
  ActionCall action;
  EXPECT_FALSE(decode(std::string(1, char(std::size(actionNames))) + rawBytes(0u), action));
  // The number of arguments is limited, even if each has a single byte.
  const auto most = static_cast<std::uint32_t>(maximumArguments);
  NativeArguments arguments;
  EXPECT_TRUE(decode(rawBytes(most) + std::string(most, '\0'), arguments));
  EXPECT_FALSE(decode(rawBytes(most + 1) + std::string(most + 1, '\0'), arguments));

  Mutator mutator(20240611, {rawBytes(0u), rawBytes(0xffffffffu), rawBytes(maximumPayload + 1)});
  for (int i = 0; i < 500; ++i) {
    const std::string payload = mutator.damage(mutator.oneOf(payloads));
    ASSERT_TRUE(frame_rules::everyDecoderKeeps(payload)) << testing::PrintToString(payload);
  }
}

TEST(FrameFuzzTest, StreamsEndWithTheFirstFrameThatThereIsNot) {
  const std::string good = rawFrame(0, "good");
  std::string tooLarge = good;
  tooLarge.replace(0, 4, rawBytes(maximumPayload + 1));
  for (const std::string& bad :
       {rawFrame(frameKindCount, ""), rawFrame(0xffffffff, ""), tooLarge}) {
    auto [here, there] = socketPair();
    LinkSocket socket(std::move(here));
    const std::string bytes = good + bad + good;
    ASSERT_EQ(::send(there.get(), bytes.data(), bytes.size(), 0), ssize_t(bytes.size()));
    std::deque<Frame> frames;
    EXPECT_FALSE(socket.receive(frames, LinkSocket::Mode::Poll));
    EXPECT_EQ(frames.size(), 1u);
  }
}

}  // namespace

// Encoding and decoding of the page link's payloads. What is refused is seen in FrameFuzzTest.cpp.
#include "engine/webkit/link/Frame.h"
#include "tests/link/FrameSamples.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace link_protocol;
using namespace test_support;

TEST(FrameTest, PayloadsArriveAsTheyWere) {
  forEachSampleList([](const auto& samples) {
    for (const auto& sample : samples) {
      std::decay_t<decltype(sample)> decoded;
      ASSERT_TRUE(decode(encode(sample), decoded));
      EXPECT_TRUE(same(decoded, sample));
    }
  });
  JavaScriptVariant zero;
  ASSERT_TRUE(decode(encode(JavaScriptVariant(-0.0)), zero));
  EXPECT_TRUE(std::signbit(zero.numberValue()));
  JavaScriptVariant notANumber;
  ASSERT_TRUE(decode(encode(JavaScriptVariant(std::nan(""))), notANumber));
  EXPECT_TRUE(std::isnan(notANumber.numberValue()));
}

TEST(FrameTest, ThereIsAnEndToTheNumberOfArguments) {
  // Each of a single byte.
  const auto most = static_cast<std::uint32_t>(maximumArguments);
  NativeArguments arguments;
  EXPECT_TRUE(decode(rawBytes(most) + std::string(most, '\0'), arguments));
  EXPECT_FALSE(decode(rawBytes(most + 1) + std::string(most + 1, '\0'), arguments));
}

}  // namespace

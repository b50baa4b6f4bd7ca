// Encoding and checked decoding of the page link's payloads.
#include "engine/webkit/link/Frame.h"
#include "tests/link/FrameSamples.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace link_protocol;
using namespace test_support;

template <typename Record>
bool decodes(std::string_view payload) {
  Record record;
  return decode(payload, record);
}

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

TEST(FrameTest, PayloadsThatAreCutShortOrGoOnAreRefused) {
  forEachSampleList([](const auto& samples) {
    for (const auto& sample : samples) {
      const std::string payload = encode(sample);
      auto decoded = sample;
      for (std::size_t size = 0; size < payload.size(); ++size) {
        EXPECT_FALSE(decode(std::string_view(payload).substr(0, size), decoded)) << size;
      }
      EXPECT_FALSE(decode(payload + '\0', decoded));
      EXPECT_FALSE(decode(payload + payload, decoded));
    }
  });
}

TEST(FrameTest, CountsAndLengthsThatTheBytesDoNotBearOutAreRefused) {
  const std::string endless = rawBytes(0xffffffffu);
  const std::string one = rawBytes(1u);
  const std::string none = rawBytes(0u);
  const std::string filler(64, '\0');
  EXPECT_FALSE(decodes<FunctionCall>(endless + filler)) << "steps";
  EXPECT_FALSE(decodes<FunctionCall>(one + endless + filler)) << "length of a step";
  EXPECT_FALSE(decodes<FunctionCall>(none + endless + filler)) << "arguments";
  EXPECT_FALSE(decodes<PageSetup>(std::string(2, '\1') + endless + filler)) << "headers";
  EXPECT_FALSE(decodes<PageSetup>(std::string(2, '\1') + one + none + endless)) << "header value";
  EXPECT_FALSE(decodes<NativeArguments>(endless + filler));
  EXPECT_FALSE(decodes<NativeArguments>(one + '\1' + endless + filler));
  EXPECT_FALSE(decodes<JavaScriptVariant>('\4' + endless + filler));
  EXPECT_FALSE(decodes<DialogAnswer>('\1' + endless + filler));

  // The most arguments there can be, each of a single byte, and one more.
  const auto most = static_cast<std::uint32_t>(maximumArguments);
  EXPECT_TRUE(decodes<NativeArguments>(rawBytes(most) + std::string(most, '\0')));
  EXPECT_FALSE(decodes<NativeArguments>(rawBytes(most + 1) + std::string(most + 1, '\0')));
}

TEST(FrameTest, BytesOutsideTheirRangeAreRefused) {
  const std::string empty = rawBytes(0u);
  for (const int byte : {2, 0x80, 0xff}) {
    const char bad = static_cast<char>(byte);
    EXPECT_FALSE(decodes<JavaScriptVariant>(std::string{JavaScriptVariant::Boolean, bad})) << byte;
    EXPECT_FALSE(decodes<PageSetup>(std::string{bad, 1} + empty)) << byte;
    EXPECT_FALSE(decodes<PageSetup>(std::string{1, bad} + empty)) << byte;
    EXPECT_FALSE(decodes<DialogAnswer>(bad + empty)) << byte;
    EXPECT_FALSE(decodes<NativeArguments>(rawBytes(1u) + bad + empty)) << byte;
  }
  for (const int type : {6, 0x7f, 0xff}) {
    const char bad = static_cast<char>(type);
    EXPECT_FALSE(decodes<JavaScriptVariant>(std::string(1, bad))) << type;
    EXPECT_FALSE(decodes<FunctionCall>(empty + rawBytes(1u) + bad)) << type;
    EXPECT_FALSE(decodes<DialogQuestion>(bad + empty + empty)) << type;
  }
  EXPECT_FALSE(decodes<DialogQuestion>('\4' + empty + empty));
}

}  // namespace

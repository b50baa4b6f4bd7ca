// Messages as blobs: the record, the texts, the codecs, and rejected input.
#include "platform/channel/IPCMessage.h"
#include "tests/support/CopiedBlobs.h"
#include "tests/support/StandardErrorPipe.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace Tessel::Platform {
namespace {

using namespace std::string_view_literals;
using test_support::CopiedBlobs;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Testing::StandardErrorPipe;

// A layout with every kind of field.
using Everything = IPCMessage6<int, IPCSafeString, bool, unsigned int, bool, IPCSafeString>;
constexpr int everythingType = 3001;

const bool installed = [] {
  installMessageSerializer(everythingType, new RecordSerializer<Everything>);
  return true;
}();

CopiedBlobs blobsOf(Message& message) {
  return CopiedBlobs(serializeMessage(message));
}

IPCSafeString crossed(const IPCSafeString& text) {
  Everything message(everythingType, nullptr, 1, text, false, 2u, true, "");
  const auto received = blobsOf(message).deserialize();
  return received ? static_cast<Everything&>(*received).field<1>() : IPCSafeString("dropped");
}

TEST(MessageBlobsTest, RecordHasWordsForNumbersAndTextsAndBytesForFlags) {
  TypedReplyBuffer<int> reply;
  Everything message(everythingType, &reply, -2, "ab", true, 7u, false, IPCSafeString());
  message.setInteger(-9);
  message.setReplyId(0x0102030405060708);
  message.setSenderPid(5);
  const CopiedBlobs blobs = blobsOf(message);
  // Eight words of header, the number, a text's empty word, the flag and its padding, and so on.
  const unsigned int words[]{
      everythingType, 1, 1, 5, 0x01020304, 0x05060708, -9u, 56, -2u, 0u, 1u, 7, 0u, 0u};
  EXPECT_EQ(blobs.bytes[0], std::string_view(reinterpret_cast<const char*>(words), sizeof words));
  EXPECT_THAT(
      std::vector(blobs.bytes.begin() + 1, blobs.bytes.end()),
      ElementsAre("\xfe\xff\xff\xff", "\1", "ab\0"sv, "\1", "\7\0\0\0"sv, "\0"sv, "\1", "\0"sv));

  const auto received = blobs.deserialize();
  ASSERT_TRUE(received);
  EXPECT_EQ(received->integer(), -9);
  EXPECT_EQ(received->replyId(), 0x0102030405060708u);
  EXPECT_EQ(received->senderPid(), 0) << "only the kernel knows";
  EXPECT_EQ(static_cast<Everything&>(*received).fields(), message.fields());
}

TEST(MessageBlobsTest, TextsKeepTheirBytesAndTheirEncoding) {
  for (const std::string_view bytes : {""sv, "a"sv, "\xc3\xa4\xf0\x9f\x8d\x8a"sv, "a\0b\0"sv}) {
    EXPECT_EQ(crossed(String(bytes)), IPCSafeString(String(bytes)));
  }
  const std::string_view latin = "gr\xfc\xdf\0e\x80"sv;
  const IPCSafeString text = crossed(IPCSafeString::latin1(String(latin)));
  EXPECT_FALSE(text.isUtf8());
  EXPECT_EQ(text.bytes(), latin);
  EXPECT_EQ(text.toString().view(), "gr\xc3\xbc\xc3\x9f\0e\xc2\x80"sv);
  EXPECT_EQ(crossed(IPCSafeString::latin1("")), IPCSafeString::latin1(""));
  const std::string large(3 << 20, 'x');
  EXPECT_EQ(crossed(String(large)).bytes(), large);
}

TEST(MessageBlobsTest, WhatIsMalformedIsDroppedWithALineInTheLog) {
  Everything message(everythingType, nullptr, 1, "text", true, 2u, true, "");
  const CopiedBlobs good = blobsOf(message);
  ASSERT_TRUE(good.deserialize());
  struct Fault {
    const char* log;
    void (*damage)(std::vector<std::string>&);
  };
  using Bytes = std::vector<std::string>;
  constexpr std::size_t typeAt = 0;
  constexpr std::size_t versionAt = 4;
  constexpr std::size_t sizeAt = 28;
  for (const auto& [log, damage] : {
           Fault{"without a header", [](Bytes& bytes) { bytes.clear(); }},
           Fault{"unknown type 2999", [](Bytes& bytes) { bytes[0].replace(typeAt, 1, "\xb7"); }},
           Fault{"unknown type -1", [](Bytes& b) { b[0].replace(typeAt, 4, "\xff\xff\xff\xff"); }},
           Fault{"another version", [](Bytes& bytes) { bytes[0][versionAt] = 2; }},
           Fault{"wrong size", [](Bytes& bytes) { bytes[0][sizeAt] = 60; }},
           Fault{"number of blobs", [](Bytes& bytes) { bytes.pop_back(); }},
           Fault{"number of blobs", [](Bytes& bytes) { bytes.emplace_back("\0"sv); }},
           Fault{"malformed field", [](Bytes& bytes) { bytes[1].pop_back(); }},
           Fault{"malformed field", [](Bytes& bytes) { bytes[2] = "\2"; }},
           Fault{"malformed field", [](Bytes& bytes) { bytes[3].pop_back(); }},
           // Latin-1 has at least its terminator.
           Fault{"malformed field",
                 [](Bytes& bytes) {
                   bytes[2] = "\0"sv;
                   bytes[3].clear();
                 }},
       }) {
    CopiedBlobs bad = good;
    damage(bad.bytes);
    StandardErrorPipe standardError;
    EXPECT_EQ(bad.deserialize(), nullptr) << log;
    const std::string line = standardError.read();
    EXPECT_THAT(line, HasSubstr(log));
    EXPECT_EQ(std::count(line.begin(), line.end(), '\n'), 1) << line;
  }
  // An implausible length is rejected before anything is read.
  std::vector<Blob> blobs;
  for (const std::string& piece : good.bytes) blobs.push_back({piece.data(), piece.size()});
  blobs[3].length = std::numeric_limits<std::size_t>::max();
  StandardErrorPipe standardError;
  EXPECT_EQ(deserializeMessage(blobs), nullptr);
}

TEST(MessageBlobsTest, ReplyBuffersTakeOnlyWhatCanBeTheirs) {
  TypedReplyBuffer<double> number;
  const double half = 0.5;
  EXPECT_FALSE(number.assign(&half, 4));
  EXPECT_EQ(number.value(), 0);
  EXPECT_TRUE(number.assign(&half, 8));
  EXPECT_EQ(number.value(), 0.5);

  TypedReplyBuffer<const char*> text;
  EXPECT_FALSE(text.assign("", 0));
  EXPECT_EQ(text.value(), nullptr);
  EXPECT_FALSE(text.assign("abc", 3));
  EXPECT_TRUE(text.assign("a\0b", 4));
  EXPECT_EQ(text.text().view(), "a\0b"sv);
}

}  // namespace
}  // namespace Tessel::Platform

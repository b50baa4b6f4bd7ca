// The channel between two processes, with both ends in this one.
#include "platform/channel/ChannelSocket.h"
#include "platform/sockets/Transfer.h"
#include "tests/support/LocalSocket.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Tessel::Platform::Blob;
using Tessel::Platform::ChannelSocket;
using Tessel::Platform::ReceivedMessage;
using Tessel::Platform::SendOutcome;
using Tessel::Platform::UniqueFd;
using Outcome = ChannelSocket::Outcome;
using Texts = std::vector<std::string>;

bool sendTexts(ChannelSocket& channel, const Texts& texts) {
  std::vector<Blob> blobs;
  for (const std::string& text : texts) blobs.push_back({text.data(), text.size()});
  return channel.send(blobs) == SendOutcome::Sent;
}

Texts textsOf(const ReceivedMessage& message) {
  Texts texts;
  for (const Blob& blob : message.blobs()) {
    texts.emplace_back(static_cast<const char*>(blob.data), blob.length);
  }
  return texts;
}

class ChannelSocketTest : public ::testing::Test {
 protected:
  ChannelSocketTest() { std::tie(near, far) = ChannelSocket::pair(); }

  // Malformed datagrams.
  Outcome afterRaw(const std::string& bytes, int file = -1) {
    EXPECT_GE(Tessel::Platform::trySend(near.fd(), bytes, file), 0) << std::strerror(errno);
    ReceivedMessage received;
    return far.receive(received);
  }
  static std::string words(std::vector<std::uint32_t> values, const std::string& rest = {}) {
    return std::string(reinterpret_cast<const char*>(values.data()), values.size() * 4) + rest;
  }

  ChannelSocket near;
  ChannelSocket far;
};

constexpr std::uint32_t mark = 0x50484d31;

TEST_F(ChannelSocketTest, MessagesOfEverySizeArriveWholeAndInOrder) {
  const std::size_t edge = ChannelSocket::largestDatagram;
  std::vector<Texts> sent{{}, {""}, {"a", "", std::string("b\0c", 3)}};
  for (const std::size_t size : {edge - 21, edge - 20, edge - 19, edge * 2, std::size_t(5) << 20}) {
    sent.push_back({std::string(size, 'x'), "end"});
  }
  for (const Texts& texts : sent) {
    ASSERT_TRUE(sendTexts(near, texts));
    ReceivedMessage message;
    ASSERT_EQ(far.receive(message), Outcome::Message);
    EXPECT_TRUE(textsOf(message) == texts);
  }
  ReceivedMessage message;
  EXPECT_EQ(far.receive(message), Outcome::Nothing);
}

TEST_F(ChannelSocketTest, SendingNeverBlocksAndLosesNothing) {
  constexpr int count = 20000;
  for (int i = 0; i < count; ++i) {
    ASSERT_TRUE(sendTexts(near, {std::to_string(i), i % 1000 ? "" : std::string(100000, 'x')}));
  }
  EXPECT_TRUE(near.hasUnsent()) << "the socket took them all: the queue is not tested";
  for (int i = 0; i < count; ++i) {
    ReceivedMessage message;
    if (far.receive(message) == Outcome::Nothing) {
      ASSERT_TRUE(near.flush());
      ASSERT_EQ(far.receive(message), Outcome::Message) << i;
    }
    ASSERT_EQ(textsOf(message).front(), std::to_string(i));
  }
  EXPECT_FALSE(near.hasUnsent());
}

TEST_F(ChannelSocketTest, WhatHasBeenSentNoLongerCountsAsWaiting) {
  const std::string piece(Tessel::Platform::SendBounds::bound / 4, 'x');
  ReceivedMessage message;
  for (int round = 0; round < 5; ++round) {
    while (!near.hasUnsent()) ASSERT_TRUE(sendTexts(near, {"filler"}));
    ASSERT_TRUE(sendTexts(near, {piece})) << "round " << round;
    while (near.hasUnsent()) {
      ASSERT_EQ(far.receive(message), Outcome::Message);
      ASSERT_TRUE(near.flush());
    }
  }
}

TEST_F(ChannelSocketTest, WhatIsTooLargeOrTooMuchIsLeftOutAndTheChannelLives) {
  const auto send = [&](const std::string& text, bool isAnswer = false) {
    const Blob blob{text.data(), text.size()};
    return near.send({&blob, 1}, isAnswer);
  };
  EXPECT_EQ(send(std::string(Tessel::Platform::largestMessage + 1, 'x')), SendOutcome::TooLarge);
  const std::string piece(1u << 20, 'x');
  int taken = 0;
  while (taken < 400 && send(piece) == SendOutcome::Sent) ++taken;
  EXPECT_GE(taken, 64);
  EXPECT_LT(taken, 400) << "the queue has no end";
  EXPECT_EQ(send(piece), SendOutcome::Full);
  EXPECT_EQ(send("small"), SendOutcome::Sent);
  EXPECT_EQ(send(piece, true), SendOutcome::Sent) << "it is owed";

  for (int i = 0; i < taken + 2; ++i) {
    ReceivedMessage message;
    ASSERT_TRUE(near.flush());
    ASSERT_EQ(far.receive(message), Outcome::Message) << i;
    ASSERT_EQ(textsOf(message).front().size(), i == taken ? 5u : piece.size());
  }
}

TEST_F(ChannelSocketTest, APeerThatHasGoneBreaksTheChannel) {
  auto [here, there] = ChannelSocket::pair();
  ASSERT_TRUE(sendTexts(here, {"last words"}));
  here = ChannelSocket();
  ReceivedMessage message;
  EXPECT_EQ(there.receive(message), Outcome::Message);
  EXPECT_EQ(there.receive(message), Outcome::Closed);
  EXPECT_FALSE(sendTexts(there, {"too late"}));
}

TEST_F(ChannelSocketTest, WhatIsNoMessageIsRefusedAndNothingIsReadBeyondIt) {
  EXPECT_EQ(afterRaw(words({mark, 0, 1, 3, 3}, "abc")), Outcome::Message);
  const std::vector<std::string> wrong{
      "x",
      words({mark}),
      words({mark + 1, 0, 1, 3, 3}, "abc"),                 // another mark
      words({mark, 2, 1, 3, 3}, "abc"),                     // a flag that there is not
      words({mark, 0, 1, 3, 4}, "abc"),                     // a blob longer than all
      words({mark, 0, 1, 3, 2}, "abc"),                     // bytes that are no blob's
      words({mark, 0, 2, 3, 3}, "abc"),                     // a length is missing
      words({mark, 0, 14, 0}) + std::string(14 * 4, '\0'),  // too many blobs
      words({mark, 0, 1, 0xffffffff, 0xffffffff}, "abc"),
      words({mark, 1, 1, 3, 3}),  // in a file that there is not
      std::string(ChannelSocket::largestDatagram + 1, 'x')};
  for (const std::string& bytes : wrong) {
    EXPECT_EQ(afterRaw(bytes), Outcome::Malformed) << bytes.substr(0, 40);
  }

  // A file that is not sealed, one of the wrong size, and an unexpected one.
  const std::string inFile = words({mark, 1, 1, 3, 3});
  const UniqueFd open(::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  ASSERT_EQ(::write(open.get(), "abc", 3), 3);
  EXPECT_EQ(afterRaw(inFile, open.get()), Outcome::Malformed);
  EXPECT_EQ(afterRaw(words({mark, 0, 1, 3, 3}, "abc"), open.get()), Outcome::Malformed);
  ASSERT_EQ(
      ::fcntl(open.get(), F_ADD_SEALS, F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE),
      0);
  EXPECT_EQ(afterRaw(inFile, open.get()), Outcome::Message);
  EXPECT_EQ(afterRaw(words({mark, 1, 1, 4, 4}), open.get()), Outcome::Malformed);
}

}  // namespace

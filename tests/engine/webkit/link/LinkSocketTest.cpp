// Frames over a stream socket that splits and joins them arbitrarily.
#include "engine/webkit/link/LinkSocket.h"
#include "tests/engine/webkit/link/FrameSamples.h"
#include "tests/engine/webkit/link/ScriptedPeer.h"

#include <gtest/gtest.h>

namespace {

using namespace link_protocol;
using namespace test_support;
using Tessel::Platform::SendOutcome;

constexpr auto poll = LinkSocket::Mode::Poll;
constexpr auto hello = static_cast<std::uint32_t>(FrameKind::Hello);

class LinkSocketTest : public testing::Test {
 protected:
  void write(std::string_view bytes) {
    ASSERT_EQ(::send(other_.fd(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL),
              static_cast<ssize_t>(bytes.size()));
  }

  std::pair<Tessel::Platform::UniqueFd, Tessel::Platform::UniqueFd> ends_ = socketPair();
  LinkSocket socket_{std::move(ends_.first)};
  LinkSocket other_{std::move(ends_.second)};
  std::deque<Frame> frames_;
};

TEST_F(LinkSocketTest, FramesThatArriveByteByByteAreWholeOrNotThere) {
  const std::string bytes = rawFrame(static_cast<std::uint32_t>(FrameKind::Answer), awkwardText(),
                                     0xfffffffe, 0x123456789abcdef0) +
                            rawFrame(hello, "");
  const std::size_t first = sizeof(FrameHeader) + awkwardText().size();
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    write(bytes.substr(i, 1));
    ASSERT_TRUE(socket_.receive(frames_, i % 2 == 0 ? poll : LinkSocket::Mode::Wait));
    ASSERT_EQ(frames_.size(), i + 1 == bytes.size() ? 2u : i + 1 >= first ? 1u : 0u) << i;
  }
  EXPECT_EQ(frames_[0].kind, FrameKind::Answer);
  EXPECT_EQ(frames_[0].id, 0xfffffffe);
  EXPECT_EQ(frames_[0].page, 0x123456789abcdef0u);
  EXPECT_EQ(frames_[0].payload, awkwardText());
  EXPECT_EQ(frames_[1].kind, FrameKind::Hello);
  EXPECT_EQ(frames_[1].payload, "");
  EXPECT_TRUE(socket_.receive(frames_, poll)) << "nothing to read is no failure";
}

TEST_F(LinkSocketTest, WhatIsTooLargeOrTooMuchIsLeftOutAndTheLinkLives) {
  const std::string largest(maximumPayload, 'x');
  EXPECT_EQ(other_.send(FrameKind::Log, 0, 0, largest + 'x'), SendOutcome::TooLarge);
  EXPECT_EQ(other_.send(FrameKind::Log, 0, 0, largest), SendOutcome::Sent);
  EXPECT_TRUE(other_.hasUnsent());
  EXPECT_EQ(other_.send(FrameKind::PostFunction, 0, 0, largest), SendOutcome::Full);
  EXPECT_EQ(other_.send(FrameKind::PostFunction, 0, 0, "small"), SendOutcome::Sent);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(other_.send(FrameKind::Answer, 1, 0, largest), SendOutcome::Sent) << "it is owed";
  }
  // The socket has accepted a part of the first one.
  EXPECT_EQ(other_.send(FrameKind::Answer, 1, 0, largest), SendOutcome::Sent);
  EXPECT_EQ(other_.send(FrameKind::Answer, 1, 0, largest), SendOutcome::Broken)
      << "a peer that asks on without reading";
  // The queued frames are complete.
  while (frames_.size() < 5) {
    ASSERT_TRUE(other_.flush());
    ASSERT_TRUE(socket_.receive(frames_, poll));
  }
  EXPECT_TRUE(frames_[0].payload == largest);
  EXPECT_EQ(frames_[1].payload, "small");
}

TEST_F(LinkSocketTest, APeerThatClosesLeavesWhatItHadSent) {
  ASSERT_EQ(other_.send(FrameKind::Log, 0, 0, "last words"), SendOutcome::Sent);
  write(rawFrame(hello, "cut short").substr(0, 30));
  other_ = LinkSocket(Tessel::Platform::UniqueFd());
  while (socket_.receive(frames_, LinkSocket::Mode::Wait)) {
  }
  ASSERT_EQ(frames_.size(), 1u);
  EXPECT_EQ(frames_[0].payload, "last words");
  EXPECT_EQ(socket_.send(FrameKind::Log, 0, 0, ""), SendOutcome::Broken)
      << "and no signal ends the process";
}

}  // namespace

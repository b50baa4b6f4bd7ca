// Local sockets: paths, queues, and descriptors sent with a packet.
#include "platform/sockets/LocalSocket.h"
#include "platform/sockets/Transfer.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <filesystem>

namespace {

using std::chrono::milliseconds;
using Tessel::Platform::connectLocal;
using Tessel::Platform::LocalListener;
using Tessel::Platform::tryReceive;
using Tessel::Platform::trySend;
using Tessel::Platform::UniqueFd;

class SocketsTest : public testing::Test {
 protected:
  const test_support::TemporaryFolder folder_;
  const std::string path_ = folder_.path() / "socket";
};

TEST_F(SocketsTest, NoPathIsAnAddressOutsideTheFileSystemOrACutOne) {
  const std::string longest = path_ + std::string(107 - path_.size(), 'x');
  for (const auto& [path, error] :
       {std::pair(std::string(), ENOENT), std::pair(longest + 'x', ENAMETOOLONG)}) {
    EXPECT_FALSE(LocalListener(path, SOCK_STREAM));
    EXPECT_EQ(errno, error);
    EXPECT_FALSE(connectLocal(path, SOCK_STREAM));
    EXPECT_EQ(errno, error);
  }
  const LocalListener listener(longest, SOCK_STREAM);
  EXPECT_TRUE(connectLocal(longest, SOCK_STREAM));
}

TEST_F(SocketsTest, APathGoesWithItsListenerButNotInAForkedChild) {
  const std::string other = path_ + ".other";
  {
    LocalListener first(path_, SOCK_SEQPACKET, {.attributes = {{0604, ::geteuid(), ::getegid()}}});
    struct stat status {};
    ASSERT_EQ(::stat(path_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0604u);
    EXPECT_FALSE(LocalListener(path_, SOCK_SEQPACKET));
    EXPECT_EQ(errno, EADDRINUSE);
    const pid_t child = ::fork();
    if (child == 0) {
      first = {};
      ::_exit(0);
    }
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(connectLocal(path_, SOCK_SEQPACKET));
    ASSERT_TRUE(first.moveTo(other));
    EXPECT_FALSE(connectLocal(path_, SOCK_SEQPACKET));
    EXPECT_TRUE(connectLocal(other, SOCK_SEQPACKET));
  }
  EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(SocketsTest, WhoFindsTheQueueFullWaitsNoLongerThanHeWantsTo) {
  const LocalListener listener(path_, SOCK_STREAM, {.backlog = 0});
  const UniqueFd waiting = connectLocal(path_, SOCK_STREAM, {});
  ASSERT_TRUE(waiting);
  for (const milliseconds limit : {milliseconds(0), milliseconds(60)}) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(connectLocal(path_, SOCK_STREAM, limit));
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_GE(std::chrono::steady_clock::now() - start, limit / 2);
  }
}

TEST_F(SocketsTest, NoDescriptorIsLeftOfAPacket) {
  const auto open = [] {
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return std::distance(begin(all), end(all));
  };
  const auto [here, there] = test_support::socketPair(SOCK_SEQPACKET);
  const auto before = open();
  std::array<char, 4> room;
  for (const char* text : {"", "text", "longer"}) {
    ASSERT_GE(trySend(here.get(), text, STDIN_FILENO), 0);
    EXPECT_EQ(tryReceive(there.get(), room).isWhole, std::string_view(text).size() <= room.size());
    EXPECT_EQ(open(), before);
  }
}

}  // namespace

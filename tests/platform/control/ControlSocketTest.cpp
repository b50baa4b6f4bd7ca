// The control socket: access, commands, notifications.
#include "platform/control/ControlSocket.h"
#include "platform/desktop/NavigatorHandler.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace {

using Tessel::Platform::ControlSocket;
using Tessel::Platform::NavigatorHandler;
using Tessel::Platform::NavigatorListener;
using Tessel::Platform::String;
using Tessel::Platform::UniqueFd;
using Tessel::Platform::Testing::iterateUntil;
using test_support::socketAt;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ControlSocketTest : public testing::Test, public NavigatorListener {
 protected:
  void SetUp() override {
    control_ = ControlSocket::open(path_);
    ASSERT_TRUE(control_);
    NavigatorHandler::instance().addListener(this);
  }
  void TearDown() override {
    NavigatorHandler::instance().removeListener(this);
    control_.reset();
    EXPECT_FALSE(std::filesystem::exists(path_));
  }

  void onWindowState(const String& state) override { heard.push_back(state.toStdString()); }
  void onKeyboardPosition(int position) override { heard.push_back(std::to_string(position)); }

  // Runs the loop until that many lines have come, or the other side has closed.
  static std::string read(const UniqueFd& socket, std::ptrdiff_t lines) {
    std::string text;
    const bool done = iterateUntil([&] {
      char bytes[4096];
      const ssize_t count = ::recv(socket.get(), bytes, sizeof bytes, MSG_DONTWAIT);
      if (count > 0) text.append(bytes, static_cast<std::size_t>(count));
      const bool isClosed = count == 0 || (count < 0 && errno == ECONNRESET);
      if (isClosed) text += "closed";
      return isClosed || (lines && std::count(text.begin(), text.end(), '\n') >= lines);
    });
    return done ? text : text + "nothing";
  }
  static std::string ask(const UniqueFd& socket, const std::string& line) {
    ::send(socket.get(), line.data(), line.size(), MSG_NOSIGNAL);
    return read(socket, 1);
  }

  const test_support::TemporaryFolder folder_;
  const std::string path_ = folder_.path() / "control";
  std::unique_ptr<ControlSocket> control_;
  std::vector<std::string> heard;
};

TEST_F(ControlSocketTest, LinesRaiseNotificationsAndMistakesAreAnswered) {
  const UniqueFd socket = socketAt(path_);
  EXPECT_EQ(ask(socket, "[\"raise\",\"onWindowState\",\"full \\\"screen\\\"\"]\n"),
            "{\"ok\":true}\n");
  EXPECT_EQ(ask(socket, "[\"raise\",\"onKeyboardPosition\",\"-3\"]\n"), "{\"ok\":true}\n");
  for (const char* mistake :
       {"\n", "raise\n", "{}\n", "[1]\n", "[\"raise\"]\n", "[\"end\"]\n",
        "[\"raise\",\"onNothing\"]\n", "[\"raise\",\"onWindowState\"]\n",
        "[\"raise\",\"onWindowState\",\"a\",\"b\"]\n",
        "[\"raise\",\"onKeyboardPosition\",\"1x\"]\n", "[\"raise\",\"onKeyboardPosition\",\"\"]\n",
        "[\"raise\",\"onWindowState\",\"\xff\"]\n"}) {
    EXPECT_THAT(ask(socket, mistake), HasSubstr("{\"error\":\"")) << mistake;
  }
  EXPECT_THAT(heard, ElementsAre("full \"screen\"", "-3"));
}

TEST_F(ControlSocketTest, ALineInPiecesIsOneAndALineWithoutEndIsTooLong) {
  const UniqueFd patient = socketAt(path_);
  for (const char* piece : {"[\"raise\",", "\"onWindowState\",", "\"x\"]"}) {
    ::send(patient.get(), piece, std::strlen(piece), MSG_NOSIGNAL);
    g_main_context_iteration(nullptr, FALSE);
  }
  EXPECT_THAT(heard, IsEmpty());
  EXPECT_EQ(ask(patient, "\n"), "{\"ok\":true}\n");
  const UniqueFd endless = socketAt(path_);
  const std::string much(70000, '[');
  ::send(endless.get(), much.data(), much.size(), MSG_NOSIGNAL);
  EXPECT_THAT(read(endless, 0), HasSubstr("closed"));
  const UniqueFd deep = socketAt(path_);
  EXPECT_THAT(ask(deep, std::string(60000, '[') + "\n"), HasSubstr("error"));
}

TEST_F(ControlSocketTest, WatchersSeeRequestsAndThoseWhoDoNotReadAreCutOff) {
  const UniqueFd watcher = socketAt(path_);
  const UniqueFd other = socketAt(path_);
  EXPECT_EQ(ask(watcher, "[\"watch\"]\n"), "{\"ok\":true}\n");
  EXPECT_EQ(ask(other, "[\"watch\"]\n"), "{\"ok\":true}\n");
  NavigatorHandler::instance().addURI("t", "u\n", "", "i");
  EXPECT_EQ(read(watcher, 1),
            "{\"request\":\"addURI\",\"arguments\":[\"t\",\"u\\n\",\"\",\"i\"]}\n");
  // Far more than a socket buffers, without a reader at the other end.
  const String large(std::string(60000, 'x'));
  for (int i = 0; i < 100; ++i) NavigatorHandler::instance().newWallpaper(large);
  EXPECT_THAT(read(other, 0), HasSubstr("closed"));
}

TEST_F(ControlSocketTest, ThereAreNoMoreClientsThanItTakes) {
  std::vector<UniqueFd> clients;
  for (int i = 0; i < 16; ++i) {
    clients.push_back(socketAt(path_));
    ASSERT_EQ(ask(clients.back(), "[\"raise\",\"onWindowState\",\"x\"]\n"), "{\"ok\":true}\n");
  }
  const UniqueFd tooMany = socketAt(path_);
  EXPECT_EQ(read(tooMany, 0), "closed");
  clients.pop_back();
  test_support::turnLoop();
  const UniqueFd next = socketAt(path_);
  EXPECT_EQ(ask(next, "[\"raise\",\"onWindowState\",\"x\"]\n"), "{\"ok\":true}\n");
}

TEST_F(ControlSocketTest, OtherUsersAreRefused) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can become another user";
  // The folder's protection is not tested here.
  ASSERT_EQ(::chmod(folder_.path().c_str(), 0755), 0);
  ASSERT_EQ(::chmod(path_.c_str(), 0777), 0);
  const pid_t stranger = ::fork();
  if (stranger == 0) {
    if (::setgid(65534) != 0 || ::setuid(65534) != 0) ::_exit(2);
    const UniqueFd socket = socketAt(path_);
    if (!socket) ::_exit(3);
    const char line[] = "[\"raise\",\"onWindowState\",\"theirs\"]\n";
    ::send(socket.get(), line, sizeof line - 1, MSG_NOSIGNAL);
    char answer = 0;
    // Closed without a message.
    ::_exit(::recv(socket.get(), &answer, 1, 0) <= 0 ? 0 : 4);
  }
  int status = -1;
  EXPECT_TRUE(iterateUntil([&] { return ::waitpid(stranger, &status, WNOHANG) != 0; }));
  EXPECT_EQ(status, 0);
  EXPECT_THAT(heard, IsEmpty());
}

}  // namespace

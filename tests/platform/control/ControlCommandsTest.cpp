// The table of commands: what is made from it, and how commands are carried out.
#include "platform/control/ControlBus.h"
#include "platform/control/ControlCommands.h"
#include "platform/control/ControlSocket.h"
#include "platform/sockets/MemoryFile.h"
#include "platform/sockets/Transfer.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>

namespace {

using namespace Tessel::Platform;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Testing::iterateUntil;

// Notes what it is told, and answers when the test wants it.
class Handler final : public ControlHandler {
 public:
  void about(ControlReply reply) override { note("about", {}, reply); }
  void status(ControlReply reply) override { note("status", {}, reply); }
  void load(ControlReply reply, ControlView view, const String& address) override {
    note("load", {String::fromUnsignedInteger(static_cast<unsigned>(view)), address}, reply);
  }
  void reload(ControlReply reply, ControlView view) override {
    note("reload", {String::fromUnsignedInteger(static_cast<unsigned>(view))}, reply);
  }
  void screenshot(ControlReply reply) override { note("screenshot", {}, reply); }
  void eval(ControlReply reply, ControlView view, const String& script) override {
    note("eval", {String::fromUnsignedInteger(static_cast<unsigned>(view)), script}, reply);
  }
  void open(ControlReply reply, const std::vector<String>& addresses) override {
    note("open", addresses, reply);
  }
  void close(ControlReply reply) override { note("close", {}, reply); }
  void blank(ControlReply reply) override { note("blank", {}, reply); }
  void wake(ControlReply reply) override { note("wake", {}, reply); }

  std::vector<std::string> told;
  ControlReply reply;

 private:
  void note(std::string line, const std::vector<String>& arguments, const ControlReply& itsReply) {
    for (const String& each : arguments) line += " " + each.toStdString();
    told.push_back(line);
    reply = itsReply;
  }
};

TEST(ControlCommandsTest, TheBusKnowsEveryCommandWithItsParameters) {
  GDBusNodeInfo* const node =
      g_dbus_node_info_new_for_xml(ControlBus::introspection().c_str(), nullptr);
  ASSERT_TRUE(node);
  GDBusInterfaceInfo* const interface =
      g_dbus_node_info_lookup_interface(node, ControlBus::interface);
  ASSERT_TRUE(interface);
  const auto argumentsOf = [](GDBusArgInfo** list) {
    std::string text;
    for (; list && *list; ++list)
      text += std::string((*list)->name) + ":" + (*list)->signature + " ";
    return text;
  };
  std::size_t methods = 0;
  while (interface->methods[methods]) ++methods;
  EXPECT_EQ(methods, controlCommands().size());
  const std::tuple<const char*, const char*, const char*> some[] = {
      {"Status", "", "json:s "},
      {"Load", "view:u address:s ", ""},
      {"Eval", "view:u script:s ", "json:s "},
      {"Open", "addresses:as ", ""},
      {"Screenshot", "", "file:h "}};
  for (const auto& [name, in, out] : some) {
    const auto* const method = g_dbus_interface_info_lookup_method(interface, name);
    ASSERT_TRUE(method) << name;
    EXPECT_EQ(argumentsOf(method->in_args), in) << name;
    EXPECT_EQ(argumentsOf(method->out_args), out) << name;
  }
  g_dbus_node_info_unref(node);
}

TEST(ControlCommandsTest, ArgumentsAreReadAndMistakesAnswered) {
  Handler handler;
  std::vector<std::string> errors;
  const auto order = [&](const String& name, const std::vector<String>& arguments) {
    carryOut(handler, name, arguments,
             [&](ControlAnswer answer) { errors.push_back(answer.error.toStdString()); });
  };
  order("load", {"2", "a b"});
  order("open", {});
  order("open", {"x", "y"});
  EXPECT_THAT(errors, IsEmpty());
  EXPECT_THAT(handler.told, ElementsAre("load 2 a b", "open", "open x y"));
  handler.told.clear();
  order("load", {"2"});
  order("load", {"2", "x", "y"});
  order("reload", {"-1"});
  order("reload", {"1x"});
  order("reload", {"99999999999"});
  order("status", {""});
  order("Status", {});
  order("", {});
  EXPECT_EQ(errors.size(), 8u);
  EXPECT_THAT(errors, testing::Each(testing::Not(IsEmpty())));
  EXPECT_THAT(handler.told, IsEmpty());
}

TEST(ControlCommandsTest, AHandlerThatDoesNotAnswerIsAnsweredForAndNotHeardLater) {
  const auto usual = std::exchange(controlLimit, std::chrono::milliseconds(30));
  Handler handler;
  std::vector<std::string> errors;
  carryOut(handler, "status", {},
           [&](ControlAnswer answer) { errors.push_back(answer.error.toStdString()); });
  EXPECT_TRUE(iterateUntil([&] { return !errors.empty(); }));
  handler.reply({.error = "late"});
  EXPECT_THAT(errors, ElementsAre("The program does not answer in time"));
  controlLimit = usual;
}

class ControlSocketCommandsTest : public testing::Test {
 protected:
  void send(const std::string& lines) const {
    ::send(client_.get(), lines.data(), lines.size(), MSG_NOSIGNAL);
  }
  bool isTold(std::size_t count) {
    return iterateUntil([&] { return handler_.told.size() >= count; });
  }
  // Up to the end of that line.
  std::string read() {
    iterateUntil([&] {
      std::array<char, 65536> bytes;
      Received received = tryReceive(client_.get(), bytes);
      if (received.file) file_ = std::move(received.file);
      if (received.size > 0) text_.append(bytes.data(), static_cast<std::size_t>(received.size));
      return received.size == 0 || text_.find('\n') != std::string::npos;
    });
    const std::string line = text_.substr(0, text_.find('\n'));
    text_.erase(0, line.size() + 1);
    return line;
  }

  const test_support::TemporaryFolder folder_;
  Handler handler_;
  std::unique_ptr<ControlSocket> socket_ =
      ControlSocket::open(folder_.path() / "control", &handler_);
  UniqueFd client_ = test_support::socketAt(folder_.path() / "control");
  UniqueFd file_;
  std::string text_;
};

TEST_F(ControlSocketCommandsTest, CommandsAreCarriedOutOneAfterTheOther) {
  send("[\"status\"]\n[\"reload\",\"1\"]\n[\"raise\",\"onNothing\"]\n");
  ASSERT_TRUE(isTold(1));
  test_support::turnLoop();
  EXPECT_EQ(handler_.told.size(), 1u) << "the next one waits for the answer";
  handler_.reply({.json = R"({"a":1})"});
  EXPECT_EQ(read(), R"({"ok":true,"value":{"a":1}})");
  ASSERT_TRUE(isTold(2));
  handler_.reply({.error = "no \"page\""});
  EXPECT_EQ(read(), R"({"error":"no \"page\""})");
  EXPECT_THAT(read(), HasSubstr("There is no notification"));
}

TEST_F(ControlSocketCommandsTest, ALongAnswerWaitsForItsReaderAndATooLongOneIsNone) {
  send("[\"status\"]\n");
  ASSERT_TRUE(isTold(1));
  // More than a socket takes at once.
  const std::string much(3u << 20, 'x');
  handler_.reply({.json = "\"" + much + "\""});
  EXPECT_EQ(read(), R"({"ok":true,"value":")" + much + "\"}");
  send("[\"status\"]\n");
  ASSERT_TRUE(isTold(2));
  handler_.reply({.json = "\"" + std::string(9u << 20, 'x') + "\""});
  EXPECT_EQ(read(), R"({"error":"The answer is too long"})");
}

TEST_F(ControlSocketCommandsTest, AFileComesWithItsAnswer) {
  send("[\"screenshot\"]\n");
  ASSERT_TRUE(isTold(1));
  ControlAnswer answer;
  answer.file = sealedFile("picture");
  handler_.reply(std::move(answer));
  EXPECT_EQ(read(), R"({"ok":true})");
  std::array<char, 16> bytes{};
  ASSERT_EQ(::pread(file_.get(), bytes.data(), bytes.size(), 0), 7);
  EXPECT_STREQ(bytes.data(), "picture");
}

TEST_F(ControlSocketCommandsTest, ProcessesOfTheProgramItselfHaveNoCommands) {
  const pid_t child = ::fork();
  if (child == 0) {
    const UniqueFd socket = test_support::socketAt(folder_.path() / "control");
    constexpr std::string_view line = "[\"load\",\"1\",\"file:///theirs\"]\n";
    constexpr std::string_view refusal = R"({"error":"There is no command \"load\""})";
    std::array<char, 256> answer{};
    ::send(socket.get(), line.data(), line.size(), MSG_NOSIGNAL);
    const ssize_t count = ::recv(socket.get(), answer.data(), answer.size(), 0);
    const std::string_view text(answer.data(),
                                static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    ::_exit(text.starts_with(refusal) ? 0 : 1);
  }
  int status = -1;
  EXPECT_TRUE(iterateUntil([&] { return ::waitpid(child, &status, WNOHANG) != 0; }));
  EXPECT_EQ(status, 0);
  EXPECT_THAT(handler_.told, IsEmpty());
}

TEST_F(ControlSocketCommandsTest, WhoLeavesMeanwhileIsForgotten) {
  send("[\"status\"]\n");
  ASSERT_TRUE(isTold(1));
  client_.reset();
  test_support::turnLoop();
  handler_.reply({.json = "1"});
  test_support::turnLoop();
  socket_.reset();
  handler_.reply({.json = "1"});
}

}  // namespace

// Valid and invalid input from a child process with windows. No display.
#include "platform/graphics/MemoryWindowSystem.h"
#include "platform/graphics/remote/FrameFile.h"
#include "platform/graphics/remote/Records.h"
#include "platform/graphics/remote/RemoteWindows.h"
#include "platform/graphics/remote/WindowConnection.h"
#include "platform/sockets/Transfer.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/StandardErrorPipe.h"
#include "tests/support/Waiting.h"

#include <fcntl.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <vector>

namespace Tessel::Platform::Graphics {
namespace {

using namespace Remote;
using test_support::socketPair;
using test_support::turnLoop;

constexpr unsigned group = 3;
constexpr int handle = (3 << 20) + 1;
constexpr int pid = 4711;

WindowRecord windowRecord(int window = handle) {
  WindowRecord record{};
  record.header = {RecordType::Window, window};
  record.pid = pid;
  record.rect = {10, 20, 30, 40};
  record.visible = 1;
  record.globalAlpha = 255;
  return record;
}

FrameRecord frameRecord(IntSize size, bool newFile = true) {
  FrameRecord record{};
  record.header = {RecordType::Frame, handle};
  record.number = 1;
  record.width = size.width;
  record.height = size.height;
  record.scale = 1;
  record.newFile = newFile;
  return record;
}

UniqueFd memoryFile(off_t size, int seals) {
  UniqueFd file(::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  EXPECT_EQ(::ftruncate(file.get(), size), 0);
  EXPECT_EQ(::fcntl(file.get(), F_ADD_SEALS, seals), 0);
  return file;
}

class RemoteWindowsTest : public testing::Test {
 protected:
  RemoteWindowsTest() {
    WindowSystem::install(std::make_unique<MemoryWindowSystem>());
    top_ = std::make_unique<Window>(WindowType::Application, nullptr, IntRect{0, 0, 400, 300},
                                    IntRect{}, IntSize{}, 0, false, "remote");
    connect();
  }

  void connect() {
    auto [ours, theirs] = socketPair(SOCK_SEQPACKET);
    peer_ = std::move(theirs);
    remote_ = std::make_unique<RemoteWindows>(std::move(ours), group, *top_);
  }

  template <typename Record>
  void send(const Record& record, int file = -1) {
    sendBytes({reinterpret_cast<const char*>(&record), sizeof record}, file);
  }
  void sendBytes(const std::string& bytes, int file = -1) {
    ASSERT_GE(Tessel::Platform::trySend(peer_.get(), bytes, file), 0);
    turnLoop();
  }

  std::unique_ptr<Window> top_;
  UniqueFd peer_;
  std::unique_ptr<RemoteWindows> remote_;
};

TEST_F(RemoteWindowsTest, TheTopLevelWindowMayGoFirst) {
  send(windowRecord());
  top_.reset();
  send(windowRecord(handle + 1));
  send(FillRecord{{RecordType::Fill, handle}, {}});
  remote_.reset();
  EXPECT_FALSE(Window::fromPlatformHandle(handle));
}

TEST_F(RemoteWindowsTest, AnythingThatIsWrongTakesTheWindowsAway) {
  struct Fault {
    const char* name;
    std::string bytes;
    UniqueFd file;
  };
  std::vector<Fault> faults;
  const auto add = [&](const char* name, const auto& record, UniqueFd file = UniqueFd()) {
    faults.push_back(
        {name, {reinterpret_cast<const char*>(&record), sizeof record}, std::move(file)});
  };
  const auto window = [&](const char* name, auto change) {
    WindowRecord record = windowRecord();
    change(record);
    add(name, record);
  };
  window("negative width", [](auto& record) { record.rect.width = -1; });
  window("too wide", [](auto& record) { record.rect.width = maximumSide + 1; });
  window("too far away", [](auto& record) { record.rect.x = maximumPlace + 1; });
  window("no truth value", [](auto& record) { record.visible = 2; });
  window("no alpha", [](auto& record) { record.globalAlpha = 256; });
  window("no sensitivity", [](auto& record) { record.sensitivity = 5; });
  window("handle of another group", [](auto& record) { record.header.window = (4 << 20) + 1; });
  window("handle of the application", [](auto& record) { record.header.window = 1; });
  window("no handle", [](auto& record) { record.header.window = 3 << 20; });
  add("unknown window goes", WindowGoneRecord{{RecordType::WindowGone, handle + 1}});
  add("unknown window is filled", FillRecord{{RecordType::Fill, handle + 1}, {}});
  add("unknown type", FillRecord{{static_cast<RecordType>(99), handle}, {}});
  add("a record of the application", FrameShownRecord{{RecordType::FrameShown, handle}, 1});
  add("unexpected file", windowRecord(), memoryFile(8, 0));
  faults.push_back({"too short", std::string(4, '\1'), UniqueFd()});
  faults.push_back({"wrong size", std::string(sizeof(WindowRecord) + 1, '\1'), UniqueFd()});
  faults.push_back({"too large", std::string(WindowConnection::largestRecord + 1, '\1'), {}});
  CursorRecord cursor{};
  cursor.header = {RecordType::Cursor, handle};
  cursor.kind = CursorRecord::Image;
  cursor.width = CursorRecord::imageSide + 1;
  cursor.height = 1;
  add("too large a cursor", cursor);
  cursor.kind = CursorRecord::Shape;
  cursor.value = 100000;
  add("no cursor", cursor);

  constexpr int sealed = F_SEAL_SHRINK | F_SEAL_GROW;
  const IntSize size{16, 8};
  const auto length = static_cast<off_t>(FrameFile::bytesFor(size));
  add("file may shrink", frameRecord(size), memoryFile(length, F_SEAL_GROW));
  add("file is too short", frameRecord(size), memoryFile(length - 1, sealed));
  add("file is too long", frameRecord(size), memoryFile(length + 4096, sealed));
  add("no memory file", frameRecord(size), UniqueFd(::open("/dev/zero", O_RDWR | O_CLOEXEC)));
  add("no file", frameRecord(size));
  add("no area", frameRecord({0, 0}), memoryFile(0, sealed));
  add("too many bytes", frameRecord({maximumSide, maximumSide}), memoryFile(length, sealed));
  FrameRecord frame = frameRecord(size);
  frame.buffer = 2;
  add("no buffer", frame, memoryFile(length, sealed));
  frame = frameRecord(size);
  frame.scale = 0;
  add("no scale", frame, memoryFile(length, sealed));
  frame = frameRecord(size);
  frame.rectCount = FrameRecord::maximumRects + 1;
  add("too many rectangles", frame, memoryFile(length, sealed));

  for (const Fault& fault : faults) {
    SCOPED_TRACE(fault.name);
    connect();
    send(windowRecord());
    ASSERT_TRUE(Window::fromPlatformHandle(handle));
    Testing::StandardErrorPipe log;
    sendBytes(fault.bytes, fault.file.get());
    EXPECT_FALSE(remote_->isConnected());
    EXPECT_FALSE(Window::fromPlatformHandle(handle));
    const std::string line = log.read();
    EXPECT_NE(line.find("The windows of process group 3 are removed: "), std::string::npos);
    EXPECT_EQ(line.find('\n'), line.size() - 1) << line;
  }
  // Valid records are accepted.
  connect();
  send(windowRecord());
  send(frameRecord(size), memoryFile(length, sealed).get());
  EXPECT_TRUE(remote_->isConnected());
}

TEST_F(RemoteWindowsTest, ThereIsAnEndToTheNumberOfWindows) {
  for (int i = 0; i < int{maximumWindows}; ++i) send(windowRecord(handle + i));
  EXPECT_TRUE(remote_->isConnected());
  send(windowRecord(handle + int{maximumWindows}));
  EXPECT_FALSE(remote_->isConnected());
}

// A scripted peer of a connection.
struct RecordingClient final : WindowConnection::Client {
  const char* receive(std::span<const char>, UniqueFd) override { return nullptr; }
  void received() override {}
  void closed(const char* why) override { problem = why ? why : "the peer has gone"; }
  std::string problem;
};

TEST(WindowConnectionTest, KeepsTheOrderAndOnlyTheLastOfARunForAPeerThatIsSlow) {
  auto [ours, theirs] = socketPair(SOCK_SEQPACKET);
  RecordingClient client;
  WindowConnection connection(std::move(ours), client, G_PRIORITY_DEFAULT);
  // More than the socket buffers: the records queued after that are merged.
  constexpr std::uint32_t count = 20000;
  for (std::uint32_t i = 1; i <= count; ++i) {
    connection.send(FrameShownRecord{{RecordType::FrameShown, 1}, i}, -1, 7);
  }
  connection.send(FrameShownRecord{{RecordType::FrameShown, 1}, count + 1}, -1, 8);
  std::vector<std::uint32_t> numbers;
  while (numbers.empty() || numbers.back() != count + 1) {
    FrameShownRecord record{};
    if (::recv(theirs.get(), &record, sizeof record, MSG_DONTWAIT) < 0) {
      ASSERT_EQ(errno, EAGAIN);
      ASSERT_TRUE(g_main_context_iteration(nullptr, FALSE)) << "nothing is sent any more";
    } else {
      numbers.push_back(record.number);
    }
  }
  EXPECT_LT(numbers.size(), count);
  EXPECT_TRUE(std::is_sorted(numbers.begin(), numbers.end()));
  EXPECT_EQ(numbers[numbers.size() - 2], count);
  EXPECT_EQ(client.problem, "");
}

TEST(WindowConnectionTest, DropsAPeerThatDoesNotRead) {
  auto [ours, theirs] = socketPair(SOCK_SEQPACKET);
  RecordingClient client;
  WindowConnection connection(std::move(ours), client, G_PRIORITY_DEFAULT);
  for (std::uint32_t i = 0; i < 20000; ++i) {
    connection.send(FrameShownRecord{{RecordType::FrameShown, 1}, i});
  }
  turnLoop();
  EXPECT_EQ(client.problem, "it does not read what it is sent");
}

TEST(WindowHandleTest, HandlesOfOneGroupAreThoseOfNoOther) {
  EXPECT_FALSE(Window::setHandleBase(2048));
  ASSERT_TRUE(Window::setHandleBase(2047));
  const Window window(WindowType::Application, nullptr, {}, {}, {}, 0, false, "");
  EXPECT_TRUE(Window::isHandleOf(2047, window.platformHandle()));
  EXPECT_FALSE(Window::isHandleOf(0, window.platformHandle()));
  EXPECT_EQ(Window::fromPlatformHandle(window.platformHandle()), &window);
  ASSERT_TRUE(Window::setHandleBase(0));
}

}  // namespace
}  // namespace Tessel::Platform::Graphics

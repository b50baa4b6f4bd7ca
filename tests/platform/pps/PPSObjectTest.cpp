// Objects of the publish/subscribe service as files: reads, writes, events, errors.
#include "platform/pps/PPSFiles.h"
#include "platform/pps/PPSObject.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <utility>

namespace Tessel::Platform {
namespace {

namespace fs = std::filesystem;
using test_support::inOwnProcess;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using Testing::iterateUntil;

constexpr int readOnly = O_RDONLY;
constexpr int create = O_RDWR | O_CREAT;

constexpr const char* names[] = {"FirstReadComplete", "NewData",    "Opened",     "Closed",
                                 "OpenFailed",        "ReadFailed", "WriteFailed"};

// As "a=n:1 b=:text", the name in front.
std::string textOf(const PPSValue& value) {
  std::string text = value.objectName.toStdString();
  for (const auto& [name, attribute] : value.attributes) {
    text += concat(" ", name, "=", attribute.encoding, ":", attribute.value).toStdString();
  }
  return text;
}

// An object that records its events, as "NewData @status a=n:1".
class Subscriber {
 public:
  explicit Subscriber(const char* path, PPSObject::PPSMode mode = PPSObject::Full)
      : object(path, mode, MainMessageClient::instance()) {
    object.setEventFunc(
        [](void* context, const PPSEvent& event) {
          const std::string detail =
              event.message.isEmpty() ? textOf(event.value) : event.message.toStdString();
          static_cast<Subscriber*>(context)->events.push_back(
              names[event.type] + std::string(detail.empty() ? "" : " ") + detail);
        },
        this);
  }

  bool open(int flags) { return object.open(flags, 0, &first, true); }
  // Waits until the last event has that suffix.
  bool hears(const std::string& end) {
    return iterateUntil([&] { return !events.empty() && events.back().ends_with(end); });
  }

  // Waits until the last event is one of a failed write, and returns it.
  std::string writeFailure() {
    const auto isThere = [&] {
      return !events.empty() && events.back().starts_with("WriteFailed ");
    };
    return iterateUntil(isThere) ? std::exchange(events.back(), "told") : "nothing was told";
  }

  PPSObject object;
  PPSValue first;
  std::vector<std::string> events;
};

class PPSObjectTest : public testing::Test {
 protected:
  PPSObjectTest() { ::setenv("TESSEL_PPS_ROOT", root().c_str(), 1); }
  ~PPSObjectTest() override { ::unsetenv("TESSEL_PPS_ROOT"); }

  fs::path root() const { return folder_.path() / "root"; }
  void edit(const std::string& name, const std::string& text) const {
    folder_.write("root/" + name, text);
  }
  std::string fileText(const std::string& name) const { return folder_.read("root/" + name); }

  test_support::TemporaryFolder folder_;
  MainMessageClient client{0, -1};
};

TEST_F(PPSObjectTest, EditsFromOutsideAreHeardInEveryManner) {
  edit("status", "a:n:1\n");
  fs::permissions(root() / "status", fs::perms(0640));
  Subscriber status("status");
  ASSERT_TRUE(status.open(O_RDWR));
  edit("status", "a:n:2\n");
  ASSERT_TRUE(status.hears("NewData @status a=n:2"));
  edit("other", "a:n:3\n");
  fs::rename(root() / "other", root() / "status");
  ASSERT_TRUE(status.hears("NewData @status a=n:3"));
  fs::remove(root() / "status");
  ASSERT_TRUE(
      status.hears("ReadFailed The object \"status\" could not be read: No such file or "
                   "directory"));
  EXPECT_FALSE(status.object.write("a:n:4\n")) << "it was not to be made anew";
  edit("status", "a:n:3\n");
  ASSERT_TRUE(status.hears("NewData @status a=n:3")) << "that it is back is news";
  fs::permissions(root() / "status", fs::perms(0640));
  EXPECT_TRUE(status.object.write("a:n:5\n"));
  ASSERT_TRUE(status.hears("NewData @status a=n:5"));
  EXPECT_EQ(fs::status(root() / "status").permissions(), fs::perms(0640));

  fs::remove(root() / "status");
  fs::create_symlink(folder_.path() / "outside", root() / "status");
  ASSERT_TRUE(status.hears("Too many levels of symbolic links"));
  fs::remove_all(root());
  ASSERT_TRUE(status.hears("Closed"));
  EXPECT_FALSE(status.object.write("a:n:6\n"));
}

TEST_F(PPSObjectTest, DeltaBringsWhatIsDifferent) {
  edit("status", "a:n:1\nb:n:1\nc:n:1\n");
  Subscriber status("status", PPSObject::Delta);
  ASSERT_TRUE(status.open(O_RDWR));
  ASSERT_TRUE(status.object.write("a:n:2\nb:\nd::x\n"));
  ASSERT_TRUE(status.hears("NewData @status a=n:2 b=json:null d=:x"));
}

TEST_F(PPSObjectTest, ADestroyedObjectIsSilentAndOthersInItsFolderAreNot) {
  int events = 0;
  Subscriber other("other");
  ASSERT_TRUE(other.open(create));
  {
    PPSObject object("status", PPSObject::Full, &client);
    object.setEventFunc([](void* context, const PPSEvent&) { ++*static_cast<int*>(context); },
                        &events);
    ASSERT_TRUE(object.open(create, 0, nullptr, true));
    ASSERT_TRUE(object.write("a:n:1\n"));
  }
  Subscriber later("status");
  ASSERT_TRUE(later.open(O_RDWR));
  ASSERT_TRUE(later.object.write("a:n:2\n"));
  ASSERT_TRUE(later.hears("NewData @status a=n:2"));
  EXPECT_EQ(events, 0);
  edit("other", "a:n:3\n");
  EXPECT_TRUE(other.hears("NewData @other a=n:3"));
}

TEST_F(PPSObjectTest, NoPathLeavesTheRoot) {
  fs::create_directories(root() / "real");
  edit("real/object", "a:n:1\n");
  folder_.write("outside", "secret::x\n");
  fs::create_directory_symlink(folder_.path(), root() / "link");
  fs::create_symlink(folder_.path() / "outside", root() / "file-link");
  ASSERT_EQ(::mkfifo((root() / "pipe").c_str(), 0600), 0);
  const std::string longest(300, 'x');
  for (const char* path :
       {"../outside", "real/../../outside", "link/outside", "file-link", "/../outside", "", "/",
        "real/", "real//object", "real/./object", "./real/object", ".hidden", "real/.pps-new",
        "real", "pipe", "real/object/x", "new\nline", longest.c_str()}) {
    for (const int flags : {O_RDWR, create, create | O_TRUNC, int(O_WRONLY)}) {
      Subscriber refused(path);
      EXPECT_FALSE(refused.open(flags)) << path;
      ASSERT_TRUE(iterateUntil([&] { return !refused.events.empty(); }));
      EXPECT_THAT(refused.events[0], HasSubstr("OpenFailed The object \"")) << path;
    }
  }
  EXPECT_EQ(folder_.read("outside"), "secret::x\n");
  EXPECT_FALSE(Subscriber("missing").open(O_RDWR));
  EXPECT_FALSE(Subscriber("real/object").open(create | O_EXCL));
  Subscriber emptied("real/object");
  EXPECT_TRUE(emptied.open(O_RDWR | O_TRUNC));
  EXPECT_EQ(textOf(emptied.first), "@object");
}

TEST_F(PPSObjectTest, WhatCannotBeWrittenChangesNothing) {
  edit("status", "@status\na:n:1\n");
  Subscriber status("status");
  ASSERT_TRUE(status.open(O_RDWR));
  const std::string large = "big::" + std::string(600'000, 'x') + "\n";
  ASSERT_TRUE(status.object.write(large));
  const std::string text = fileText("status");
  for (const std::string& lines :
       {std::string("b:n:1\nno attribute\n"), std::string(":n:1\n"), std::string("@b:n:1\n"),
        std::string("b:n:1\nb\tc:n:1\n"), std::string("b::x\0y\n", 7), "more" + large,
        "more::" + std::string(PPSValue::mostBytes, 'x') + "\n"}) {
    EXPECT_FALSE(status.object.write(lines)) << lines.substr(0, 40);
    EXPECT_THAT(status.writeFailure(), HasSubstr("\"status\" could not be written: it "));
    EXPECT_EQ(fileText("status"), text);
  }
  Subscriber reader("status");
  ASSERT_TRUE(reader.open(readOnly));
  EXPECT_FALSE(reader.object.write("b:n:1\n"));
  EXPECT_TRUE(reader.hears("could not be written: it is open for reading only"));

  edit("status", "big::" + std::string(PPSValue::mostBytes, 'x'));
  EXPECT_TRUE(reader.hears("could not be read: File too large"));
  edit("status", "");
  EXPECT_TRUE(reader.hears("NewData @status"));
}

TEST_F(PPSObjectTest, AWriterThatDoesNotLetGoIsNotWaitedForWithoutEnd) {
  PPSPlace place;
  ASSERT_FALSE(findPPSPlace(ppsRoot(), "status", true, place));
  const std::chrono::milliseconds limit(50);
  {
    const PPSFolderLock other(place, limit);
    EXPECT_FALSE(other.error());
    EXPECT_EQ(PPSFolderLock(place, limit).error(), std::errc::timed_out);
  }
  EXPECT_FALSE(PPSFolderLock(place, limit).error());
}

// Mounts a small file system for this process only; false if not permitted.
bool mountSmall(const fs::path& folder) {
  return ::unshare(CLONE_NEWNS) == 0 &&
         ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         ::mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=32k") == 0;
}

bool mayMount(const fs::path& folder) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(mountSmall(folder) ? 0 : 1);
  int status = 1;
  return ::waitpid(child, &status, 0) == child && status == 0;
}

class PPSFaultTest : public PPSObjectTest {
 protected:
  void SetUp() override {
    if (::geteuid() != 0)
      GTEST_SKIP() << "only root can become somebody else, and mount a small disk";
    fs::create_directories(root());
  }
  std::string mustFail(Subscriber& status, const String& lines) {
    EXPECT_FALSE(status.object.write(lines));
    return status.writeFailure();
  }
};

TEST_F(PPSFaultTest, AFullDiskAndOneThatIsReadOnlyAreTold) {
  if (!mayMount(root())) GTEST_SKIP() << "not permitted to mount a small disk here";
  inOwnProcess([&] {
    ASSERT_TRUE(mountSmall(root()));
    Subscriber status("status");
    ASSERT_TRUE(status.open(create));
    ASSERT_TRUE(status.object.write("a:n:1\n"));
    const std::string large(40'000, 'x');
    EXPECT_THAT(mustFail(status, concat("a:n:2\nb::", large, "\n")),
                EndsWith("could not be written: No space left on device"));
    EXPECT_EQ(fileText("status"), "@status\na:n:1\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(root()), {}), 1) << "nothing is left beside it";
    ASSERT_TRUE(status.object.write("a:n:3\n")) << "what fits is written again";

    ASSERT_EQ(::mount(nullptr, root().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    EXPECT_THAT(mustFail(status, "a:n:4\n"), EndsWith("Read-only file system"));
    EXPECT_FALSE(Subscriber("status").open(O_RDWR));
    EXPECT_FALSE(Subscriber("new").open(create));
    EXPECT_TRUE(Subscriber("status").open(readOnly));
    EXPECT_EQ(fileText("status"), "@status\na:n:3\n");
  });
}

}  // namespace
}  // namespace Tessel::Platform

// The user's folders: ownership, and locking by processes.
#include "platform/os/Folders.h"
#include "platform/os/SandboxFiles.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <set>
#include <vector>

namespace Tessel::Platform {
namespace {

namespace fs = std::filesystem;

// Private folders, so that the real ones are not touched. Shared by all tests and repetitions,
// because the folders are looked up once per process.
class Home final : public testing::Environment {
 public:
  void SetUp() override {
    if (!folder_) folder_ = std::make_unique<test_support::TemporaryFolder>();
    setenv("XDG_DATA_HOME", (folder_->path() / "data").c_str(), 1);
    setenv("XDG_CACHE_HOME", (folder_->path() / "cache").c_str(), 1);
  }
  void clear() const {
    fs::remove_all(folder_->path() / "data");
    fs::remove_all(folder_->path() / "cache");
  }

  fs::path data(const std::string& name) const { return folder_->path() / "data/pagehost" / name; }
  fs::path cache(const std::string& name) const {
    return folder_->path() / "cache/pagehost" / name;
  }

 private:
  std::unique_ptr<test_support::TemporaryFolder> folder_;
};
auto* const home = static_cast<Home*>(testing::AddGlobalTestEnvironment(new Home));

UniqueFd lockAsAnotherWould(const fs::path& folder) {
  fs::create_directories(folder);
  UniqueFd file(open((folder / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  EXPECT_EQ(flock(file.get(), LOCK_EX | LOCK_NB), 0);
  return file;
}

mode_t modeOf(const fs::path& path) {
  struct stat status {};
  EXPECT_EQ(lstat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

class FoldersTest : public testing::Test {
 protected:
  ~FoldersTest() override { home->clear(); }
};

TEST_F(FoldersTest, AClaimGoesToTheFirstFolderThatNobodyHas) {
  UniqueFd other = lockAsAnotherWould(home->data("busy"));
  const UniqueFd third = lockAsAnotherWould(home->data("busy-3"));
  const ClaimedFolder second = claimDataFolder("busy");
  ASSERT_TRUE(second.lock);
  EXPECT_EQ(second.data, home->data("busy-2"));
  EXPECT_EQ(second.cache, home->cache("busy-2"));
  EXPECT_EQ(modeOf(second.data), 0700u);
  const ClaimedFolder fourth = claimDataFolder("busy");
  EXPECT_EQ(fourth.data, home->data("busy-4"));

  other.reset();
  const ClaimedFolder first = claimDataFolder("busy");
  EXPECT_EQ(first.data, home->data("busy"));
  EXPECT_EQ(flock(first.lock.get(), LOCK_EX | LOCK_NB), 0);
  const UniqueFd again(open((home->data("busy") / "lock").c_str(), O_RDWR | O_CLOEXEC));
  EXPECT_NE(flock(again.get(), LOCK_EX | LOCK_NB), 0) << "the claim is a lock for the others, too";
  EXPECT_EQ(fcntl(first.lock.get(), F_GETFD), FD_CLOEXEC) << "children do not keep it";
}

TEST_F(FoldersTest, ClaimsThatCannotBeMadeAreTold) {
  std::vector<ClaimedFolder> all;
  for (int i = 0; i < 64; ++i) all.push_back(claimDataFolder("full"));
  EXPECT_TRUE(all.back().lock);
  EXPECT_FALSE(claimDataFolder("full").lock);
  EXPECT_EQ(errno, EBUSY);

  fs::create_directories(home->data("linked"));
  fs::create_symlink("elsewhere", home->data("linked") / "lock");
  EXPECT_FALSE(claimDataFolder("linked").lock);
  EXPECT_EQ(errno, ELOOP);
  EXPECT_FALSE(fs::exists(home->data("linked") / "elsewhere"));

  EXPECT_FALSE(claimDataFolder("linked/lock/below").lock) << "where a file is in the way";
}

class RuntimeFolderTest : public testing::Test {
 protected:
  RuntimeFolderTest() { setenv("XDG_RUNTIME_DIR", base_.path().c_str(), 1); }
  ~RuntimeFolderTest() override { unsetenv("XDG_RUNTIME_DIR"); }

  test_support::TemporaryFolder base_;
  const fs::path ours_ = base_.path() / "pagehost";
};

TEST_F(RuntimeFolderTest, ItIsMadeForItsUserAlone) {
  EXPECT_EQ(runtimeFolder(), ours_);
  EXPECT_EQ(modeOf(ours_), 0700u);
  EXPECT_EQ(runtimeFolder(), ours_) << "the second process finds it";
}

TEST_F(RuntimeFolderTest, WhatOthersCanReachIsRefused) {
  fs::create_directory(ours_);
  for (const mode_t mode : {0755u, 0710u, 0701u, 0720u, 01777u}) {
    ASSERT_EQ(chmod(ours_.c_str(), mode), 0);
    errno = 0;
    EXPECT_EQ(runtimeFolder(), "") << mode;
    EXPECT_EQ(errno, EACCES);
  }
  fs::remove(ours_);
  // The parent folder: a user who can write there can replace the folder.
  for (const mode_t mode : {0777u, 0770u, 0722u}) {
    ASSERT_EQ(chmod(base_.path().c_str(), mode), 0);
    EXPECT_EQ(runtimeFolder(), "") << mode;
  }
  ASSERT_EQ(chmod(base_.path().c_str(), 01777), 0);
  EXPECT_EQ(runtimeFolder(), ours_) << "as /tmp is";
  ASSERT_EQ(chmod(base_.path().c_str(), 0700), 0);
  if (geteuid() == 0) {
    ASSERT_EQ(chown(base_.path().c_str(), 1234, 1234), 0);
    EXPECT_EQ(runtimeFolder(), "") << "another user's";
    ASSERT_EQ(chown(base_.path().c_str(), 0, 0), 0);
  }
  fs::remove(ours_);
  fs::create_directory(base_.path() / "elsewhere");
  ASSERT_EQ(chmod((base_.path() / "elsewhere").c_str(), 0700), 0);
  fs::create_directory_symlink("elsewhere", ours_);
  EXPECT_EQ(runtimeFolder(), "") << "a link to a folder";
  fs::remove(ours_);
  base_.write("pagehost", "a file");
  EXPECT_EQ(runtimeFolder(), "");
}

TEST_F(RuntimeFolderTest, WhatTheSandboxHasLeftGoesWithItsProcesses) {
  const pid_t ended = fork();
  if (ended == 0) _exit(0);
  waitpid(ended, nullptr, 0);
  const std::string own = ".flatpak/webkit-" + std::to_string(getpid());
  const auto info = [](pid_t pid) { return "{\n  \"child-pid\": " + std::to_string(pid) + "\n}"; };
  base_.write(".flatpak/webkit-" + std::to_string(ended) + "-1/bwrapinfo.json", info(getpid()));
  base_.write(own + "-1/bwrapinfo.json", info(ended));
  base_.write(own + "-2/bwrapinfo.json", info(getpid()));
  base_.write(own + "-3/empty", "");
  base_.write(own + "-4/empty", "");
  const auto makeOld = [&](const std::string& name) {
    const timespec longAgo[2]{{1000000, 0}, {1000000, 0}};
    utimensat(AT_FDCWD, (base_.path() / name).c_str(), longAgo, AT_SYMLINK_NOFOLLOW);
  };
  makeOld(own + "-4");
  fs::create_directory(base_.path() / "webkitgtk");
  const auto bindTo = [&](const std::string& name) {
    return test_support::socketAt(base_.path() / name, ::bind);
  };
  bindTo("webkitgtk/new");
  bindTo("webkitgtk/old");
  const UniqueFd used = bindTo("webkitgtk/used");
  makeOld("webkitgtk/old");
  makeOld("webkitgtk/used");

  removeSandboxLeftovers();
  std::set<std::string> left;
  for (const char* folder : {".flatpak", "webkitgtk"}) {
    for (const auto& entry : fs::directory_iterator(base_.path() / folder)) {
      left.insert(fs::relative(entry.path(), base_.path()));
    }
  }
  EXPECT_EQ(left,
            (std::set<std::string>{own + "-2", own + "-3", "webkitgtk/new", "webkitgtk/used"}));
}

TEST(RemoveAtExitTest, AFileGoesWithTheProcessThatMadeItAndWithNoOther) {
  const test_support::TemporaryFolder folder;
  for (const char* name : {"socket", "web-1/file", "webs/file"}) folder.write(name, "");
  const fs::path path = folder.path() / "socket";
  const pid_t process = fork();
  if (process == 0) {
    removeAtExit(path);
    removeAtExit(folder.path(), "web-");
    const pid_t forked = fork();
    if (forked == 0) std::exit(0);
    waitpid(forked, nullptr, 0);
    std::exit(fs::exists(path) ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(process, &status, 0), process);
  EXPECT_EQ(status, 0) << "a forked process has taken it along";
  EXPECT_FALSE(fs::exists(path));
  EXPECT_FALSE(fs::exists(folder.path() / "web-1"));
  EXPECT_TRUE(fs::exists(folder.path() / "webs/file"));
}

}  // namespace
}  // namespace Tessel::Platform

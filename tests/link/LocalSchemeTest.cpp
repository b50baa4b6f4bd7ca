// Which files the local: scheme opens, and as what.
#include "engine/webkit/LocalScheme.h"
#include "tests/link/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

namespace {

using Tessel::Platform::UniqueFd;
namespace fs = std::filesystem;

class LocalSchemeTest : public testing::Test {
 protected:
  void SetUp() override {
    folder_.write("secret.txt", "secret");
    folder_.write("root/index.html", "front");
    folder_.write("root/app/index.html", "app");
    folder_.write("root/app/a b\xc3\xbc%.js", "script");
    folder_.write("root/..hidden/...", "dots");
    fs::create_symlink("../secret.txt", root() / "link.txt");
    fs::create_symlink("index.html", root() / "inside.html");
    fs::create_symlink("..", root() / "up");
    fs::create_symlink("app", root() / "application");
    fs::create_symlink("nowhere", root() / "dangling");
  }

  fs::path root() const { return folder_.path() / "root"; }

  // The file's content, or the error's name.
  std::string open(std::string_view path) const { return openIn(root(), path); }
  static std::string openIn(const std::string& root, std::string_view path) {
    const UniqueFd file = openBelow(root, path);
    if (!file) return ::strerrorname_np(errno);
    char content[64];
    const ssize_t count = ::read(file.get(), content, sizeof content);
    return count < 0 ? "unreadable" : std::string(content, static_cast<std::size_t>(count));
  }

  test_support::TemporaryFolder folder_;
};

TEST_F(LocalSchemeTest, FilesAreFoundByTheirEncodedNames) {
  EXPECT_EQ(open("/index.html"), "front");
  EXPECT_EQ(open("/"), "front");
  EXPECT_EQ(open("/app/"), "app");
  EXPECT_EQ(open("//app/.//index.html"), "app");
  EXPECT_EQ(open("/app/a%20b%C3%BC%25.js"), "script");
  EXPECT_EQ(open("/%61pp%2Findex%2ehtml"), "app");
  EXPECT_EQ(open("/..hidden/..."), "dots") << "dots that are a name";

  EXPECT_EQ(open("/app"), "EISDIR");
  EXPECT_EQ(open("/..hidden/"), "ENOENT");
  EXPECT_EQ(open("/missing"), "ENOENT");
  EXPECT_EQ(open("/missing/index.html"), "ENOENT");
  EXPECT_EQ(open("/index.html/"), "ENOTDIR");
  EXPECT_EQ(open("/app/a%2520b"), "ENOENT") << "decoded once only";
}

TEST_F(LocalSchemeTest, NothingOutsideTheRootIsReached) {
  for (const char* path :
       {"/../secret.txt", "/%2e%2e/secret.txt", "/.%2E/secret.txt", "/app/../../secret.txt",
        "/..%2fsecret.txt", "/app/../index.html", "/app/..", "/..", "/../"}) {
    EXPECT_EQ(open(path), "EACCES") << path;
  }
  for (const char* path : {"/link.txt", "/inside.html", "/up/secret.txt", "/application/index.html",
                           "/application/", "/application", "/dangling"}) {
    EXPECT_EQ(open(path), "ELOOP") << path;
  }
  for (const char* path : {"/index.html%00", "/%00", "/link.txt%00.html", "/%", "/%4", "/%zz"}) {
    EXPECT_EQ(open(path), "EINVAL") << path;
  }
  // Only regular files: opening this one would wait for a writer.
  ASSERT_EQ(::mkfifo((root() / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(open("/pipe"), "EACCES");
}

TEST_F(LocalSchemeTest, TheRootItselfMayBeALink) {
  fs::create_directory_symlink(root(), folder_.path() / "linked root");
  EXPECT_EQ(openIn(folder_.path() / "linked root", "/app/"), "app");
  EXPECT_EQ(openIn(folder_.path() / "linked root", "/link.txt"), "ELOOP");
  EXPECT_EQ(openIn(folder_.path() / "no root", "/index.html"), "ENOENT");
  EXPECT_EQ(openIn(root() / "index.html", "/"), "ENOTDIR");
}

}  // namespace

// Redirection of standard streams to files, in separate processes.
#include "src/StreamRedirection.h"
#include "tests/support/OwnProcess.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace {

using test_support::contentOf;
using test_support::inOwnProcess;

class StreamRedirectionTest : public ::testing::Test {
 protected:
  // Redirects the streams, writes to both, and reports whether the failed one is silenced.
  void redirect(const std::string& out, const std::string& err, int failed) {
    inOwnProcess([&] {
      ::umask(0);
      redirectStandardStream(STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT | O_APPEND);
      redirectStandardStream(STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT | O_TRUNC);
      std::printf("for out");
      std::fprintf(stderr, "for err");
      // By the exit status, since the streams are redirected.
      const std::string link = "/proc/self/fd/" + std::to_string(failed);
      if (failed && std::filesystem::read_symlink(link) != "/dev/null") ::_exit(2);
    });
  }
  static std::string complaint(const std::string& path, const char* stream) {
    return "Could not open " + path + " as " + stream + ": error " + std::to_string(ENOENT) + "\n";
  }

  const test_support::TemporaryFolder temporary;
  const std::string folder = temporary.path();
};

TEST_F(StreamRedirectionTest, StreamsGoToFilesWithTheFlagsGivenThatOnlyTheUserMayRead) {
  const std::string out = folder + "/out";
  const std::string err = folder + "/err";
  redirect(out, err, 0);
  redirect(out, err, 0);
  EXPECT_EQ(contentOf(out), "for outfor out") << "it is appended to";
  EXPECT_EQ(contentOf(err), "for err") << "it is truncated";
  struct stat status {};
  ASSERT_EQ(::stat(err.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(StreamRedirectionTest, StreamThatCannotBeOpenedIsSilencedAndTheOtherOneSaysSo) {
  const std::string file = folder + "/file";
  const std::string missing = folder + "/no/file";
  redirect(file, missing, STDERR_FILENO);
  EXPECT_EQ(contentOf(file), complaint(missing, "stderr") + "for out");

  inOwnProcess([&] {
    redirectStandardStream(STDERR_FILENO, file.c_str(), O_WRONLY | O_TRUNC);
    redirectStandardStream(STDOUT_FILENO, missing.c_str(), O_WRONLY | O_CREAT);
    if (std::filesystem::read_symlink("/proc/self/fd/1") != "/dev/null") ::_exit(2);
  });
  EXPECT_EQ(contentOf(file), complaint(missing, "stdout"));
}

}  // namespace

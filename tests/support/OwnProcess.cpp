// Parts of tests in processes of their own.
#include "tests/support/OwnProcess.h"

#include "platform/base/UniqueFd.h"

#include <fcntl.h>
#include <glib.h>
#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

using Tessel::Platform::UniqueFd;

namespace test_support {

constexpr unsigned int deadlineSeconds = 20;

void inOwnProcess(const std::function<void()>& body) {
  std::fflush(nullptr);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::alarm(deadlineSeconds);
    separateMainContext();
    body();
    std::fflush(nullptr);
    ::_exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 0) << "failed in its own process, see above";
}

void separateMainContext() {
  GMainContext* const context = g_main_context_default();
  std::array<GPollFD, 16> descriptors{};
  gint priority = 0;
  gint timeout = 0;
  g_main_context_acquire(context);
  g_main_context_prepare(context, &priority);
  const gint count = g_main_context_query(context, G_MAXINT, &timeout, descriptors.data(),
                                          static_cast<gint>(descriptors.size()));
  g_main_context_release(context);
  const std::size_t polled = std::min(descriptors.size(), static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < polled; ++i) {
    const int fd = descriptors[i].fd;
    std::error_code gone;
    const auto kind = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(fd), gone);
    if (kind != "anon_inode:[eventfd]") continue;
    const UniqueFd own(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    ASSERT_EQ(::dup3(own.get(), fd, O_CLOEXEC), fd);
  }
}

}  // namespace test_support

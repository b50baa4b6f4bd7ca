// Ownership of descriptors.
#include "platform/UniqueFd.h"

#include <fcntl.h>
#include <gtest/gtest.h>

namespace Tessel::Platform {
namespace {

bool isOpen(int fd) {
  return fcntl(fd, F_GETFD) != -1;
}

int openSomething() {
  return open("/dev/null", O_RDONLY | O_CLOEXEC);
}

TEST(UniqueFdTest, ClosesWhatItOwnsAndNothingElse) {
  const int first = openSomething();
  const int second = openSomething();
  const int released = openSomething();
  {
    UniqueFd a(first);
    UniqueFd b(std::move(a));
    EXPECT_FALSE(a);
    EXPECT_EQ(b.get(), first);

    b = UniqueFd(second);
    EXPECT_FALSE(isOpen(first));
    EXPECT_EQ(UniqueFd(released).release(), released);
    EXPECT_TRUE(isOpen(second));
  }
  EXPECT_FALSE(isOpen(second));
  EXPECT_TRUE(isOpen(released));
  close(released);
}

}  // namespace
}  // namespace Tessel::Platform

// Access to a served path.
#include "platform/os/ResourceManager.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace {

using namespace Tessel::Platform;

TEST(ResourceManagerTest, AClientHasTheRightsOfItsClassAndRootAll) {
  PathAttributes attributes;
  iofunc_attr_init(attributes, S_IFNAM | 0640, 89, 214);
  const auto outcome = [&](uid_t uid, gid_t gid, int flags) {
    OpenContext context{&attributes, {1, uid, gid}};
    DeviceMessage message;
    message.command = static_cast<std::uint32_t>(flags);
    const int status = iofunc_open_default(message, context);
    EXPECT_EQ(context.open, status == 0);
    return status;
  };
  EXPECT_EQ(outcome(89, 1, O_RDWR), 0) << "the owner";
  EXPECT_EQ(outcome(7, 214, O_RDONLY), 0) << "its group";
  EXPECT_EQ(outcome(7, 214, O_WRONLY), EACCES);
  EXPECT_EQ(outcome(7, 7, O_RDONLY), EACCES) << "others";
  EXPECT_EQ(outcome(0, 0, O_RDWR), 0) << "root";
}

}  // namespace

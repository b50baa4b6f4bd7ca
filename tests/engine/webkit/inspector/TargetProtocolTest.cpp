// Plain front ends, and those that support the engine's wrapping. Any thread.
#include "engine/webkit/inspector/TargetProtocol.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;

std::string created(const char* target, const char* more = "") {
  return std::string(R"({"method":"Target.targetCreated","params":{"targetInfo":{"targetId":")") +
         target + R"(","type":"page")" + more + "}}}";
}
std::string from(const char* target, const char* message) {
  return std::string(R"({"method":"Target.dispatchMessageFromTarget","params":{"targetId":")") +
         target + R"(","message":")" + message + R"("}})";
}
constexpr const char* question = R"({"id":5,"method":"Runtime.evaluate"})";
std::string wrapped(int id, const char* target) {
  return R"({"id":)" + std::to_string(id) +
         R"(,"method":"Target.sendMessageToTarget","params":{"targetId":")" + target +
         R"(","message":"{\"id\":5,\"method\":\"Runtime.evaluate\"}"}})";
}

TEST(TargetProtocolTest, APlainFrontEndTalksToThePageThatIsThere) {
  TargetProtocol protocol;
  EXPECT_EQ(protocol.toEngine(question), std::nullopt) << "there is no page yet";
  EXPECT_THAT(protocol.takeHeld(), IsEmpty());
  EXPECT_THAT(protocol.toFrontEnd(created("page-1")), Optional(created("page-1")));
  EXPECT_THAT(protocol.takeHeld(), ElementsAre(wrapped(1, "page-1")));
  EXPECT_EQ(protocol.toFrontEnd(R"({"result":{},"id":1})"), std::nullopt);
  EXPECT_THAT(protocol.toFrontEnd(from("page-1", "answer")), Optional(std::string("answer")));
  // A provisional page replaces the current one.
  protocol.toFrontEnd(created("page-2", R"(,"isProvisional":true)"));
  EXPECT_EQ(protocol.toFrontEnd(from("page-2", "early")), std::nullopt);
  EXPECT_THAT(protocol.toEngine(question), Optional(wrapped(2, "page-1")));
  protocol.toFrontEnd(
      R"({"method":"Target.didCommitProvisionalTarget","params":{"oldTargetId":"page-1","newTargetId":"page-2"}})");
  EXPECT_THAT(
      protocol.toFrontEnd(R"({"error":{"code":-32000,"message":"Missing target"},"id":2})"),
      Optional(std::string(R"({"error":{"code":-32000,"message":"Missing target"},"id":5})")));
  EXPECT_THAT(protocol.toEngine(question), Optional(wrapped(3, "page-2")));
  protocol.toFrontEnd(R"({"method":"Target.targetDestroyed","params":{"targetId":"page-2"}})");
  EXPECT_EQ(protocol.toEngine(question), std::nullopt);
  EXPECT_EQ(protocol.toEngine("nonsense"), std::nullopt);
  EXPECT_EQ(protocol.toEngine(std::string(1000000, '[')), std::nullopt);
}

}  // namespace

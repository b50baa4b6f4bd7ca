// What crosses for web view commands: layouts, the proxy, the receiver, and damaged messages.
#include "tests/support/ChromeFixture.h"
#include "tests/support/Mutator.h"
#include "tests/support/StandardErrorPipe.h"
#include "tests/webview/commands/HandmadeBlobs.h"
#include "webview/commands/CommandMessages.h"
#include "webview/commands/CommandReceiver.h"
#include "webview/commands/CommandTable.h"

#include <algorithm>
#include <map>

namespace {

using namespace std::string_view_literals;
using Tessel::Platform::IPCSafeString;
using Tessel::Platform::Message;
using Tessel::Platform::serializeMessage;
using Tessel::Platform::TypedReplyBuffer;
using Tessel::Platform::Testing::StandardErrorPipe;
using test_support::blobsByHand;
using test_support::CopiedBlobs;
using test_support::wordOf;
using ::testing::HasSubstr;

// Commands have their web view's handle first.
CopiedBlobs blobsByHand(const CommandRow& row) {
  return blobsByHand(row.messageNumber, "i" + std::string(row.messageFields));
}

// Processes of different builds talk by numbers and layouts, so these never change: who adds a
// command puts the new sum here, and who sees another one has changed an old one.
TEST(CommandLayoutTest, NumbersFieldsAndRepliesAreWhatTheyWere) {
  std::map<int, std::string> rows;
  for (const CommandRow& row : commandTable()) {
    rows[row.messageNumber] +=
        std::string(row.name) + ":" + row.messageFields + "=" + row.messageReply + ";";
  }
  std::uint64_t sum = 0xcbf29ce484222325;
  for (const auto& [number, row] : rows) {
    for (const char byte : std::to_string(number) + " " + row) {
      sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
    }
  }
  EXPECT_EQ(sum, 3190975617029814741u);
}

TEST(CommandLayoutTest, EveryLayoutIsReadAndWrittenByteForByte) {
  std::map<int, std::string> layouts{{1000, ""},    {1001, "isi"}, {1002, "i"}, {1003, "ss"},
                                     {1004, "is"},  {1005, "s"},   {1103, "s"}, {1100, "iiiii"},
                                     {1101, "iss"}, {1102, "iss"}};
  for (const CommandRow& row : commandTable()) {
    if (row.messageNumber != 0) layouts[row.messageNumber] = "i" + std::string(row.messageFields);
  }
  layouts[2082] = "i";  // a number of the protocol that no command has
  for (const auto& [type, fields] : layouts) {
    const CopiedBlobs blobs = blobsByHand(type, fields);
    const auto message = blobs.deserialize();
    ASSERT_TRUE(message) << type;
    EXPECT_EQ(message->type(), type);
    EXPECT_EQ(CopiedBlobs(serializeMessage(*message)).bytes, blobs.bytes) << type;
  }
  for (const int type : {999, 1006, 1099, 1104, 1999, 2095, 2101, 2136, 2147, 2261, 2285}) {
    EXPECT_EQ(Tessel::Platform::messageSerializer(type), nullptr) << type;
  }
}

// Damages messages of every layout, always in the same way.
TEST(CommandLayoutTest, DamagedMessagesAreReadOrDroppedButNeverBelieved) {
  constexpr int mutations = 60000;
  std::vector<std::string> tokens{std::string(1, '\0'), "\1", std::string(1u << 20, '\1')};
  for (const CommandRow& row : commandTable()) {
    tokens.push_back(wordOf(static_cast<unsigned int>(row.messageNumber)));
  }
  test_support::Mutator mutator(20260611, tokens);
  const auto damage = [&](std::vector<std::string>& bytes) {
    const auto at = static_cast<std::ptrdiff_t>(mutator.below(bytes.size()));
    std::string& piece = bytes[static_cast<std::size_t>(at)];
    switch (mutator.below(6)) {
      case 0:
        bytes.erase(bytes.begin() + at);
        break;
      case 1:
        bytes.insert(bytes.begin() + at, mutator.oneOf(tokens).substr(0, 6));
        break;
      case 2:
        std::swap(piece, bytes[mutator.below(bytes.size())]);
        break;
      default:
        piece = mutator.damage(piece);
    }
  };
  StandardErrorPipe standardError;
  int accepted = 0;
  for (int i = 0; i < mutations && !testing::Test::HasFailure(); ++i) {
    CopiedBlobs blobs = blobsByHand(mutator.oneOf(commandTable()));
    for (auto faults = 1 + mutator.below(3); faults > 0 && !blobs.bytes.empty(); --faults) {
      damage(blobs.bytes);
    }
    const auto message = blobs.deserialize();
    if (!message) continue;
    ++accepted;
    // What is accepted says the same when it is sent on. A UTF-8 text may lack its terminator.
    const CopiedBlobs again(serializeMessage(*message));
    ASSERT_EQ(again.bytes.size(), blobs.bytes.size());
    for (std::size_t part = 1; part < again.bytes.size(); ++part) {
      if (blobs.bytes[part].empty()) blobs.bytes[part] = "\0"sv;
      ASSERT_TRUE(again.bytes[part] == blobs.bytes[part])
          << testing::PrintToString(blobs.bytes[part]);
    }
  }
  // The damage must leave both.
  EXPECT_GT(accepted, mutations / 50);
  EXPECT_LT(accepted, mutations * 49 / 50);
}

class CommandMessagesTest : public test_support::ChromeFixture {
 protected:
  const unsigned int handle = createWebView();
  WebView& view = webView(handle);
  const std::shared_ptr<test_support::FakePage> itsPage = pageOf(handle);
};

TEST_F(CommandMessagesTest, ReceiverRunsOnlyCommandsOfItsWebViews) {
  TypedReplyBuffer<int> reply;
  reply.set(7);
  EXPECT_FALSE(dispatchWebViewCommand(zOrderMessage(handle + 1000, &reply)));
  EXPECT_EQ(reply.value(), 7);
  for (const int type :
       {-1, 0, 1001, 1101, 1999, 2082, 2095, 2101, 2136, 2147, 2261, 2285, 65536}) {
    EXPECT_FALSE(dispatchWebViewCommand(Message(type, &reply))) << type;
  }
  EXPECT_TRUE(dispatchWebViewCommand(zOrderMessage(handle, &reply)));
  EXPECT_EQ(reply.value(), 0);
  EXPECT_TRUE(dispatchWebViewCommand(zOrderMessage(handle))) << "a getter nobody waits for";
}

TEST_F(CommandMessagesTest, ReceiverDoesNotRunWhatHasArgumentsThatAreNone) {
  TypedReplyBuffer<bool> reply;
  StandardErrorPipe standardError;
  for (const int type : {-1, 5000, 0x7fffffff}) {
    EXPECT_TRUE(dispatchWebViewCommand(setWebEventEnabledMessage(handle, nullptr, type, true)));
    EXPECT_TRUE(dispatchWebViewCommand(isPropertyChangedEventEnabledMessage(handle, &reply, type)));
    EXPECT_THAT(standardError.read(), HasSubstr("2148"));
  }
  view.setViewport({1, 2, 3, 4});
  for (const char* json : {"", "[]", "{\"x\":1}", "{"}) {
    EXPECT_TRUE(dispatchWebViewCommand(setViewportMessage(handle, nullptr, json)));
  }
  EXPECT_EQ(view.viewport(), (OrvWebRect{1, 2, 3, 4}));
  // A number text counts as far as it is one.
  EXPECT_TRUE(dispatchWebViewCommand(setDevicePixelRatioMessage(handle, nullptr, "x")));
  EXPECT_EQ(view.devicePixelRatio(), 0);
  EXPECT_TRUE(
      dispatchWebViewCommand(loadURLMessage(handle, nullptr, IPCSafeString::latin1("gr\xfcn"))));
  EXPECT_EQ(itsPage->trace.back(), "load(gr\xc3\xbcn)");
}

}  // namespace

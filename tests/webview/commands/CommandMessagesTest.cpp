// Messages of web view commands: layouts, the receiver, and malformed messages.
#include "tests/support/ChromeFixture.h"
#include "tests/support/StandardErrorPipe.h"
#include "tests/webview/commands/HandmadeBlobs.h"
#include "webview/commands/CommandMessages.h"
#include "webview/commands/CommandReceiver.h"
#include "webview/commands/CommandTable.h"

#include <map>
#include <set>

namespace {

using Tessel::Platform::IPCSafeString;
using Tessel::Platform::Message;
using Tessel::Platform::serializeMessage;
using Tessel::Platform::TypedReplyBuffer;
using Tessel::Platform::Testing::StandardErrorPipe;
using test_support::blobsByHand;
using test_support::CopiedBlobs;
using ::testing::HasSubstr;

// The first field of a command is its web view's handle.
CopiedBlobs blobsByHand(const CommandRow& row) {
  return blobsByHand(row.messageNumber, "i" + std::string(row.messageFields));
}

// Unused numbers in the range of the commands, and adjacent ones.
std::vector<int> numbersOfNoCommand() {
  std::set<int> used;
  for (const CommandRow& row : commandTable()) used.insert(row.messageNumber);
  used.erase(0);
  std::vector<int> unused;
  for (int number = *used.begin() - 1; number <= *used.rbegin() + 1; ++number) {
    if (!used.contains(number)) unused.push_back(number);
  }
  return unused;
}

// Processes of different builds communicate by numbers and layouts, so these must never change.
// When adding a command, update the sum here; any other difference means that an old one has
// changed.
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
  EXPECT_EQ(sum, 16306674824758979066u);
}

TEST(CommandLayoutTest, EveryLayoutIsReadAndWrittenByteForByte) {
  std::map<int, std::string> layouts{{1000, ""},   {1001, "isi"},   {1002, "i"},    {1003, "ss"},
                                     {1004, "is"}, {1005, "s"},     {1006, "iiis"}, {1007, "ibs"},
                                     {1103, "s"},  {1100, "iiiii"}, {1101, "iss"},  {1102, "iss"}};
  for (const CommandRow& row : commandTable()) {
    if (row.messageNumber != 0) layouts[row.messageNumber] = "i" + std::string(row.messageFields);
  }
  layouts[2082] = "i";  // an unused number of the protocol
  for (const auto& [type, fields] : layouts) {
    const CopiedBlobs blobs = blobsByHand(type, fields);
    const auto message = blobs.deserialize();
    ASSERT_TRUE(message) << type;
    EXPECT_EQ(message->type(), type);
    EXPECT_EQ(CopiedBlobs(serializeMessage(*message)).bytes, blobs.bytes) << type;
  }
  std::vector<int> others = numbersOfNoCommand();
  others.insert(others.end(), {999, 1008, 1099, 1104});
  for (const int type : others) {
    if (layouts.contains(type)) continue;
    EXPECT_EQ(Tessel::Platform::messageSerializer(type), nullptr) << type;
  }
}

// Other malformed input is covered by tools/fuzz.
TEST(CommandLayoutTest, MessagesThatAreTooShortOrTooLongAreDropped) {
  for (const CommandRow& row : commandTable()) {
    const StandardErrorPipe standardError;
    const CopiedBlobs good = blobsByHand(row);
    for (std::size_t part = 0; part < good.bytes.size(); ++part) {
      CopiedBlobs shorter = good;
      shorter.bytes[part].pop_back();
      CopiedBlobs longer = good;
      longer.bytes[part] += 'x';
      EXPECT_FALSE(shorter.deserialize() || longer.deserialize()) << row.name << " " << part;
    }
  }
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
  std::vector<int> others = numbersOfNoCommand();
  others.insert(others.end(), {-1, 0, 1001, 1101, 65536});
  for (const int type : others) {
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
  // The numeric prefix of a text is used.
  EXPECT_TRUE(dispatchWebViewCommand(setDevicePixelRatioMessage(handle, nullptr, "x")));
  EXPECT_EQ(view.devicePixelRatio(), 0);
  EXPECT_TRUE(
      dispatchWebViewCommand(loadURLMessage(handle, nullptr, IPCSafeString::latin1("gr\xfcn"))));
  EXPECT_EQ(itsPage->trace.back(), "load(gr\xc3\xbcn)");
}

}  // namespace

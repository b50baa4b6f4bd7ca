// Messages between processes: datagrams, blobs, the commands in them, replies, and native calls
// with the same commands.
#include "platform/channel/ChannelSocket.h"
#include "platform/sockets/Transfer.h"
#include "tests/fuzz/FakeChrome.h"
#include "tests/support/CopiedBlobs.h"
#include "tests/support/LocalSocket.h"
#include "tests/webview/commands/HandmadeBlobs.h"
#include "webview/commands/CommandMessages.h"
#include "webview/commands/CommandReceiver.h"
#include "webview/commands/CommandTable.h"

using namespace Tessel::Platform;
using test_support::CopiedBlobs;

namespace {

void readDatagrams(fuzz::Input& input) {
  auto [here, there] = ChannelSocket::pair();
  const UniqueFd peer = there.release();
  ReceivedMessage received;
  for (auto outcome = ChannelSocket::Outcome::Message;
       input.remaining_bytes() > 0 && outcome != ChannelSocket::Outcome::Malformed;) {
    fuzz::require(
        Tessel::Platform::trySend(peer.get(), input.ConsumeRandomLengthString(30000) + " ") > 0);
    outcome = here.receive(received);
    if (outcome == ChannelSocket::Outcome::Message) deserializeMessage(received.blobs());
  }
}

// Accepted messages are unchanged when serialised again.
std::unique_ptr<Message> readMessage(CopiedBlobs& blobs) {
  auto message = blobs.deserialize();
  if (!message) return message;
  const CopiedBlobs again(serializeMessage(*message));
  fuzz::require(again.bytes.size() == blobs.bytes.size());
  for (std::size_t part = 1; part < again.bytes.size(); ++part) {
    // A UTF-8 text may lack its terminator.
    if (blobs.bytes[part].empty()) blobs.bytes[part].push_back('\0');
    fuzz::require(again.bytes[part] == blobs.bytes[part]);
  }
  return message;
}

void runCommand(fuzz::Input& input, const CommandRow& row) {
  CopiedBlobs blobs =
      test_support::blobsByHand(row.messageNumber, "i" + std::string(row.messageFields));
  const unsigned int view = fuzz::FakeChrome::instance().view();
  blobs.bytes[1] = test_support::wordOf(view);
  for (std::size_t part = 2; part < blobs.bytes.size() && input.remaining_bytes() > 0; ++part) {
    const auto what = input.ConsumeIntegralInRange(0, 3);
    if (what == 0) blobs.bytes[part] = input.ConsumeRandomLengthString();
    if (what == 1) blobs.bytes[part] = input.ConsumeRandomLengthString() + '\0';
    if (what == 2) blobs.bytes[part] = input.ConsumeBytesAsString(blobs.bytes[part].size());
  }
  ReplyBytes reply;
  if (const auto message = readMessage(blobs)) {
    message->setReply(&reply);
    dispatchWebViewCommand(*message);
  }
}

void callNative(fuzz::Input& input, const CommandRow& row) {
  std::vector<std::string> texts{"webview." + std::string(row.name),
                                 std::to_string(fuzz::FakeChrome::instance().view())};
  for (int i = 1; i < row.requiredArguments + row.optionalArguments; ++i) {
    texts.push_back(input.ConsumeRandomLengthString());
  }
  std::vector<const char*> arguments;
  for (const std::string& text : texts) arguments.push_back(text.c_str());
  fuzz::FakeChrome::instance().callNative(arguments);
}

// Replies of a child to each command.
template <auto Operation>
void readReply(const std::string& bytes) {
  using Result = typename commands::CommandTraitsOf<Operation>::Result;
  if constexpr (!std::is_void_v<Result>) {
    typename commands::Reply<Result>::Buffer buffer;
    if (buffer.assign(bytes.data(), bytes.size())) commands::Reply<Result>::value(buffer);
  }
}
void readReplies(const std::string& bytes) {
#define COMMAND(number, name, ...) COMMAND_AS(number, name, name)
#define COMMAND_AS(number, name, operation, ...) readReply<&WebView::operation>(bytes);
#define DOC(...)
#include "registry/Commands.def"
#undef DOC
#undef COMMAND_AS
#undef COMMAND
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto& chrome = fuzz::FakeChrome::instance();
  fuzz::Input input(data, size);
  const auto table = commandTable();
  const auto& row = table[input.ConsumeIntegralInRange<std::size_t>(0, table.size() - 1)];
  switch (input.ConsumeIntegralInRange(0, 3)) {
    case 0:
      readDatagrams(input);
      break;
    case 1:
      if (row.messageNumber != 0) runCommand(input, row);
      break;
    case 2:
      callNative(input, row);
      break;
    default:
      readReplies(input.ConsumeRemainingBytesAsString());
  }
  chrome.forget();
  return 0;
}

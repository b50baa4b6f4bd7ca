// A way between processes that stays in this one: what is sent becomes blobs, the blobs' bytes are
// copied, and a message rebuilt from the copies runs on the web view of that handle. Main thread.
#pragma once

#include "platform/messages/MessageBlobs.h"
#include "platform/messages/MessageClient.h"
#include "webview/commands/CommandReceiver.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace test_support {

// Each blob in a piece of memory of exactly its length, so that sanitizers see what reads beyond.
class CopiedBlobs {
 public:
  CopiedBlobs() = default;
  explicit CopiedBlobs(Tessel::Platform::Blobs blobs) {
    for (const auto& blob : blobs) {
      bytes.emplace_back(static_cast<const char*>(blob.data), blob.length);
    }
  }

  std::vector<std::string> bytes;

  std::unique_ptr<Tessel::Platform::Message> deserialize() const {
    std::vector<std::unique_ptr<char[]>> memory;
    std::vector<Tessel::Platform::Blob> blobs;
    for (const std::string& piece : bytes) {
      memory.push_back(std::make_unique<char[]>(piece.size()));
      piece.copy(memory.back().get(), piece.size());
      blobs.push_back({memory.back().get(), piece.size()});
    }
    return Tessel::Platform::deserializeMessage(blobs);
  }
};

class MemoryTransport final : public Tessel::Platform::MessageTransport {
 public:
  MemoryTransport() { Tessel::Platform::MessageClient::installTransport(this); }
  ~MemoryTransport() override { Tessel::Platform::MessageClient::installTransport(nullptr); }

  void send(std::unique_ptr<Tessel::Platform::Message> message, int channel) override {
    // Web views come and go and processes end without a word.
    if (message->type() < 2000) {
      const bool yes = true;
      if (message->reply()) message->reply()->assign(&yes, sizeof yes);
      return;
    }
    channels.push_back(channel);
    lastBlobs = CopiedBlobs(Tessel::Platform::serializeMessage(*message));
    const auto received = lastBlobs.deserialize();
    ASSERT_TRUE(received) << "type " << message->type();
    Tessel::Platform::ReplyBytes reply;
    if (message->reply()) received->setReply(&reply);
    EXPECT_TRUE(dispatchWebViewCommand(*received)) << "type " << message->type();
    if (message->reply() && !reply.bytes().empty()) {
      EXPECT_TRUE(message->reply()->assign(reply.bytes().data(), reply.bytes().size()));
    }
  }

  std::vector<int> channels;  // of the messages so far
  CopiedBlobs lastBlobs;
};

}  // namespace test_support

// Copies of a message's blobs, as received by another process. Any one thread.
#pragma once

#include "platform/channel/MessageBlobs.h"

#include <memory>
#include <string>
#include <vector>

namespace test_support {

// Each blob in an allocation of exactly its length, so that sanitizers detect reads beyond it.
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

}  // namespace test_support

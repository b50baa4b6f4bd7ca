// Serialised messages, written independently of the product's serialisers. Any thread.
#pragma once

#include "tests/support/CopiedBlobs.h"

#include <cstring>
#include <string>
#include <string_view>

namespace test_support {

inline std::string wordOf(unsigned int value) {
  std::string bytes(4, '\0');
  std::memcpy(bytes.data(), &value, 4);
  return bytes;
}

// The blobs of a message with those fields: one letter each, as in a CommandRow.
inline CopiedBlobs blobsByHand(int type, std::string_view fields) {
  using namespace std::string_view_literals;
  CopiedBlobs blobs;
  std::string record = wordOf(static_cast<unsigned int>(type)) + wordOf(1);
  for (int i = 0; i < 6; ++i) record += wordOf(0);
  std::vector<std::string> others;
  unsigned int value = 77;
  for (const char field : fields) {
    if (field == 'b') {
      record += '\1';
      others.emplace_back("\1");
      continue;
    }
    record.resize((record.size() + 3) / 4 * 4);
    record += field == 's' ? wordOf(0) : wordOf(value);
    if (field == 's') {
      others.emplace_back("\1");
      others.emplace_back("t\xc3\xa4\0xt\0"sv);
    } else {
      others.push_back(wordOf(value++));
    }
  }
  record.resize((record.size() + 3) / 4 * 4);
  record.replace(28, 4, wordOf(static_cast<unsigned int>(record.size())));
  blobs.bytes.push_back(record);
  blobs.bytes.insert(blobs.bytes.end(), others.begin(), others.end());
  return blobs;
}

}  // namespace test_support

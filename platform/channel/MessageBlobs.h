// How messages become blobs for the way to another process, and blobs messages again. Any thread;
// serialisers are installed before main() and only read afterwards.
//
// Blob 0 is the wire record: a header of 32-bit words, then a slot for every field (4 bytes for
// numbers and texts, the latter zero, 1 byte for truth values). It is not the C++ object: no
// pointer and no padding of ours crosses. The fields' own blobs follow, and they are what counts.
//
// The other end is not trusted. Every count, length and marker is checked before it is used.
#pragma once

#include "platform/channel/IPCSafeString.h"
#include "platform/channel/Message.h"
#include "platform/sockets/SendBounds.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace Tessel::Platform {

struct Blob {
  const void* data = nullptr;
  std::size_t length = 0;
};
using Blobs = std::span<const Blob>;

// What one message becomes. The blobs point into the message.
class BlobList {
 public:
  // A record and six texts.
  static constexpr std::size_t capacity = 13;

  void add(const void* data, std::size_t length) { blobs_[count_++] = {data, length}; }
  void clear() { count_ = 0; }
  operator Blobs() const { return {blobs_.data(), count_}; }

 private:
  std::array<Blob, capacity> blobs_;
  std::size_t count_ = 0;
};

// A longer one is refused.
inline constexpr std::size_t maximumBlobLength = largestMessage;

struct MessageHeader {
  static constexpr std::uint32_t currentVersion = 1;
  static constexpr std::uint32_t wantsReply = 1;
  static constexpr std::uint32_t isReply = 2;

  std::int32_t type;
  std::uint32_t version;
  std::uint32_t flags;
  std::int32_t sender;  // what the message says; receivers believe the kernel instead
  std::uint32_t replyIdHigh;
  std::uint32_t replyIdLow;
  std::int32_t integer;
  std::uint32_t size;  // of the whole record
};
static_assert(sizeof(MessageHeader) == 32);

// The header of a message's first blob; false when it has no room for one.
bool readHeader(Blobs blobs, MessageHeader& header);

// Anything that is registered under a codec id.
class BlobSerializerBase {
 public:
  virtual ~BlobSerializerBase() = default;
};

// Turns one field into its blobs and back.
template <typename T>
class MessageBlobSerializer : public BlobSerializerBase {
 public:
  virtual void serialize(const T& value, BlobList& blobs) const = 0;
  // Takes as many blobs as serialize() gives, which are there; false when they are malformed.
  virtual bool deserialize(const Blob* blobs, T& value) const = 0;
};

// Turns whole messages of one layout into blobs and back. Stateless.
template <>
class MessageBlobSerializer<Message*> {
 public:
  virtual ~MessageBlobSerializer() = default;
  // The message is of the serialiser's layout. It must outlive the blobs, unchanged.
  virtual BlobList serialize(Message& message) const = 0;
  // Null, and a line in the log, for anything but what serialize() gives.
  virtual std::unique_ptr<Message> deserialize(Blobs blobs) const = 0;
};
using MessageSerializer = MessageBlobSerializer<Message*>;

// Type numbers lie between 0 and this; others cannot cross.
inline constexpr int largestMessageType = 4095;

// Makes messages of a type able to cross. The serialiser is never freed. Before main() only.
void installMessageSerializer(int type, const MessageSerializer* serializer);
// Null for a type that cannot cross.
const MessageSerializer* messageSerializer(int type);

// By the type in the message or in the header. No blobs, or null and a line in the log, for types
// that cannot cross.
BlobList serializeMessage(Message& message);
std::unique_ptr<Message> deserializeMessage(Blobs blobs);

// The codecs of field types, by an id that each gets with its first use.
int generateUniqueType();
void installMessageBlobSerializer(int id, const BlobSerializerBase* codec);
// Null if there is none with that id.
const BlobSerializerBase* messageBlobSerializer(int id);

template <typename T>
struct MessageSerializerFactory {
  // The id of the type's codec, which is registered by then.
  static int type();
};
template <>
int MessageSerializerFactory<int>::type();
template <>
int MessageSerializerFactory<unsigned int>::type();
template <>
int MessageSerializerFactory<bool>::type();
template <>
int MessageSerializerFactory<IPCSafeString>::type();

template <typename T>
const MessageBlobSerializer<T>* fieldCodec() {
  return static_cast<const MessageBlobSerializer<T>*>(
      messageBlobSerializer(MessageSerializerFactory<T>::type()));
}

}  // namespace Tessel::Platform

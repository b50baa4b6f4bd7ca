// The serialisers by type, and the codecs of field types. Any thread.
#include "platform/channel/MessageBlobs.h"

#include "platform/base/Log.h"

#include <atomic>
#include <cstring>

namespace Tessel::Platform {

namespace {

using SerializerTable = std::array<const MessageSerializer*, largestMessageType + 1>;

// A local of a function: serialisers are installed by other files' static initialisation.
SerializerTable& serializers() {
  static SerializerTable table{};
  return table;
}

constexpr int codecLimit = 64;
std::array<std::atomic<const BlobSerializerBase*>, codecLimit> codecs{};
std::atomic<int> lastType = -1;

template <typename T>
class NumberCodec final : public MessageBlobSerializer<T> {
 public:
  void serialize(const T& value, BlobList& blobs) const override { blobs.add(&value, sizeof(T)); }
  bool deserialize(const Blob* blobs, T& value) const override {
    if (blobs->length != sizeof(T)) return false;
    std::memcpy(&value, blobs->data, sizeof(T));
    return true;
  }
};

class BoolCodec final : public MessageBlobSerializer<bool> {
 public:
  void serialize(const bool& value, BlobList& blobs) const override { blobs.add(&value, 1); }
  bool deserialize(const Blob* blobs, bool& value) const override {
    if (blobs->length != 1) return false;
    const unsigned char byte = *static_cast<const unsigned char*>(blobs->data);
    value = byte == 1;
    return byte <= 1;
  }
};
static_assert(sizeof(bool) == 1);

class TextCodec final : public MessageBlobSerializer<IPCSafeString> {
 public:
  void serialize(const IPCSafeString& text, BlobList& blobs) const override {
    blobs.add(text.isUtf8() ? &utf8 : &latin1, 1);
    blobs.add(text.data(), text.length() + 1);
  }
  bool deserialize(const Blob* blobs, IPCSafeString& text) const override {
    const Blob& marker = blobs[0];
    const Blob& bytes = blobs[1];
    if (marker.length != 1 || bytes.length > maximumBlobLength) return false;
    const unsigned char encoding = *static_cast<const unsigned char*>(marker.data);
    if (encoding != utf8 && encoding != latin1) return false;
    // UTF-8 without even a terminator is taken for the empty text: there is nothing to measure.
    if (bytes.length == 0) {
      text = IPCSafeString();
      return encoding == utf8;
    }
    const char* const start = static_cast<const char*>(bytes.data);
    if (start[bytes.length - 1] != '\0') return false;
    String copy(std::string_view(start, bytes.length - 1));
    text =
        encoding == utf8 ? IPCSafeString(std::move(copy)) : IPCSafeString::latin1(std::move(copy));
    return true;
  }

 private:
  static constexpr unsigned char utf8 = 1;
  static constexpr unsigned char latin1 = 0;
};

template <typename Codec>
int registered() {
  static const Codec codec;
  const int id = generateUniqueType();
  installMessageBlobSerializer(id, &codec);
  return id;
}

}  // namespace

String IPCSafeString::toString() const {
  if (isUtf8_) return bytes_;
  std::string text;
  text.reserve(bytes_.length());
  for (const char byte : bytes_.view()) {
    const auto character = static_cast<unsigned char>(byte);
    if (character < 0x80) {
      text.push_back(byte);
    } else {
      text.push_back(static_cast<char>(0xc0 | (character >> 6)));
      text.push_back(static_cast<char>(0x80 | (character & 0x3f)));
    }
  }
  return String(std::move(text));
}

bool readHeader(Blobs blobs, MessageHeader& header) {
  if (blobs.empty() || blobs[0].length < sizeof(header)) return false;
  std::memcpy(&header, blobs[0].data, sizeof(header));
  return true;
}

void installMessageSerializer(int type, const MessageSerializer* serializer) {
  serializers().at(static_cast<std::size_t>(type)) = serializer;
}

const MessageSerializer* messageSerializer(int type) {
  return type >= 0 && type <= largestMessageType ? serializers()[static_cast<std::size_t>(type)]
                                                 : nullptr;
}

BlobList serializeMessage(Message& message) {
  if (const MessageSerializer* serializer = messageSerializer(message.type())) {
    return serializer->serialize(message);
  }
  logAlways(LogError, "A message of type %d cannot be serialised.", message.type());
  return {};
}

std::unique_ptr<Message> deserializeMessage(Blobs blobs) {
  MessageHeader header{};
  if (!readHeader(blobs, header)) {
    logAlways(LogError, "A message without a header is dropped.");
    return nullptr;
  }
  if (const MessageSerializer* serializer = messageSerializer(header.type)) {
    return serializer->deserialize(blobs);
  }
  logAlways(LogError, "A message of the unknown type %d is dropped.", header.type);
  return nullptr;
}

int generateUniqueType() {
  return ++lastType;
}

void installMessageBlobSerializer(int id, const BlobSerializerBase* codec) {
  codecs.at(static_cast<std::size_t>(id)) = codec;
}

const BlobSerializerBase* messageBlobSerializer(int id) {
  return id >= 0 && id < codecLimit
             ? codecs[static_cast<std::size_t>(id)].load(std::memory_order_acquire)
             : nullptr;
}

template <>
int MessageSerializerFactory<int>::type() {
  static const int id = registered<NumberCodec<int>>();
  return id;
}
template <>
int MessageSerializerFactory<unsigned int>::type() {
  static const int id = registered<NumberCodec<unsigned int>>();
  return id;
}
template <>
int MessageSerializerFactory<bool>::type() {
  static const int id = registered<BoolCodec>();
  return id;
}
template <>
int MessageSerializerFactory<IPCSafeString>::type() {
  static const int id = registered<TextCodec>();
  return id;
}

}  // namespace Tessel::Platform

// Messages that are a record of a few fields, and the serialisers of their layouts. A message
// belongs to one thread at a time.
#pragma once

#include "platform/base/Log.h"
#include "platform/channel/MessageBlobs.h"

#include <cstring>
#include <tuple>
#include <type_traits>

namespace Tessel::Platform {

// Where the fields of a wire record stand.
template <typename... Fields>
struct RecordLayout {
  static constexpr std::size_t count = sizeof...(Fields);

 private:
  static constexpr std::size_t slot = 4;
  static constexpr std::size_t aligned(std::size_t offset) {
    return (offset + slot - 1) & ~(slot - 1);
  }
  struct Places {
    std::array<std::size_t, count> offsets{};
    std::size_t size = sizeof(MessageHeader);
  };
  static constexpr Places places = [] {
    Places result;
    std::size_t index = 0;
    [[maybe_unused]] const auto place = [&](bool isByte) {
      if (!isByte) result.size = aligned(result.size);
      result.offsets[index++] = result.size;
      result.size += isByte ? 1 : slot;
    };
    (place(std::is_same_v<Fields, bool>), ...);
    result.size = aligned(result.size);
    return result;
  }();

 public:
  static constexpr auto offsets = places.offsets;
  static constexpr std::size_t size = places.size;
  // The record's, and two for a text, one for anything else.
  static constexpr std::size_t blobs = (1 + ... + (std::is_same_v<Fields, IPCSafeString> ? 2 : 1));
};

// Fields are int, unsigned int, bool or IPCSafeString.
template <typename... Fields>
class IPCMessage : public Message {
 public:
  using Layout = RecordLayout<Fields...>;

  explicit IPCMessage(int type, MessageReplyBuffer* reply = nullptr) : Message(type, reply) {}
  IPCMessage(int type, MessageReplyBuffer* reply, Fields... fields) requires(sizeof...(Fields) > 0)
      : Message(type, reply), fields_(std::move(fields)...) {}

  template <std::size_t I>
  const auto& field() const {
    return std::get<I>(fields_);
  }
  const std::tuple<Fields...>& fields() const { return fields_; }

 private:
  template <typename MessageClass>
  friend class RecordSerializer;

  std::tuple<Fields...> fields_;
  std::array<std::byte, Layout::size> record_{};  // made when the message is serialised
};

template <typename T1>
using IPCMessage1 = IPCMessage<T1>;
template <typename T1, typename T2>
using IPCMessage2 = IPCMessage<T1, T2>;
template <typename T1, typename T2, typename T3>
using IPCMessage3 = IPCMessage<T1, T2, T3>;
template <typename T1, typename T2, typename T3, typename T4>
using IPCMessage4 = IPCMessage<T1, T2, T3, T4>;
template <typename T1, typename T2, typename T3, typename T4, typename T5>
using IPCMessage5 = IPCMessage<T1, T2, T3, T4, T5>;
template <typename T1, typename T2, typename T3, typename T4, typename T5, typename T6>
using IPCMessage6 = IPCMessage<T1, T2, T3, T4, T5, T6>;

// The serialiser of a class that is, or adds nothing but names to, an IPCMessage. What it rebuilds
// is of that class, made by its constructor from the type number.
template <typename MessageClass>
class RecordSerializer final : public MessageSerializer {
  using Layout = typename MessageClass::Layout;
  static_assert(Layout::blobs <= BlobList::capacity);

 public:
  BlobList serialize(Message& message) const override {
    auto& typed = static_cast<MessageClass&>(message);
    BlobList blobs;
    writeRecord(typed);
    blobs.add(typed.record_.data(), typed.record_.size());
    std::apply([&](const auto&... field) { (addField(field, blobs), ...); }, typed.fields_);
    return blobs;
  }

  std::unique_ptr<Message> deserialize(Blobs blobs) const override {
    MessageHeader header{};
    if (!readHeader(blobs, header)) return refused(-1, "has no header");
    if (messageSerializer(header.type) != this) return refused(header.type, "has another layout");
    if (header.version != MessageHeader::currentVersion) {
      return refused(header.type, "is of another version");
    }
    if (blobs.size() != Layout::blobs) return refused(header.type, "has the wrong number of blobs");
    if (blobs[0].length != Layout::size || header.size != Layout::size) {
      return refused(header.type, "has the wrong size");
    }
    auto message = std::make_unique<MessageClass>(header.type);
    message->setInteger(header.integer);
    message->setReplyId(std::uint64_t{header.replyIdHigh} << 32 | header.replyIdLow);
    const Blob* next = blobs.data() + 1;
    const bool good = std::apply([&](auto&... field) { return (readField(field, next) && ...); },
                                 message->fields_);
    return good ? std::move(message) : refused(header.type, "has a malformed field");
  }

 private:
  static std::unique_ptr<MessageClass> refused(int type, const char* why) {
    logAlways(LogError, "A message of type %d is dropped: it %s.", type, why);
    return nullptr;
  }

  static void writeRecord(MessageClass& message) {
    const std::uint64_t replyId = message.replyId();
    const MessageHeader header{.type = message.type(),
                               .version = MessageHeader::currentVersion,
                               .flags = message.reply() ? MessageHeader::wantsReply : 0,
                               .sender = message.senderPid(),
                               .replyIdHigh = static_cast<std::uint32_t>(replyId >> 32),
                               .replyIdLow = static_cast<std::uint32_t>(replyId),
                               .integer = message.integer(),
                               .size = static_cast<std::uint32_t>(Layout::size)};
    std::byte* const record = message.record_.data();
    std::memcpy(record, &header, sizeof(header));
    [[maybe_unused]] const auto write = [&]<typename T>(std::size_t offset, const T& field) {
      if constexpr (!std::is_same_v<T, IPCSafeString>) {
        std::memcpy(record + offset, &field, sizeof(field));
      }
    };
    [&]<std::size_t... I>(std::index_sequence<I...>) {
      (write(Layout::offsets[I], std::get<I>(message.fields_)), ...);
    }
    (std::make_index_sequence<Layout::count>());
  }

  template <typename T>
  static void addField(const T& field, BlobList& blobs) {
    if (const auto* codec = fieldCodec<T>()) codec->serialize(field, blobs);
  }

  // A field whose codec is missing keeps its zero or empty value.
  template <typename T>
  static bool readField(T& field, const Blob*& next) {
    const auto* codec = fieldCodec<T>();
    const bool good = !codec || codec->deserialize(next, field);
    next += std::is_same_v<T, IPCSafeString> ? 2 : 1;
    return good;
  }
};

// Of a class without fields.
template <typename MessageClass>
using BasicMessageSerializer = RecordSerializer<MessageClass>;

template <typename T1>
using IPCMessage1Serializer = RecordSerializer<IPCMessage<T1>>;
template <typename T1, typename T2>
using IPCMessage2Serializer = RecordSerializer<IPCMessage<T1, T2>>;
template <typename T1, typename T2, typename T3>
using IPCMessage3Serializer = RecordSerializer<IPCMessage<T1, T2, T3>>;
template <typename T1, typename T2, typename T3, typename T4>
using IPCMessage4Serializer = RecordSerializer<IPCMessage<T1, T2, T3, T4>>;
template <typename T1, typename T2, typename T3, typename T4, typename T5>
using IPCMessage5Serializer = RecordSerializer<IPCMessage<T1, T2, T3, T4, T5>>;
template <typename T1, typename T2, typename T3, typename T4, typename T5, typename T6>
using IPCMessage6Serializer = RecordSerializer<IPCMessage<T1, T2, T3, T4, T5, T6>>;

}  // namespace Tessel::Platform

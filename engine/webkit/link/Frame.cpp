// Encoding and checked decoding of the page link's payloads.
//
// The fields of each record stand in fieldsOf, once for both directions.
#include "engine/webkit/link/Frame.h"

#include <cstring>
#include <iterator>
#include <tuple>
#include <type_traits>

namespace link_protocol {

using Tessel::Platform::String;

namespace {

class Writer {
 public:
  explicit Writer(std::string& out) : out_(out) {}

  template <typename T>
  void raw(T& value) {
    out_.append(reinterpret_cast<const char*>(&value), sizeof value);
  }
  void bytes(std::string_view text) {
    auto size = static_cast<std::uint32_t>(text.size());
    raw(size);
    out_.append(text);
  }

 private:
  std::string& out_;
};

// After the first field that is not there, everything reads as zero and good() stays false.
class Reader {
 public:
  explicit Reader(std::string_view in) : in_(in) {}

  template <typename T>
  void raw(T& value) {
    if (const char* data = take(sizeof value)) std::memcpy(&value, data, sizeof value);
  }
  std::string_view bytes() {
    std::uint32_t size = 0;
    raw(size);
    const char* data = take(size);
    return data ? std::string_view(data, size) : std::string_view();
  }
  // How many elements of at least one byte each can still follow.
  std::size_t left() const { return in_.size() - at_; }
  void fail() { good_ = false; }
  bool finished() const { return good_ && at_ == in_.size(); }

 private:
  const char* take(std::size_t size) {
    if (!good_ || size > in_.size() - at_) {
      good_ = false;
      return nullptr;
    }
    at_ += size;
    return in_.data() + at_ - size;
  }

  std::string_view in_;
  std::size_t at_ = 0;
  bool good_ = true;
};

void describe(Writer& out, const bool& value) {
  const std::uint8_t byte = value ? 1 : 0;
  out.raw(byte);
}
void describe(Reader& in, bool& value) {
  std::uint8_t byte = 0;
  in.raw(byte);
  if (byte > 1) in.fail();
  value = byte == 1;
}

void describe(Writer& out, const std::uint32_t& value) {
  out.raw(value);
}
void describe(Reader& in, std::uint32_t& value) {
  in.raw(value);
}

void describe(Writer& out, const String& value) {
  out.bytes(value.view());
}
void describe(Reader& in, String& value) {
  value = String(in.bytes());
}
void describe(Writer& out, const std::string& value) {
  out.bytes(value);
}
void describe(Reader& in, std::string& value) {
  value = std::string(in.bytes());
}

void describe(Writer& out, const OrvWebHeader& header) {
  describe(out, header.key());
  describe(out, header.value());
}
void describe(Reader& in, OrvWebHeader& header) {
  String text;
  describe(in, text);
  header.setKey(text);
  describe(in, text);
  header.setValue(text);
}

void describe(Writer& out, const JavaScriptVariant& value) {
  const auto type = static_cast<std::uint8_t>(value.type());
  out.raw(type);
  if (value.type() == JavaScriptVariant::Boolean) describe(out, value.booleanValue());
  if (value.type() == JavaScriptVariant::Text) describe(out, value.stringValue());
  if (value.type() == JavaScriptVariant::Number) {
    const double number = value.numberValue();
    out.raw(number);
  }
}
void describe(Reader& in, JavaScriptVariant& value) {
  std::uint8_t type = 0;
  in.raw(type);
  switch (type) {
    case JavaScriptVariant::Undefined:
      value = JavaScriptVariant();
      break;
    case JavaScriptVariant::Null:
      value = JavaScriptVariant::null();
      break;
    case JavaScriptVariant::Object:
      value = JavaScriptVariant::object();
      break;
    case JavaScriptVariant::Boolean: {
      bool boolean = false;
      describe(in, boolean);
      value = boolean;
      break;
    }
    case JavaScriptVariant::Number: {
      double number = 0;
      in.raw(number);
      value = number;
      break;
    }
    case JavaScriptVariant::Text: {
      String text;
      describe(in, text);
      value = text;
      break;
    }
    default:
      in.fail();
  }
}

template <typename Enumeration>
constexpr std::size_t countOf = 0;
template <>
constexpr std::size_t countOf<DialogKind> = static_cast<std::size_t>(DialogKind::Print) + 1;
template <>
constexpr std::size_t countOf<ResourceVerdict> =
    static_cast<std::size_t>(ResourceVerdict::Redirect) + 1;
template <>
constexpr std::size_t countOf<ReportKind> = std::size(reportNames);
template <>
constexpr std::size_t countOf<PageAction> = std::size(actionNames);

template <typename T>
requires std::is_enum_v<T>
void describe(Writer& out, const T& value) {
  out.raw(value);
}
template <typename T>
requires std::is_enum_v<T>
void describe(Reader& in, T& value) {
  in.raw(value);
  if (static_cast<std::size_t>(value) >= countOf<T>) in.fail();
}

template <typename T>
void describe(Writer& out, const std::optional<T>& value) {
  describe(out, value.has_value());
  if (value) describe(out, *value);
}
template <typename T>
void describe(Reader& in, std::optional<T>& value) {
  bool present = false;
  describe(in, present);
  if (present) describe(in, value.emplace());
}

template <typename T>
void describe(Writer& out, const std::vector<T>& list) {
  const auto count = static_cast<std::uint32_t>(list.size());
  out.raw(count);
  for (const T& element : list) describe(out, element);
}
template <typename T>
void describe(Reader& in, std::vector<T>& list) {
  std::uint32_t count = 0;
  in.raw(count);
  if (count > maximumArguments || count > in.left()) return in.fail();
  list.resize(count);
  for (T& element : list) describe(in, element);
}

// The fields of a payload in their order; a value that is a payload by itself is its only field.
template <typename Record>
auto fieldsOf(Record& record) {
  using Plain = std::remove_const_t<Record>;
  if constexpr (std::is_same_v<Plain, FunctionCall>) {
    return std::tie(record.path, record.arguments);
  } else if constexpr (std::is_same_v<Plain, PostedCall>) {
    return std::tie(record.call.path, record.call.arguments, record.resultId);
  } else if constexpr (std::is_same_v<Plain, PageReport>) {
    return std::tie(record.kind, record.details);
  } else if constexpr (std::is_same_v<Plain, ActionCall>) {
    return std::tie(record.action, record.arguments);
  } else if constexpr (std::is_same_v<Plain, ResourceDecision>) {
    return std::tie(record.verdict, record.address, record.referrer);
  } else if constexpr (std::is_same_v<Plain, PageSetup>) {
    return std::tie(record.callbackObject, record.drivesApplication, record.engineDialogs,
                    record.requestHeaders, record.downloadableFonts, record.standalone,
                    record.watched, record.deferred, record.bound);
  } else if constexpr (std::is_same_v<Plain, DialogQuestion>) {
    return std::tie(record.kind, record.message, record.initialText);
  } else if constexpr (std::is_same_v<Plain, DialogAnswer>) {
    return std::tie(record.confirmed, record.text);
  } else {
    return std::tie(record);
  }
}

}  // namespace

template <typename Record>
std::string encode(const Record& record) {
  std::string payload;
  Writer writer(payload);
  std::apply([&](const auto&... field) { (describe(writer, field), ...); }, fieldsOf(record));
  return payload;
}

template <typename Record>
bool decode(std::string_view payload, Record& record) {
  Reader reader(payload);
  std::apply([&](auto&... field) { (describe(reader, field), ...); }, fieldsOf(record));
  return reader.finished();
}

#define PAYLOAD(Record)                       \
  template std::string encode(const Record&); \
  template bool decode(std::string_view, Record&);
PAYLOAD(FunctionCall)
PAYLOAD(PostedCall)
PAYLOAD(JavaScriptVariant)
PAYLOAD(PageSetup)
PAYLOAD(PageReport)
PAYLOAD(ActionCall)
PAYLOAD(ResourceDecision)
PAYLOAD(DialogQuestion)
PAYLOAD(DialogAnswer)
PAYLOAD(NativeArguments)
#undef PAYLOAD

}  // namespace link_protocol

// The text forms of the security records.
#include "engine/SecurityRecords.h"

#include "engine/SecurityRecordMembers.h"

using Tessel::Platform::String;

String SSLConnectionInfo::serialize() const {
  return record_json::textOf(*this);
}

String OrvWebPageSecurityInfo::serialize() const {
  return record_json::textOf(*this);
}

bool OrvWebPageSecurityInfo::deserialize(const String& text) {
  rapidjson::Document document;
  if (!record_json::parse(text, document)) return false;
  record_json::read(document, *this);
  return true;
}

String SSLCertificateInfo::serialize() const {
  return record_json::textOf(*this);
}

bool SSLCertificateInfo::deserialize(const String& text) {
  if (text.view().starts_with("-----BEGIN")) {
    certificate = text;
    return true;
  }
  rapidjson::Document document;
  if (!record_json::parse(text, document)) return false;
  record_json::read(document, *this);
  return true;
}

String textOf(const SSLCertificateMap& certificates) {
  rapidjson::StringBuffer buffer;
  record_json::Writer writer(buffer);
  writer.StartObject();
  for (const auto& [name, record] : certificates) {
    writer.Key(name.utf8(), static_cast<rapidjson::SizeType>(name.length()));
    record_json::write(writer, record);
  }
  writer.EndObject();
  return std::string_view(buffer.GetString(), buffer.GetSize());
}

bool certificatesFromText(const String& text, SSLCertificateMap& certificates) {
  rapidjson::Document document;
  if (!record_json::parse(text, document)) return false;
  for (const auto& member : document.GetObject()) {
    const String name(std::string_view(member.name.GetString(), member.name.GetStringLength()));
    // A malformed record stays empty, and is refused where certificates are added.
    SSLCertificateInfo record;
    record_json::read(member.value, record);
    certificates[name] = std::move(record);
  }
  return true;
}

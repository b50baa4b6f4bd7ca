// The text forms of the security records.
#include "engine/SecurityRecords.h"

#include "engine/RecordJson.h"

using Tessel::Platform::String;

namespace record_json {

#define FIELD(name) member(#name, &Record::name)
#define RECORD(Type, ...)                          \
  template <>                                      \
  struct Members<Type> {                           \
    using Record = Type;                           \
    static constexpr std::tuple list{__VA_ARGS__}; \
  };
RECORD(SSLEntity, FIELD(commonName), FIELD(country), FIELD(name), FIELD(organization))
RECORD(SSLPublicKey, FIELD(algorithm), FIELD(bits))
RECORD(SSLCipher, FIELD(name), FIELD(protocol))
RECORD(SSLDateTime, FIELD(text))
RECORD(SSLCertificate, FIELD(fingerprint), FIELD(hostNames), FIELD(issuer), FIELD(pem),
       FIELD(publicKey), FIELD(serialNumber), FIELD(subject), FIELD(validFrom), FIELD(validTo))
RECORD(SSLConnectionInfo, FIELD(certificate), FIELD(host), FIELD(issuer), FIELD(problems),
       FIELD(subject))
RECORD(SSLConnectionBasicInfo, FIELD(cipher), FIELD(since))
RECORD(OrvWebPageSecurityBasicInfo, FIELD(location), FIELD(secured))
RECORD(OrvWebPageSecurityInfo, FIELD(certificates), FIELD(connection), FIELD(connectionDetails),
       FIELD(page))
RECORD(SSLCertificateInfo, FIELD(certificate), FIELD(host), FIELD(issuer), FIELD(problems),
       FIELD(subject))
#undef RECORD
#undef FIELD

}  // namespace record_json

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
    if (!member.value.IsObject()) continue;
    const String name(std::string_view(member.name.GetString(), member.name.GetStringLength()));
    record_json::read(member.value, certificates[name]);
  }
  return true;
}

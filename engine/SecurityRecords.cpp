// What is known about the security of a connection.
#include "engine/SecurityRecords.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

Tessel::Platform::String SSLConnectionInfo::serialize() const {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  const auto text = [&](const String& value) {
    writer.String(value.utf8(), static_cast<rapidjson::SizeType>(value.length()));
  };
  writer.StartObject();
  writer.Key("certificate");
  text(certificate);
  writer.Key("host");
  text(host);
  writer.Key("issuer");
  text(issuer);
  writer.Key("problems");
  writer.StartArray();
  for (const String& problem : problems) text(problem);
  writer.EndArray();
  writer.Key("subject");
  text(subject);
  writer.EndObject();
  return std::string_view(buffer.GetString(), buffer.GetSize());
}

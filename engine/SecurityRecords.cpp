// The text forms of the security records.
#include "engine/SecurityRecords.h"

#include "engine/RecordFields.h"
#include "engine/RecordJson.h"

using fields::Reading;
using Tessel::Platform::String;

String SSLConnectionInfo::serialize() const {
  return fields::textOf(*this);
}

String OrvWebPageSecurityInfo::serialize() const {
  return fields::textOf(*this);
}

bool OrvWebPageSecurityInfo::deserialize(const String& text) {
  return fields::readText<Reading::Lenient>(text, *this);
}

String SSLCertificateInfo::serialize() const {
  return fields::textOf(*this);
}

bool SSLCertificateInfo::deserialize(const String& text) {
  if (text.view().starts_with("-----BEGIN")) {
    certificate = text;
    return true;
  }
  return fields::readText<Reading::Lenient>(text, *this);
}

String textOf(const SSLCertificateMap& certificates) {
  return fields::textOf(certificates);
}

bool certificatesFromText(const String& text, SSLCertificateMap& certificates) {
  // A malformed record stays empty, and is refused where certificates are added.
  return fields::readText<Reading::Lenient>(text, certificates);
}

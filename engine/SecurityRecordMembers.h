// The members of the security records, in the order in which they are written. Any thread: plain
// constants.
#pragma once

#include "engine/RecordJson.h"
#include "engine/SecurityRecords.h"

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

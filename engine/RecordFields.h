// The fields of all records exchanged with the chrome, in the order in which they are written. Any
// thread: constants.
#pragma once

#include "engine/FieldLists.h"
#include "engine/Records.h"
#include "engine/SecurityRecords.h"

namespace fields {

#define RECORD(Type, ...)                          \
  template <>                                      \
  struct FieldsOf<Type> {                          \
    using Record = Type;                           \
    static constexpr std::tuple list{__VA_ARGS__}; \
  };
// MEMBER is written and read, the others are write-only.
#define MEMBER(name) member(#name, &Record::name)
#define WRITTEN(name) field(#name, &Record::name)
#define LITERAL(name, text) field(#name, [](const Record&) { return text; })

RECORD(OrvWebRect, MEMBER(height), MEMBER(width), MEMBER(x), MEMBER(y))
RECORD(OrvWebPoint, MEMBER(x), MEMBER(y))
RECORD(OrvWebSize, MEMBER(height), MEMBER(width))
// The chrome sends icons without a size, and with the data under a different key.
RECORD(OrvWebFavicon, LITERAL(data, "Unsupported type: unsigned char*"),
       member("dataInBase64", &Record::dataInBase64, "iconDataBase64Encoded"), WRITTEN(height),
       MEMBER(url), WRITTEN(width))
RECORD(OrvWebHistoryItem, MEMBER(isPost), MEMBER(originalURL), MEMBER(title), MEMBER(url))
// The following two are never read from the chrome.
RECORD(OrvWebContext, WRITTEN(alt), WRITTEN(isAudio), WRITTEN(isFocusable), WRITTEN(isImage),
       WRITTEN(isInput), WRITTEN(isPassword), WRITTEN(isSelectable), WRITTEN(isSingleLine),
       WRITTEN(isVideo), WRITTEN(isLoomContext), WRITTEN(mimeType), WRITTEN(pattern), WRITTEN(src),
       WRITTEN(text), WRITTEN(url), WRITTEN(loomContext),
       LITERAL(invokeRequests, "Unsupported type: std::vector<OrvWebInvokeRequest*> const&"))
RECORD(OrvWebCertificateInfo, WRITTEN(error), WRITTEN(fileCount), WRITTEN(fileNames),
       WRITTEN(rejected), WRITTEN(trusted), LITERAL(filenames, "Unsupported type: char const**"))

RECORD(OrvWebRetry, WRITTEN(delay), WRITTEN(reason), WRITTEN(url), WRITTEN(whenShown))
RECORD(OrvWebMemoryExcess, WRITTEN(bytes), WRITTEN(limit), WRITTEN(process), WRITTEN(reason))

RECORD(SSLEntity, MEMBER(commonName), MEMBER(country), MEMBER(name), MEMBER(organization))
RECORD(SSLPublicKey, MEMBER(algorithm), MEMBER(bits))
RECORD(SSLCipher, MEMBER(name), MEMBER(protocol))
RECORD(SSLDateTime, MEMBER(text))
RECORD(SSLCertificate, MEMBER(fingerprint), MEMBER(hostNames), MEMBER(issuer), MEMBER(pem),
       MEMBER(publicKey), MEMBER(serialNumber), MEMBER(subject), MEMBER(validFrom), MEMBER(validTo))
RECORD(SSLConnectionInfo, MEMBER(certificate), MEMBER(host), MEMBER(issuer), MEMBER(problems),
       MEMBER(subject))
RECORD(SSLConnectionBasicInfo, MEMBER(cipher), MEMBER(since))
RECORD(OrvWebPageSecurityBasicInfo, MEMBER(location), MEMBER(secured))
RECORD(OrvWebPageSecurityInfo, MEMBER(certificates), MEMBER(connection), MEMBER(connectionDetails),
       MEMBER(page))
RECORD(SSLCertificateInfo, MEMBER(certificate), MEMBER(host), MEMBER(issuer), MEMBER(problems),
       MEMBER(subject))
#undef LITERAL
#undef WRITTEN
#undef MEMBER
#undef RECORD

}  // namespace fields

// Records as JSON, from the chrome and from children, and certificates.
#include "engine/Certificates.h"
#include "engine/RecordFields.h"
#include "tests/fuzz/Fuzz.h"
#include "webview/events/RecordReaders.h"

using Tessel::Platform::String;

namespace {

template <typename Record>
void check(const String& text) {
  Record record{};
  const bool accepted = readRecord(text, record);
  fuzz::require(accepted || record == Record());
  fields::textOf(record);
}

template <typename Record>
void checkSecurity(const String& text) {
  Record record;
  if (!record.deserialize(text)) return;
  Record again;
  // Bytes that are not UTF-8 are passed unchanged.
  fuzz::require(again.deserialize(record.serialize()) && again == record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const String text(std::string_view(reinterpret_cast<const char*>(data), size));
  check<OrvWebRect>(text);
  check<OrvWebPoint>(text);
  check<OrvWebSize>(text);
  check<OrvWebFavicon>(text);
  check<std::vector<OrvWebHistoryItem>>(text);
  check<std::vector<String>>(text);
  check<std::vector<JavaScriptVariant>>(text);
  checkSecurity<OrvWebPageSecurityInfo>(text);
  checkSecurity<SSLCertificateInfo>(text);
  SSLCertificateMap map;
  if (certificatesFromText(text, map)) {
    SSLCertificateMap again;
    fuzz::require(certificatesFromText(textOf(map), again) && again == map);
  }
  SSLCertificate certificate;
  fuzz::require(readCertificate(text, certificate) || certificate == SSLCertificate());
  certificateDetails(text);
  return 0;
}

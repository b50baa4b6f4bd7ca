// The fields of a certificate, read with GnuTLS: the engine's own TLS library.
#include "engine/Certificates.h"

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <memory>

using Tessel::Platform::concat;
using Tessel::Platform::String;

namespace {

struct FreeCertificate {
  void operator()(gnutls_x509_crt_t certificate) const { gnutls_x509_crt_deinit(certificate); }
};
using Certificate = std::unique_ptr<gnutls_x509_crt_int, FreeCertificate>;

Certificate parsed(const String& pem) {
  gnutls_x509_crt_t raw = nullptr;
  if (gnutls_x509_crt_init(&raw) < 0) return nullptr;
  Certificate certificate(raw);
  std::string text = pem.toStdString();
  gnutls_datum_t datum{reinterpret_cast<unsigned char*>(text.data()),
                       static_cast<unsigned int>(text.size())};
  if (gnutls_x509_crt_import(raw, &datum, GNUTLS_X509_FMT_PEM) < 0) return nullptr;
  return certificate;
}

// Longer names are left out, not truncated.
using Buffer = std::array<char, 4096>;

String hexadecimal(const char* bytes, std::size_t size) {
  constexpr const char* digits = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

SSLDateTime dateTime(time_t moment) {
  std::tm parts{};
  std::array<char, 32> text{};
  if (moment == static_cast<time_t>(-1) || !gmtime_r(&moment, &parts)) return {};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
  return {String(text.data())};
}

using NameReader = int (*)(gnutls_x509_crt_t, const char*, unsigned, unsigned, void*, size_t*);

String namePart(gnutls_x509_crt_t certificate, NameReader reader, const char* part) {
  Buffer buffer;
  std::size_t size = buffer.size();
  if (reader(certificate, part, 0, 0, buffer.data(), &size) < 0) return {};
  return std::string_view(buffer.data(), size);
}

SSLEntity entity(gnutls_x509_crt_t certificate, NameReader reader,
                 int (*wholeName)(gnutls_x509_crt_t, char*, size_t*)) {
  Buffer buffer;
  std::size_t size = buffer.size();
  SSLEntity result;
  if (wholeName(certificate, buffer.data(), &size) >= 0) {
    result.name = std::string_view(buffer.data(), size);
  }
  result.commonName = namePart(certificate, reader, GNUTLS_OID_X520_COMMON_NAME);
  result.organization = namePart(certificate, reader, GNUTLS_OID_X520_ORGANIZATION_NAME);
  result.country = namePart(certificate, reader, GNUTLS_OID_X520_COUNTRY_NAME);
  return result;
}

std::vector<String> hostNames(gnutls_x509_crt_t certificate) {
  std::vector<String> names;
  Buffer buffer;
  std::size_t size = buffer.size();
  for (unsigned int i = 0;; ++i, size = buffer.size()) {
    const int kind =
        gnutls_x509_crt_get_subject_alt_name(certificate, i, buffer.data(), &size, nullptr);
    // Past the last one, or longer than a name may be.
    if (kind < 0) return names;
    if (kind == GNUTLS_SAN_DNSNAME) names.emplace_back(std::string_view(buffer.data(), size));
    if (kind == GNUTLS_SAN_IPADDRESS && size == 4) {
      std::string text;
      for (std::size_t part = 0; part < size; ++part) {
        if (part > 0) text += '.';
        text += std::to_string(static_cast<unsigned char>(buffer[part]));
      }
      names.emplace_back(std::move(text));
    }
  }
}

}  // namespace

bool readCertificate(const String& pem, SSLCertificate& certificate) {
  const Certificate holder = parsed(pem);
  if (!holder) return false;
  gnutls_x509_crt_t source = holder.get();
  certificate.subject = entity(source, gnutls_x509_crt_get_dn_by_oid, gnutls_x509_crt_get_dn);
  certificate.issuer =
      entity(source, gnutls_x509_crt_get_issuer_dn_by_oid, gnutls_x509_crt_get_issuer_dn);
  certificate.validFrom = dateTime(gnutls_x509_crt_get_activation_time(source));
  certificate.validTo = dateTime(gnutls_x509_crt_get_expiration_time(source));
  unsigned int bits = 0;
  const int algorithm = gnutls_x509_crt_get_pk_algorithm(source, &bits);
  if (algorithm >= 0) {
    const auto known = static_cast<gnutls_pk_algorithm_t>(algorithm);
    certificate.publicKey = {String(gnutls_pk_algorithm_get_name(known)), static_cast<int>(bits)};
  }
  Buffer buffer;
  std::size_t size = buffer.size();
  if (gnutls_x509_crt_get_serial(source, buffer.data(), &size) >= 0) {
    certificate.serialNumber = hexadecimal(buffer.data(), size);
  }
  size = buffer.size();
  if (gnutls_x509_crt_get_fingerprint(source, GNUTLS_DIG_SHA256, buffer.data(), &size) >= 0) {
    certificate.fingerprint = hexadecimal(buffer.data(), size);
  }
  certificate.hostNames = hostNames(source);
  certificate.pem = pem;
  return true;
}

std::vector<String> certificateDetails(const String& pem) {
  SSLCertificate certificate;
  if (!readCertificate(pem, certificate)) return {};
  const SSLPublicKey& key = certificate.publicKey;
  std::vector<String> details{
      concat("Issued to: ", certificate.subject.name),
      concat("Issued by: ", certificate.issuer.name),
      concat("Valid from: ", certificate.validFrom.text),
      concat("Valid until: ", certificate.validTo.text),
      concat("Serial number: ", certificate.serialNumber),
      concat("Public key: ", key.algorithm, ", ", String::fromSignedInteger(key.bits), " bits"),
      concat("SHA-256 fingerprint: ", certificate.fingerprint)};
  for (const String& host : certificate.hostNames) {
    details.push_back(concat("Valid for: ", host));
  }
  return details;
}

bool isSameCertificate(const String& a, const String& b) {
  if (a == b) return true;
  const Certificate first = parsed(a);
  const Certificate second = parsed(b);
  return first && second && gnutls_x509_crt_equals(first.get(), second.get()) != 0;
}

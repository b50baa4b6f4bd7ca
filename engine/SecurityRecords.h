// What is known about the security of pages, connections and certificates. Any thread: plain
// values. Each record has a text form, a JSON object with a member for each of its fields.
#pragma once

#include "platform/base/String.h"

#include <map>
#include <vector>

// Whom a certificate is for, or who vouches for it.
struct SSLEntity {
  using String = Tessel::Platform::String;

  String name;  // all of it, as a distinguished name
  String commonName;
  String organization;
  String country;

  friend bool operator==(const SSLEntity&, const SSLEntity&) = default;
};

struct SSLPublicKey {
  Tessel::Platform::String algorithm;
  int bits = 0;

  friend bool operator==(const SSLPublicKey&, const SSLPublicKey&) = default;
};

struct SSLCipher {
  Tessel::Platform::String name;  // empty where the engine does not tell
  Tessel::Platform::String protocol;

  friend bool operator==(const SSLCipher&, const SSLCipher&) = default;
};

// A moment in the form 2026-11-24T18:25:17Z.
struct SSLDateTime {
  Tessel::Platform::String text;

  friend bool operator==(const SSLDateTime&, const SSLDateTime&) = default;
};

struct SSLCertificate {
  using String = Tessel::Platform::String;

  SSLEntity subject;
  SSLEntity issuer;
  SSLDateTime validFrom;
  SSLDateTime validTo;
  SSLPublicKey publicKey;
  String serialNumber;            // hexadecimal
  String fingerprint;             // SHA-256, hexadecimal
  std::vector<String> hostNames;  // that it is valid for
  String pem;

  friend bool operator==(const SSLCertificate&, const SSLCertificate&) = default;
};

// A connection that could not be secured, or that was.
class SSLConnectionInfo {
 public:
  using String = Tessel::Platform::String;

  String host;
  std::vector<String> problems;  // in words, one for each thing that is wrong
  String subject;                // of the server's certificate
  String issuer;
  String certificate;  // in PEM form

  String serialize() const;

  friend bool operator==(const SSLConnectionInfo&, const SSLConnectionInfo&) = default;
};

struct SSLConnectionBasicInfo {
  SSLCipher cipher;
  SSLDateTime since;  // when the document came

  friend bool operator==(const SSLConnectionBasicInfo&, const SSLConnectionBasicInfo&) = default;
};

struct OrvWebPageSecurityBasicInfo {
  Tessel::Platform::String location;
  bool secured = false;  // the connection is encrypted, whatever is to be said about its server

  friend bool operator==(const OrvWebPageSecurityBasicInfo&,
                         const OrvWebPageSecurityBasicInfo&) = default;
};

// The security of the document that a page shows.
class OrvWebPageSecurityInfo {
 public:
  using String = Tessel::Platform::String;

  OrvWebPageSecurityBasicInfo page;
  SSLConnectionBasicInfo connectionDetails;
  SSLConnectionInfo connection;
  std::vector<SSLCertificate> certificates;  // the server's first, then who vouches for it

  String serialize() const;
  // False, and the record is left as it is, for anything but its JSON. Members that are missing or
  // of another kind keep their value.
  bool deserialize(const String& text);

  friend bool operator==(const OrvWebPageSecurityInfo&, const OrvWebPageSecurityInfo&) = default;
};

// A server's certificate that the user has accepted.
class SSLCertificateInfo {
 public:
  using String = Tessel::Platform::String;

  String host;
  String certificate;            // in PEM form
  std::vector<String> problems;  // in words: what was wrong with it when it was accepted
  String subject;
  String issuer;

  String serialize() const;
  // From its JSON, from that of a SSLConnectionInfo, or from a bare certificate in PEM form;
  // false, and the record is left as it is, for anything else.
  bool deserialize(const String& text);

  friend bool operator==(const SSLCertificateInfo&, const SSLCertificateInfo&) = default;
};

// By the host or name that they were accepted under.
using SSLCertificateMap = std::map<Tessel::Platform::String, SSLCertificateInfo>;

// A JSON object of the records by name; one that does not read as JSON is left out.
Tessel::Platform::String textOf(const SSLCertificateMap& certificates);
// False for a text that is no JSON object. Members that are no objects are left out.
bool certificatesFromText(const Tessel::Platform::String& text, SSLCertificateMap& certificates);

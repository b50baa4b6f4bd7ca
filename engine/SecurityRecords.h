// What is known about the security of a connection. Any thread: plain values.
#pragma once

#include "platform/String.h"

#include <vector>

// A connection that could not be secured, or that was.
class SSLConnectionInfo {
 public:
  using String = Tessel::Platform::String;

  String host;
  std::vector<String> problems;  // in words, one for each thing that is wrong
  String subject;                // of the server's certificate
  String issuer;
  String certificate;  // in PEM form

  // A JSON object with a member for each of the above.
  String serialize() const;
};

// A server on the loopback interface with a valid certificate, or one with a single defect.
#pragma once

#include "tests/support/LoopbackServer.h"

#include <atomic>
#include <memory>
#include <string>

namespace test_support {

// Answers every request with a page whose title is the request, from threads of its own.
class TlsServer {
 public:
  // The first connection may be left unanswered until the server ends.
  enum class First { Served, LeftAlone };
  // The certificate: self-signed, or issued by the authority: valid for 127.0.0.1, expired, or for
  // another server.
  enum class Certificate { SelfSigned, Good, Expired, WrongName };
  explicit TlsServer(First first = First::Served, Certificate kind = Certificate::SelfSigned);

  std::string address() const { return "https://" + server_.address(); }
  // The number of requests for its page.
  int requests() const { return requests_; }

  // The certificate of the authority, generated for this run, as PEM. Trusting it makes Good valid.
  static std::string authority();

 private:
  void serve(GIOStream* client);

  std::atomic<bool> leavesAlone_;
  std::atomic<int> requests_ = 0;
  const std::unique_ptr<GTlsCertificate, decltype(&g_object_unref)> certificate_;
  LoopbackServer server_{[this](GIOStream* client) { serve(client); }};
};

}  // namespace test_support

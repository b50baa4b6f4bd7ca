// A server on the loopback interface with a certificate that is good, or bad in one way.
#pragma once

#include "tests/support/LoopbackServer.h"

#include <atomic>
#include <memory>
#include <string>

namespace test_support {

// Answers every request with a page whose title is the request, from threads of its own.
class TlsServer {
 public:
  // The first connection may be left without a word, for as long as the server is there.
  enum class First { Served, LeftAlone };
  // Whose its certificate is: its own, or that of the authority, which is for 127.0.0.1 and valid
  // now, or not valid any more, or for another server.
  enum class Certificate { SelfSigned, Good, Expired, WrongName };
  explicit TlsServer(First first = First::Served, Certificate kind = Certificate::SelfSigned);

  std::string address() const { return "https://" + server_.address(); }
  // How often its page was asked for.
  int requests() const { return requests_; }

  // The certificate of the authority, made for this run, as PEM. Who trusts it trusts Good.
  static std::string authority();

 private:
  void serve(GIOStream* client);

  std::atomic<bool> leavesAlone_;
  std::atomic<int> requests_ = 0;
  const std::unique_ptr<GTlsCertificate, decltype(&g_object_unref)> certificate_;
  LoopbackServer server_{[this](GIOStream* client) { serve(client); }};
};

}  // namespace test_support

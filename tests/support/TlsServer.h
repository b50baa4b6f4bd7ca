// A server on the loopback interface with a certificate that is good, or bad in one way.
#pragma once

#include <gio/gio.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace test_support {

// Answers every request with a page whose title is the request, from threads of its own.
class TlsServer {
 public:
  // The first connection may be left without a word, for as long as the server is there.
  enum class First { Served, LeftAlone };
  // Whose its certificate is: its own, or that of the authority, which is for 127.0.0.1 and valid
  // now, or not valid any more, or for another server.
  enum class Certificate { SelfSigned, Good, Expired, WrongName };
  explicit TlsServer(First first = First::Served,
                     Certificate certificate = Certificate::SelfSigned);
  ~TlsServer();
  TlsServer(const TlsServer&) = delete;
  TlsServer& operator=(const TlsServer&) = delete;

  std::string address() const;
  // How often its page was asked for.
  int requests() const { return requests_; }

  // The certificate of the authority, made for this run, as PEM. Who trusts it trusts Good.
  static std::string authority();

 private:
  void accept(First first);
  void serve(GSocketConnection* connection);

  GTlsCertificate* certificate_ = nullptr;
  GSocketListener* listener_ = g_socket_listener_new();
  GSocketConnection* leftAlone_ = nullptr;  // the acceptor's, until it has ended
  GCancellable* ended_ = g_cancellable_new();
  guint16 port_ = 0;
  std::atomic<int> requests_ = 0;
  std::thread acceptor_;
  std::vector<std::thread> connections_;  // the acceptor's, until it has ended
};

}  // namespace test_support

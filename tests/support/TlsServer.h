// A server on the loopback interface with a certificate that nobody has signed.
#pragma once

#include <gio/gio.h>

#include <string>
#include <thread>
#include <vector>

namespace test_support {

// Answers every request with a page whose title is the request, from threads of its own.
class TlsServer {
 public:
  // The first connection may be left without a word, for as long as the server is there.
  enum class First { Served, LeftAlone };
  explicit TlsServer(First first = First::Served);
  ~TlsServer();
  TlsServer(const TlsServer&) = delete;
  TlsServer& operator=(const TlsServer&) = delete;

  std::string address() const;

 private:
  void accept(First first);
  void serve(GSocketConnection* connection) const;

  GTlsCertificate* certificate_ = nullptr;
  GSocketListener* listener_ = g_socket_listener_new();
  GSocketConnection* leftAlone_ = nullptr;  // the acceptor's, until it has ended
  GCancellable* ended_ = g_cancellable_new();
  guint16 port_ = 0;
  std::thread acceptor_;
  std::vector<std::thread> connections_;  // the acceptor's, until it has ended
};

}  // namespace test_support

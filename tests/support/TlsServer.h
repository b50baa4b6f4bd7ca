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
  TlsServer();
  ~TlsServer();
  TlsServer(const TlsServer&) = delete;
  TlsServer& operator=(const TlsServer&) = delete;

  std::string address() const;

 private:
  void accept();
  void serve(GSocketConnection* connection) const;

  GTlsCertificate* certificate_ = nullptr;
  GSocketListener* listener_ = g_socket_listener_new();
  GCancellable* ended_ = g_cancellable_new();
  guint16 port_ = 0;
  std::thread acceptor_;
  std::vector<std::thread> connections_;  // the acceptor's, until it has ended
};

}  // namespace test_support

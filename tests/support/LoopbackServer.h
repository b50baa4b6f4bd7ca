// A local port; each connection is served in a separate thread.
#pragma once

#include <gio/gio.h>

#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace test_support {

// Declare it as the owner's last member: data used for serving must outlive it.
class LoopbackServer {
 public:
  using Serve = std::function<void(GIOStream*)>;

  explicit LoopbackServer(Serve serve) : serve_(std::move(serve)) {
    GSocketAddress* wanted = g_inet_socket_address_new_from_string("127.0.0.1", 0);
    GSocketAddress* given = nullptr;
    if (!g_socket_listener_add_address(listener_, wanted, G_SOCKET_TYPE_STREAM,
                                       G_SOCKET_PROTOCOL_TCP, nullptr, &given, nullptr)) {
      std::abort();
    }
    port_ = g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(given));
    g_object_unref(given);
    g_object_unref(wanted);
    acceptor_ = std::jthread([this] { accept(); });
  }
  ~LoopbackServer() {
    g_cancellable_cancel(ended_);
    acceptor_.join();
    connections_.clear();
    g_object_unref(listener_);
    g_object_unref(ended_);
  }
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  std::string address() const { return "127.0.0.1:" + std::to_string(port_) + "/"; }

  // Waits for data; empty if the client is gone or the server ends. Engines open connections that
  // they may never use.
  std::string read(GIOStream* client) const {
    std::string bytes(8192, '\0');
    const gssize count = g_input_stream_read(g_io_stream_get_input_stream(client), bytes.data(),
                                             bytes.size(), ended_, nullptr);
    bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return bytes;
  }
  bool send(GIOStream* client, std::string_view bytes) const {
    return g_output_stream_write_all(g_io_stream_get_output_stream(client), bytes.data(),
                                     bytes.size(), nullptr, ended_, nullptr) != FALSE;
  }
  // Waits until the client disconnects or the server ends.
  void hold(GIOStream* client) const {
    while (!read(client).empty()) {
    }
  }

 private:
  void accept() {
    while (GSocketConnection* client =
               g_socket_listener_accept(listener_, nullptr, ended_, nullptr)) {
      connections_.emplace_back([this, client] {
        serve_(G_IO_STREAM(client));
        g_io_stream_close(G_IO_STREAM(client), nullptr, nullptr);
        g_object_unref(client);
      });
    }
  }

  const Serve serve_;
  GSocketListener* const listener_ = g_socket_listener_new();
  GCancellable* const ended_ = g_cancellable_new();
  guint16 port_ = 0;
  std::jthread acceptor_;
  std::vector<std::jthread> connections_;  // used by the acceptor's thread until it ends
};

// A complete answer of a server that closes the connection afterwards.
inline std::string httpAnswer(const std::string& type, const std::string& body,
                              const std::string& headers = {}) {
  return "HTTP/1.1 200 OK\r\nContent-Type: " + type + "\r\nConnection: close\r\n" + headers +
         "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

}  // namespace test_support

// A server on the loopback interface with a certificate that nobody has signed.
#include "tests/support/TlsServer.h"

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <cstdlib>
#include <ctime>

namespace test_support {

namespace {

void must(bool good) {
  if (!good) std::abort();
}

// A key and a certificate for "pagehost test", made for this run.
std::string makeCertificate() {
  gnutls_x509_privkey_t key = nullptr;
  gnutls_x509_crt_t certificate = nullptr;
  must(gnutls_x509_privkey_init(&key) >= 0 && gnutls_x509_crt_init(&certificate) >= 0);
  must(gnutls_x509_privkey_generate(key, GNUTLS_PK_ECDSA,
                                    GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0) >= 0);
  const std::time_t now = std::time(nullptr);
  const char serial = 7;
  must(gnutls_x509_crt_set_dn(certificate, "CN=pagehost test,O=pagehost", nullptr) >= 0);
  must(gnutls_x509_crt_set_version(certificate, 3) >= 0);
  must(gnutls_x509_crt_set_serial(certificate, &serial, 1) >= 0);
  must(gnutls_x509_crt_set_activation_time(certificate, now - 3600) >= 0);
  must(gnutls_x509_crt_set_expiration_time(certificate, now + 86400) >= 0);
  must(gnutls_x509_crt_set_key(certificate, key) >= 0);
  must(gnutls_x509_crt_sign2(certificate, certificate, key, GNUTLS_DIG_SHA256, 0) >= 0);
  std::string text;
  const auto append = [&](auto exported) {
    gnutls_datum_t datum{};
    must(exported(&datum) >= 0);
    text.append(reinterpret_cast<const char*>(datum.data), datum.size);
    gnutls_free(datum.data);
  };
  append([&](gnutls_datum_t* out) {
    return gnutls_x509_crt_export2(certificate, GNUTLS_X509_FMT_PEM, out);
  });
  append([&](gnutls_datum_t* out) {
    return gnutls_x509_privkey_export2_pkcs8(key, GNUTLS_X509_FMT_PEM, nullptr, GNUTLS_PKCS_PLAIN,
                                             out);
  });
  gnutls_x509_crt_deinit(certificate);
  gnutls_x509_privkey_deinit(key);
  return text;
}

}  // namespace

TlsServer::TlsServer(First first) {
  const std::string pem = makeCertificate();
  certificate_ =
      g_tls_certificate_new_from_pem(pem.c_str(), static_cast<gssize>(pem.size()), nullptr);
  must(certificate_ != nullptr);
  GInetAddress* loopback = g_inet_address_new_loopback(G_SOCKET_FAMILY_IPV4);
  GSocketAddress* wanted = g_inet_socket_address_new(loopback, 0);
  GSocketAddress* given = nullptr;
  must(g_socket_listener_add_address(listener_, wanted, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP,
                                     nullptr, &given, nullptr) != FALSE);
  port_ = g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(given));
  g_object_unref(given);
  g_object_unref(wanted);
  g_object_unref(loopback);
  acceptor_ = std::thread([this, first] { accept(first); });
}

TlsServer::~TlsServer() {
  g_cancellable_cancel(ended_);
  acceptor_.join();
  for (std::thread& connection : connections_) connection.join();
  g_clear_object(&leftAlone_);
  g_object_unref(listener_);
  g_object_unref(ended_);
  g_object_unref(certificate_);
}

std::string TlsServer::address() const {
  return "https://127.0.0.1:" + std::to_string(port_) + "/";
}

void TlsServer::accept(First first) {
  if (first == First::LeftAlone) {
    leftAlone_ = g_socket_listener_accept(listener_, nullptr, ended_, nullptr);
  }
  while (GSocketConnection* connection =
             g_socket_listener_accept(listener_, nullptr, ended_, nullptr)) {
    connections_.emplace_back([this, connection] { serve(connection); });
  }
}

void TlsServer::serve(GSocketConnection* connection) const {
  // An engine opens connections that it may never use.
  g_socket_set_timeout(g_socket_connection_get_socket(connection), 5);
  GIOStream* secured = g_tls_server_connection_new(G_IO_STREAM(connection), certificate_, nullptr);
  must(secured != nullptr);
  char request[8192];
  const gssize count = g_input_stream_read(g_io_stream_get_input_stream(secured), request,
                                           sizeof request, ended_, nullptr);
  if (count > 0) {
    const std::string body = "<!doctype html><title>" +
                             std::string(request, static_cast<std::size_t>(count)) + "</title>";
    const std::string answer =
        "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nConnection: close\r\n"
        "Content-Length: " +
        std::to_string(body.size()) + "\r\n\r\n" + body;
    g_output_stream_write_all(g_io_stream_get_output_stream(secured), answer.data(), answer.size(),
                              nullptr, nullptr, nullptr);
  }
  g_io_stream_close(secured, nullptr, nullptr);
  g_object_unref(secured);
  g_object_unref(connection);
}

}  // namespace test_support

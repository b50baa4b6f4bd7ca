// A server on the loopback interface with a certificate that is good, or bad in one way.
#include "tests/support/TlsServer.h"

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>

#include <cstdlib>
#include <ctime>
#include <string_view>

namespace test_support {

namespace {

void must(bool good) {
  if (!good) std::abort();
}

constexpr std::time_t day = 86400;

// A certificate and its key, made for this run.
class Issued {
 public:
  Issued(const char* name, std::time_t from, std::time_t until) {
    must(gnutls_x509_privkey_init(&key_) >= 0 && gnutls_x509_crt_init(&certificate_) >= 0);
    must(gnutls_x509_privkey_generate(key_, GNUTLS_PK_ECDSA,
                                      GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0) >= 0);
    static std::atomic<char> serial = 7;
    const char number = serial++;
    must(gnutls_x509_crt_set_dn(certificate_, name, nullptr) >= 0);
    must(gnutls_x509_crt_set_version(certificate_, 3) >= 0);
    must(gnutls_x509_crt_set_serial(certificate_, &number, 1) >= 0);
    must(gnutls_x509_crt_set_activation_time(certificate_, from) >= 0);
    must(gnutls_x509_crt_set_expiration_time(certificate_, until) >= 0);
    must(gnutls_x509_crt_set_key(certificate_, key_) >= 0);
  }
  ~Issued() {
    gnutls_x509_crt_deinit(certificate_);
    gnutls_x509_privkey_deinit(key_);
  }
  Issued(const Issued&) = delete;
  Issued& operator=(const Issued&) = delete;

  void becomeAuthority() {
    must(gnutls_x509_crt_set_basic_constraints(certificate_, 1, -1) >= 0);
    must(gnutls_x509_crt_set_key_usage(certificate_, GNUTLS_KEY_KEY_CERT_SIGN) >= 0);
  }
  void setServer(gnutls_x509_subject_alt_name_t kind, std::string_view name) {
    must(gnutls_x509_crt_set_subject_alt_name(certificate_, kind, name.data(),
                                              static_cast<unsigned>(name.size()),
                                              GNUTLS_FSAN_SET) >= 0);
    must(gnutls_x509_crt_set_key_purpose_oid(certificate_, GNUTLS_KP_TLS_WWW_SERVER, 0) >= 0);
  }
  void signBy(const Issued& issuer) {
    must(gnutls_x509_crt_sign2(certificate_, issuer.certificate_, issuer.key_, GNUTLS_DIG_SHA256,
                               0) >= 0);
  }
  std::string certificatePem() const {
    return textOf([&](gnutls_datum_t* out) {
      return gnutls_x509_crt_export2(certificate_, GNUTLS_X509_FMT_PEM, out);
    });
  }
  std::string keyPem() const {
    return textOf([&](gnutls_datum_t* out) {
      return gnutls_x509_privkey_export2_pkcs8(key_, GNUTLS_X509_FMT_PEM, nullptr,
                                               GNUTLS_PKCS_PLAIN, out);
    });
  }

 private:
  template <typename Export>
  static std::string textOf(Export exported) {
    gnutls_datum_t datum{};
    must(exported(&datum) >= 0);
    std::string text(reinterpret_cast<const char*>(datum.data), datum.size);
    gnutls_free(datum.data);
    return text;
  }

  gnutls_x509_privkey_t key_ = nullptr;
  gnutls_x509_crt_t certificate_ = nullptr;
};

const Issued& theAuthority() {
  static const Issued& made = []() -> const Issued& {
    static Issued authority("CN=pagehost test authority,O=pagehost", std::time(nullptr) - 3 * day,
                            std::time(nullptr) + 3 * day);
    authority.becomeAuthority();
    authority.signBy(authority);
    return authority;
  }();
  return made;
}

std::string makeCertificate(TlsServer::Certificate kind) {
  using Kind = TlsServer::Certificate;
  const std::time_t now = std::time(nullptr);
  const bool expired = kind == Kind::Expired;
  Issued made("CN=pagehost test,O=pagehost", now - 2 * day, expired ? now - day : now + day);
  if (kind == Kind::SelfSigned) {
    made.signBy(made);
    return made.certificatePem() + made.keyPem();
  }
  constexpr std::string_view loopback("\x7f\0\0\1", 4);
  if (kind == Kind::WrongName) {
    made.setServer(GNUTLS_SAN_DNSNAME, "elsewhere.example");
  } else {
    made.setServer(GNUTLS_SAN_IPADDRESS, loopback);
  }
  made.signBy(theAuthority());
  return made.certificatePem() + made.keyPem();
}

}  // namespace

std::string TlsServer::authority() {
  return theAuthority().certificatePem();
}

TlsServer::TlsServer(First first, Certificate certificate) {
  const std::string pem = makeCertificate(certificate);
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

void TlsServer::serve(GSocketConnection* connection) {
  // An engine opens connections that it may never use.
  g_socket_set_timeout(g_socket_connection_get_socket(connection), 5);
  GIOStream* secured = g_tls_server_connection_new(G_IO_STREAM(connection), certificate_, nullptr);
  must(secured != nullptr);
  char request[8192];
  const gssize count = g_input_stream_read(g_io_stream_get_input_stream(secured), request,
                                           sizeof request, ended_, nullptr);
  if (count > 0) {
    if (std::string_view(request, static_cast<std::size_t>(count)).starts_with("GET / ")) {
      ++requests_;
    }
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

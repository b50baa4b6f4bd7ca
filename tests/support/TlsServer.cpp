// A server on the loopback interface with a valid certificate, or one with a single defect.
#include "tests/support/TlsServer.h"

#include "tests/support/TemporaryFolder.h"

#include <cstdlib>

namespace test_support {

namespace {

// Fills $folder with a file for each certificate and its key, and one for the authority.
constexpr const char* makeCertificates = R"(
set -e
cd "$folder"
new='-newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes'
openssl req -x509 $new -days 3 -subj '/CN=pagehost test authority/O=pagehost' \
  -addext keyUsage=critical,keyCertSign -keyout authority.key -out authority
make() { # FILE DAYS ALTERNATIVE_NAME SIGNER...
  file=$1 days=$2 name=$3
  shift 3
  openssl req $new -subj '/CN=pagehost test/O=pagehost' -addext "subjectAltName=$name" \
    -addext extendedKeyUsage=serverAuth -keyout "$file.key" -out "$file.request"
  openssl x509 -req -in "$file.request" -copy_extensions copy -days "$days" "$@" -out "$file"
  cat "$file.key" >>"$file"
}
make selfSigned 1 DNS:pagehost.example -signkey selfSigned.key
make good 1 IP:127.0.0.1 -CA authority -CAkey authority.key
make expired -1 IP:127.0.0.1 -CA authority -CAkey authority.key
make wrongName 1 DNS:elsewhere.example -CA authority -CAkey authority.key
)";

std::string certificate(const char* file) {
  static const TemporaryFolder folder;
  static const int status = std::system(
      ("folder='" + folder.path().string() + "'\nexec 2>/dev/null\n" + makeCertificates).c_str());
  if (status != 0) std::abort();
  return folder.read(file);
}

GTlsCertificate* load(TlsServer::Certificate kind) {
  constexpr const char* files[] = {"selfSigned", "good", "expired", "wrongName"};
  const std::string pem = certificate(files[static_cast<int>(kind)]);
  GTlsCertificate* loaded = g_tls_certificate_new_from_pem(pem.c_str(), -1, nullptr);
  if (!loaded) std::abort();
  return loaded;
}

}  // namespace

std::string TlsServer::authority() {
  return certificate("authority");
}

TlsServer::TlsServer(First first, Certificate kind)
    : leavesAlone_(first == First::LeftAlone), certificate_(load(kind), g_object_unref) {}

void TlsServer::serve(GIOStream* client) {
  if (leavesAlone_.exchange(false)) return server_.hold(client);
  GIOStream* secured = g_tls_server_connection_new(client, certificate_.get(), nullptr);
  const std::string request = server_.read(secured);
  if (request.starts_with("GET / ")) ++requests_;
  if (!request.empty()) {
    server_.send(secured, httpAnswer("text/html", "<!doctype html><title>" + request + "</title>"));
  }
  g_io_stream_close(secured, nullptr, nullptr);
  g_object_unref(secured);
}

}  // namespace test_support

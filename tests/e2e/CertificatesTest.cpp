// The real program with servers whose certificates are valid or invalid. Only this program trusts
// the test's own certificate authority.
#include "tests/support/SuiteTest.h"
#include "tests/support/TlsServer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

namespace {

using test_support::Program;
using test_support::TlsServer;

constexpr const char* unshare = "/usr/bin/unshare";
// In a new mount namespace, the file named by the first argument is mounted over the list of
// trusted authorities.
constexpr const char* withAuthority =
    R"(mount --bind "$0" /etc/ssl/certs/ca-certificates.crt && exec "$@")";

class CertificatesTest : public test_support::SuiteTest {};

TEST_F(CertificatesTest, ErrorsRefusalsAndExceptionsAreWhatTheChromeSees) {
  if (std::system("unshare -m sh -c 'mount --bind /dev/null "
                  "/etc/ssl/certs/ca-certificates.crt' 2>/dev/null") != 0) {
    GTEST_SKIP() << "Only root may have mounts of his own here.";
  }
  const std::string authority = (folder_ / "authority.pem").string();
  std::ofstream(authority) << TlsServer::authority();
  using Kind = TlsServer::Certificate;
  for (const char* process : {"", "1"}) {
    const TlsServer good(TlsServer::First::Served, Kind::Good);
    const TlsServer selfSigned(TlsServer::First::Served, Kind::SelfSigned);
    const TlsServer expired(TlsServer::First::Served, Kind::Expired);
    const TlsServer wrongName(TlsServer::First::Served, Kind::WrongName);
    Program program(
        environment("certificates.html?process=" + std::string(process) +
                    "&good=" + good.address() + "&selfSigned=" + selfSigned.address() +
                    "&expired=" + expired.address() + "&wrongName=" + wrongName.address()),
        {"-m", "sh", "-c", withAuthority, authority, PAGEHOST_TEST_PROGRAM}, "unshare", unshare);
    readSuite(program);
    EXPECT_EQ(good.requests(), 1);
    EXPECT_EQ(selfSigned.requests(), 0) << "it was told what is for somebody else";
    EXPECT_EQ(wrongName.requests(), 0) << "it was told what is for somebody else";
    EXPECT_GE(expired.requests(), 2);
  }
}

}  // namespace

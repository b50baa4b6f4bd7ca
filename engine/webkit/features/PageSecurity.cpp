// The TLS state of a page. Main thread.
//
// The engine keeps an exception for a certificate as long as its context lives, for all pages. What
// a web view has accepted is its own and can be taken back, so every document is checked against
// that when it comes.
#include "engine/webkit/features/PageSecurity.h"

#include "engine/Certificates.h"
#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/features/PagePrompts.h"

using Tessel::Platform::concat;
using Tessel::Platform::String;

namespace {

// The refused connections that are kept; the oldest are dropped.
constexpr std::size_t mostRefused = 16;

// The server's certificate first, then its issuers.
std::vector<SSLCertificate> chainOf(GTlsCertificate* certificate) {
  std::vector<SSLCertificate> chain;
  for (GTlsCertificate* one = certificate; one && chain.size() < 16;
       one = g_tls_certificate_get_issuer(one)) {
    readCertificate(pemOf(one), chain.emplace_back());
  }
  return chain;
}

String now() {
  GDateTime* time = g_date_time_new_now_utc();
  gchar* text = g_date_time_format(time, "%Y-%m-%dT%H:%M:%SZ");
  String result(text);
  g_free(text);
  g_date_time_unref(time);
  return result;
}

}  // namespace

PageSecurity::PageSecurity(PageContext& page, WebKitWebView* view) : page_(page), view_(view) {
  letInKnown();
  g_signal_connect(view_, "load-failed-with-tls-errors", G_CALLBACK(onTlsFailed), this);
}

PageSecurity::~PageSecurity() {
  g_signal_handlers_disconnect_by_data(view_, this);
}

bool PageSecurity::isAccepted(const SSLConnectionInfo& connection) const {
  const SSLCertificateMap& known = page_.client()->knownCertificates();
  const auto found = known.find(connection.host);
  return found != known.end() &&
         isSameCertificate(found->second.certificate, connection.certificate);
}

void PageSecurity::letIn(GTlsCertificate* certificate, const String& host) {
  webkit_web_context_allow_tls_certificate_for_host(webkit_web_view_get_context(view_), certificate,
                                                    host.utf8());
}

void PageSecurity::letInKnown() {
  for (const auto& [host, known] : page_.client()->knownCertificates()) {
    GTlsCertificate* certificate = g_tls_certificate_new_from_pem(
        known.certificate.utf8(), static_cast<gssize>(known.certificate.length()), nullptr);
    if (!certificate) continue;
    letIn(certificate, host);
    g_object_unref(certificate);
  }
}

// From the main loop: inside the signal of a failure the engine is not ready for the next load.
void PageSecurity::loadAgain(const String& url) {
  struct Again {
    std::weak_ptr<PageContext> page;
    String url;
  };
  g_idle_add_full(
      G_PRIORITY_DEFAULT,
      [](gpointer data) -> gboolean {
        const auto* again = static_cast<Again*>(data);
        if (const auto page = again->page.lock()) page->loadControl().loadAgain(again->url);
        return G_SOURCE_REMOVE;
      },
      new Again{page_.weak_from_this(), url},
      [](gpointer data) { delete static_cast<Again*>(data); });
}

bool PageSecurity::committed() {
  const auto page = page_.shared_from_this();
  triedAgain_ = String();
  GTlsCertificate* certificate = nullptr;
  GTlsCertificateFlags problems = G_TLS_CERTIFICATE_NO_FLAGS;
  const bool secured =
      webkit_web_view_get_tls_info(view_, &certificate, &problems) != FALSE && certificate;
  OrvWebPageSecurityInfo info;
  info.page.location = String(webkit_web_view_get_uri(view_));
  info.page.secured = secured;
  info.connectionDetails.since = {now()};
  String summary;
  if (secured) {
    info.connection = connectionInfoFrom(info.page.location.utf8(), certificate, problems);
    info.certificates = chainOf(certificate);
    summary =
        concat("TLS, certified by ",
               info.connection.issuer.isEmpty() ? String("nobody known") : info.connection.issuer);
    if (problems != 0 && !isAccepted(info.connection)) {
      webkit_web_view_stop_loading(view_);
      refuse(info.page.location, info.connection);
      return false;
    }
  }
  page->update<&PageState::encryptionInfo>(summary);
  page->update<&PageState::securityInfo>(info);
  page->update<&PageState::secureType>(!secured        ? OrvWebSecureType::SecureNone
                                       : problems == 0 ? OrvWebSecureType::SecureFull
                                                       : OrvWebSecureType::SecureFailed);
  return true;
}

gboolean PageSecurity::onTlsFailed(WebKitWebView*, const gchar* url, GTlsCertificate* certificate,
                                   GTlsCertificateFlags problems, PageSecurity* self) {
  const auto page = self->page_.shared_from_this();
  const SSLConnectionInfo connection = connectionInfoFrom(url, certificate, problems);
  if (self->isAccepted(connection) && self->triedAgain_ != String(url)) {
    self->triedAgain_ = String(url);
    self->letIn(certificate, connection.host);
    self->loadAgain(url);
    return TRUE;
  }
  self->triedAgain_ = String();
  self->refuse(url, connection);
  return TRUE;
}

void PageSecurity::refuse(const String& url, const SSLConnectionInfo& connection) {
  const auto page = page_.shared_from_this();
  OrvWebSSLHandshakingFailedEvent event;
  event.connectionInfo = connection;
  event.url = url;
  event.streamId = nextPromptNumber();
  if (refused_.size() >= mostRefused) refused_.erase(refused_.begin());
  SSLCertificateInfo certificate;
  certificate.host = connection.host;
  certificate.certificate = connection.certificate;
  certificate.problems = connection.problems;
  certificate.subject = connection.subject;
  certificate.issuer = connection.issuer;
  refused_[event.streamId()] = {url, certificate};
  page->raise(event);
  page->loadControl().showFailure(url, "The server's certificate is not trusted.");
  page->raise(OrvWebEvent::DocumentLoadFailed);
}

void PageSecurity::continueHandshake(unsigned int number, bool trust) {
  const auto node = refused_.extract(number);
  if (!node || !trust) return;
  const auto page = page_.shared_from_this();
  page->client()->acceptCertificate(node.mapped().certificate);
  page->loadControl().loadAgain(node.mapped().url);
}

// The TLS state of a page, and the connections that were refused. Main thread.
#pragma once

#include "engine/SecurityRecords.h"

#include <webkit2/webkit2.h>

#include <map>

class PageContext;

class PageSecurity {
 public:
  using String = Tessel::Platform::String;

  PageSecurity(PageContext& page, WebKitWebView* view);
  ~PageSecurity();
  PageSecurity(const PageSecurity&) = delete;
  PageSecurity& operator=(const PageSecurity&) = delete;

  // A document was committed. False when it must not be shown because its certificate is not, or no
  // longer, accepted. That was reported, and the page may be closed.
  bool committed();
  void continueHandshake(unsigned int number, bool trust);
  // Tells the engine the certificates that the client has accepted.
  void letInKnown();

 private:
  // A connection that was refused and may yet be accepted.
  struct Refused {
    String url;
    SSLCertificateInfo certificate;
  };

  static gboolean onTlsFailed(WebKitWebView*, const gchar* url, GTlsCertificate* certificate,
                              GTlsCertificateFlags problems, PageSecurity* self);
  bool isAccepted(const SSLConnectionInfo& connection) const;
  void letIn(GTlsCertificate* certificate, const String& host);
  void loadAgain(const String& url);
  void refuse(const String& url, const SSLConnectionInfo& connection);

  PageContext& page_;
  WebKitWebView* view_;
  // By the numbers that their events carry; the page's latest few.
  std::map<unsigned int, Refused> refused_;
  String triedAgain_;  // the address that is being loaded again with an accepted certificate
};

// The security of what a page shows, and connections that are refused for it. Main thread.
#pragma once

#include "engine/SecurityRecords.h"

#include <webkit2/webkit2.h>

#include <map>

class WebKitPage;

class PageSecurity {
 public:
  using String = Tessel::Platform::String;

  PageSecurity(WebKitPage& page, WebKitWebView* view);
  ~PageSecurity();
  PageSecurity(const PageSecurity&) = delete;
  PageSecurity& operator=(const PageSecurity&) = delete;

  // A document has come. False when it must not be shown: its certificate is not accepted, or not
  // any more. That was reported then, and the page is closed perhaps.
  bool committed();
  void continueHandshake(unsigned int number, bool trust);
  // The engine takes what the client has accepted by now.
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

  WebKitPage& page_;
  WebKitWebView* view_;
  // By the numbers that their events carry; the page's latest few.
  std::map<unsigned int, Refused> refused_;
  String triedAgain_;  // the address that is being loaded again with an accepted certificate
};

// What pages ask their host for through functions that the module defines (page/pageapi.js): the
// orientation of the screen, handlers of protocols, search providers. Main thread.
#pragma once

#include "engine/Enumerations.h"
#include "platform/base/String.h"

class WebKitPage;

class PageApis {
 public:
  using String = Tessel::Platform::String;

  explicit PageApis(WebKitPage& page) : page_(page) {}
  PageApis(const PageApis&) = delete;
  PageApis& operator=(const PageApis&) = delete;

  // What has become of it, for the page: "locked", "refused" by the chrome, or "unsupported" when
  // nobody locks anything.
  String lockOrientation(bool landscape);
  void unlockOrientation();
  struct ProtocolHandler {
    String scheme;
    String url;  // with %s in it
    String baseURL;
    String title;
  };
  // The chrome's word about it; empty for none.
  String protocolHandler(OrvWebProtocolHandlerType what, const ProtocolHandler& handler);
  int isSearchProviderInstalled(const String& url);
  // A lock ends with the document that has it.
  void documentGone();

 private:
  WebKitPage& page_;
  bool locked_ = false;
};

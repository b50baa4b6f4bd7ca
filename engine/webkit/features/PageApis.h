// What pages request from their host by functions that the module defines (webprocess/pageapi.js):
// screen orientation, protocol handlers, search providers. Main thread.
#pragma once

#include "engine/Enumerations.h"
#include "platform/base/String.h"

class PageContext;

class PageApis {
 public:
  using String = Tessel::Platform::String;

  explicit PageApis(PageContext& page) : page_(page) {}
  PageApis(const PageApis&) = delete;
  PageApis& operator=(const PageApis&) = delete;

  // The result for the page: "locked", "refused" by the chrome, or "unsupported" when the chrome
  // does not handle orientation locks.
  String lockOrientation(bool landscape);
  void unlockOrientation();
  struct ProtocolHandler {
    String scheme;
    String url;  // with %s in it
    String baseURL;
    String title;
  };
  // The chrome's answer; empty for none.
  String protocolHandler(OrvWebProtocolHandlerType what, const ProtocolHandler& handler);
  int isSearchProviderInstalled(const String& url);
  // A lock ends with its document.
  void documentGone();

 private:
  PageContext& page_;
  bool locked_ = false;
};

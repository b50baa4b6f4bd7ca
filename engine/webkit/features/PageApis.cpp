// What pages request from their host by functions that the module defines. Main thread.
#include "engine/webkit/features/PageApis.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/PageContext.h"

using Tessel::Platform::String;

String PageApis::lockOrientation(bool landscape) {
  if (!page_.wants(OrvWebEvent::LockOrientation)) return "unsupported";
  // The handler may remove the page's view, and this with it.
  const auto page = page_.shared_from_this();
  const auto life = page->viewLife();
  OrvWebLockOrientationEvent event;
  event.landscape = landscape;
  page->raise(event);
  if (event.isPreventDefault() || life.expired()) return "refused";
  locked_ = true;
  return "locked";
}

void PageApis::unlockOrientation() {
  locked_ = false;
  page_.raise(OrvWebEvent::UnlockOrientation);
}

void PageApis::documentGone() {
  if (locked_) unlockOrientation();
}

String PageApis::protocolHandler(OrvWebProtocolHandlerType what, const ProtocolHandler& handler) {
  OrvWebProtocolHandlerEvent event;
  event.protocolHandlerType = what;
  event.scheme = handler.scheme;
  event.url = handler.url;
  event.baseURL = handler.baseURL;
  event.title = handler.title;
  page_.raise(event);
  return event.result();
}

int PageApis::isSearchProviderInstalled(const String& url) {
  OrvWebIsSearchProviderInstalledEvent event;
  event.url = url;
  page_.raise(event);
  return event.result();
}

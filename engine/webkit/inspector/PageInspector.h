// The engine's inspector of one page, for a remote front end. Main thread.
#pragma once

#include "platform/base/String.h"

#include <webkit2/webkit2.h>

#include <memory>

class PageContext;

class PageInspector {
 public:
  PageInspector(PageContext& page, WebKitWebView* view);
  ~PageInspector();
  PageInspector(const PageInspector&) = delete;
  PageInspector& operator=(const PageInspector&) = delete;

  // See Page::inspectorMessage. Every front end gets a new session, which starts with the engine's
  // initial messages.
  void message(const Tessel::Platform::String& text, bool connected);
  void end();

 private:
  class Session;

  PageContext& page_;
  WebKitWebView* view_;
  std::shared_ptr<Session> session_;  // while there is a front end
};

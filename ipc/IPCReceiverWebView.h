// A web view of a child process: its events are sent to the main process, which forwards them to
// the chrome. UI thread.
#pragma once

#include "webview/WebView.h"

class IPCReceiverWebView final : public WebView {
 public:
  IPCReceiverWebView(unsigned int handle, const String& windowGroup, int mainConnectionId,
                     int webEngineConnectionId)
      : WebView(handle, windowGroup),
        mainConnectionId_(mainConnectionId),
        webEngineConnectionId_(webEngineConnectionId) {}

 protected:
  void handleWebEvent(OrvWebEvent* event) override;

 private:
  void post(EventType event, const String& data) override;
  // Waits for the chrome's answer, serving the main process in the meantime.
  String send(EventType event, const String& data) override;

  const int mainConnectionId_;
  const int webEngineConnectionId_;
};

// A web view of a child process: whatever happens in it is told to the main process, which brings
// it to the chrome. UI thread.
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
  // Waits for the chrome's answer, and goes on serving the main process meanwhile.
  String send(EventType event, const String& data) override;

  const int mainConnectionId_;
  const int webEngineConnectionId_;
};

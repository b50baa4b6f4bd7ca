// A web view of a child process. UI thread.
#include "ipc/IPCReceiverWebView.h"

#include "platform/loop/MessageClient.h"
#include "webview/events/EventMessages.h"

using Tessel::Platform::GuardedPin;
using Tessel::Platform::MessageClient;

void IPCReceiverWebView::handleWebEvent(OrvWebEvent* event) {
  // The chrome may delete this web view inside its event handler.
  const GuardedPin<IPCReceiverWebView> pin(this);
  forwardWebEvent(*this, *event, *this);
  WebView::handleWebEvent(event);
}

void IPCReceiverWebView::post(EventType event, const String& data) {
  MessageClient::sendMessage(std::make_unique<HandleOrvWebPostEventMessage>(handle(), event, data),
                             mainConnectionId_);
}

WebView::String IPCReceiverWebView::send(EventType event, const String& data) {
  HandleOrvWebSendEventMessage::Reply reply;
  MessageClient::sendMessage(
      std::make_unique<HandleOrvWebSendEventMessage>(handle(), event, data, &reply),
      webEngineConnectionId_);
  return reply.text();
}

// Handles the main process's messages in a child process: creation and deletion of web views, their
// commands, and shutdown. UI thread.
#pragma once

#include "platform/loop/MessageClient.h"

class CreateWebViewMessage;
class DeleteWebViewMessage;
class ViewQuestionMessage;

class IPCReceiverHandler final : public Tessel::Platform::MessageHandler {
 public:
  // The connections to the main process: for posts, and for events that are answered.
  IPCReceiverHandler(int mainConnectionId, int webEngineConnectionId)
      : mainConnectionId_(mainConnectionId), webEngineConnectionId_(webEngineConnectionId) {}

  void handleMessage(Tessel::Platform::Message& message) override;

 private:
  void shutDown(const Tessel::Platform::Message& message) const;
  void createWebView(const CreateWebViewMessage& message) const;
  void askWebView(const ViewQuestionMessage& message) const;
  static void deleteWebView(const DeleteWebViewMessage& message);
  void connectionDied(int connectionId) const;

  const int mainConnectionId_;
  const int webEngineConnectionId_;
};

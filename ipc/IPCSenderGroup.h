// A child process that holds web views, as the proxies of these web views see it: whether it can
// be reached, and on which channel. UI thread.
#pragma once

#include "platform/GuardedPointer.h"

class IPCSenderGroup : public Tessel::Platform::GuardedPointerBase {
 public:
  explicit IPCSenderGroup(int channelId) : channelId_(channelId) {}

  // False before the child is there and once it is gone.
  bool isConnected() const { return connected_; }
  void setConnected(bool connected) { connected_ = connected; }
  int channelId() const { return channelId_; }

 private:
  bool connected_ = false;
  int channelId_;
};

// Receives what child processes send to the main process and brings it to the right group. Messages
// come on the main thread, on the web-engine thread and, before a child has proved itself, on the
// acceptor's.
#pragma once

#include "platform/loop/GuardedPointer.h"
#include "platform/loop/MessageClient.h"

#include <functional>
#include <map>
#include <mutex>

class IPCSenderGroup;

class IPCSenderHandler final : public Tessel::Platform::MessageHandler {
 public:
  // Created on first use, never destroyed.
  static IPCSenderHandler& instance();

  // Puts itself among the handlers of the main client and of the web-engine thread's. Main thread.
  void install();

  // The groups are not owned; a later one of the same number takes the place. Any thread.
  void addGroup(unsigned int groupId, IPCSenderGroup* group);
  void removeGroup(unsigned int groupId, const IPCSenderGroup* group);
  void addProcess(int pid, IPCSenderGroup* group);
  void removeProcess(int pid, const IPCSenderGroup* group);
  // Null when there is none. Main thread.
  IPCSenderGroup* groupForConnection(int connectionId) const;

  // Those whose child is there. Main thread.
  void forEachGroup(const std::function<void(IPCSenderGroup&)>& use) const;

  void handleMessage(Tessel::Platform::Message& message) override;

 private:
  using Group = Tessel::Platform::GuardedPointer<IPCSenderGroup>;

  IPCSenderHandler() = default;
  bool handlePulse(const Tessel::Platform::Message& message) const;

  mutable std::mutex mutex_;
  std::map<int, Group> byPid_;
  std::map<unsigned int, Group> byId_;
};

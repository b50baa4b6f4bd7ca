// Dispatches the messages of child processes to their groups in the main process. Messages arrive
// on the main thread, on the web-engine thread and, before the handshake, on the acceptor's.
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

  // Installs itself as a handler of the main client and of the web-engine thread's. Main thread.
  void install();

  // The groups are not owned; a later one with the same number replaces it. Any thread.
  void addGroup(unsigned int groupId, IPCSenderGroup* group);
  void removeGroup(unsigned int groupId, const IPCSenderGroup* group);
  void addProcess(int pid, IPCSenderGroup* group);
  void removeProcess(int pid, const IPCSenderGroup* group);
  // Null if there is none. Main thread.
  IPCSenderGroup* groupForConnection(int connectionId) const;

  // Groups with a connected child. Main thread.
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

// Dispatches the messages of child processes in the main process.
#include "ipc/IPCSenderHandler.h"

#include "ipc/CookieExchange.h"
#include "ipc/IPCSenderGroup.h"
#include "ipc/ProcessMessages.h"
#include "platform/base/Log.h"
#include "webview/WebViewManager.h"
#include "webview/events/EventMessages.h"

#include <optional>
#include <vector>

using Tessel::Platform::concat;
using Tessel::Platform::GuardedPin;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::Message;
using Tessel::Platform::Pulse;
using Tessel::Platform::String;
using Tessel::Platform::webKitThreadMessageClient;

namespace {

template <typename Map, typename Key>
typename Map::mapped_type lookUp(const Map& map, Key key) {
  const auto found = map.find(key);
  return found == map.end() ? typename Map::mapped_type() : found->second;
}

// An entry taken over by another group is kept.
template <typename Map, typename Key>
void removeEntry(Map& map, Key key, const IPCSenderGroup* group) {
  const auto found = map.find(key);
  if (found != map.end() && (!found->second || found->second.get() == group)) map.erase(found);
}

}  // namespace

IPCSenderHandler& IPCSenderHandler::instance() {
  static auto* const handler = new IPCSenderHandler;
  return *handler;
}

void IPCSenderHandler::install() {
  MainMessageClient::instance()->installMessageHandler(this);
  // By a message, since handlers belong to the client's thread; it precedes any child's messages.
  webKitThreadMessageClient()->dispatchMessage(Tessel::Platform::executableMessage(
      [this] { webKitThreadMessageClient()->installMessageHandler(this); }));
}

void IPCSenderHandler::addGroup(unsigned int groupId, IPCSenderGroup* group) {
  const std::lock_guard lock(mutex_);
  byId_[groupId] = Group(group);
}

void IPCSenderHandler::removeGroup(unsigned int groupId, const IPCSenderGroup* group) {
  const std::lock_guard lock(mutex_);
  removeEntry(byId_, groupId, group);
}

void IPCSenderHandler::addProcess(int pid, IPCSenderGroup* group) {
  const std::lock_guard lock(mutex_);
  byPid_[pid] = Group(group);
}

void IPCSenderHandler::removeProcess(int pid, const IPCSenderGroup* group) {
  const std::lock_guard lock(mutex_);
  removeEntry(byPid_, pid, group);
}

IPCSenderGroup* IPCSenderHandler::groupForConnection(int connectionId) const {
  const std::lock_guard lock(mutex_);
  for (const auto& [pid, group] : byPid_) {
    if (group && group->connectionId() == connectionId) return group.get();
  }
  return nullptr;
}

void IPCSenderHandler::forEachGroup(const std::function<void(IPCSenderGroup&)>& use) const {
  std::vector<Group> groups;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [pid, group] : byPid_) groups.push_back(group);
  }
  for (const Group& each : groups) {
    const GuardedPin<IPCSenderGroup> group(each);
    if (group && group->isConnected()) use(*group.get());
  }
}

bool IPCSenderHandler::handlePulse(const Message& message) const {
  const int value = static_cast<const Pulse&>(message).value();
  if (message.type() == Pulse::connectionDied) {
    if (IPCSenderGroup* const group = groupForConnection(value)) {
      logAlways(LogError, "Received unexpected connection death message about connection %d!",
                value);
      group->connectionDied();
    }
    return true;
  }
  if (message.type() == Pulse::unblock) {
    logAlways(LogError, "Received unexpected unblock message about message %d!", value);
    return true;
  }
  return false;
}

void IPCSenderHandler::handleMessage(Message& message) {
  if (message.isPulse() && handlePulse(message)) return;
  WebViewManager& manager = WebViewManager::instance();
  if (message.type() == HandshakeMessage::messageType) {
    const auto& handshake = static_cast<const HandshakeMessage&>(message);
    Group found;
    {
      const std::lock_guard lock(mutex_);
      found = lookUp(byId_, handshake.groupId());
    }
    const GuardedPin<IPCSenderGroup> group(found);
    if (group) {
      group->handleHandshake(handshake);
    } else {
      manager.informChromeOfError(concat("IPCSenderHandler could not find webview group with id: ",
                                         String::fromUnsignedInteger(handshake.groupId())));
    }
    return;
  }
  Group found;
  {
    const std::lock_guard lock(mutex_);
    found = lookUp(byPid_, static_cast<int>(message.senderPid()));
  }
  const GuardedPin<IPCSenderGroup> group(found);
  if (!group || !group->isConnected()) {
    manager.informChromeOfError(
        concat("IPCSenderHandler could not find webview group for process: ",
               String::fromSignedInteger(message.senderPid())));
    return;
  }
  if (group->isAwaitingHandshake()) {
    logAlways(LogError, "Someone unknown was trying to send message to me during handshake!");
    return;
  }
  if (message.type() == ErrorMessage::messageType) {
    if (!MainMessageClient::instance()->isCurrentThread()) return;
    // Bounded like events.
    return group->post({0, std::nullopt, static_cast<const ErrorMessage&>(message).text(), 0});
  }
  if (message.type() == CookieChangesMessage::messageType) {
    // A child may send it over any of its connections, but the jar belongs to the main thread.
    if (!MainMessageClient::instance()->isCurrentThread()) return;
    return takeCookiesFrom(*group.get(), static_cast<const CookieChangesMessage&>(message));
  }
  if (message.type() == ViewAnswerMessage::messageType) {
    if (!MainMessageClient::instance()->isCurrentThread()) return;
    const auto& answer = static_cast<const ViewAnswerMessage&>(message);
    return group->takeAnswer(answer.number(), {answer.good(), answer.text()});
  }
  if (message.type() != HandleOrvWebPostEventMessage::messageType &&
      message.type() != HandleOrvWebSendEventMessage::messageType) {
    return;
  }
  // A child may send events for its own web views only: the root's Destroyed would end the program.
  const auto& happened = static_cast<const WebEventMessage&>(message);
  const unsigned int handle = happened.handle();
  if (!group->hasHosted(handle)) {
    logAlways(LogError, "Process %d has no web view %u; its event is dropped.",
              static_cast<int>(message.senderPid()), handle);
    return;
  }
  const auto event = happened.event();
  if (!event) {
    logAlways(LogError, "Process %d has sent an unknown event of web view %u; it is dropped.",
              static_cast<int>(message.senderPid()), handle);
    return;
  }
  if (message.type() == HandleOrvWebPostEventMessage::messageType) {
    group->post({handle, event, happened.data(), message.integer()});
  } else {
    static_cast<const HandleOrvWebSendEventMessage&>(message).answer(
        manager.sendEvent(handle, *event, happened.data(), message.integer()));
  }
}

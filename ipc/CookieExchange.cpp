// Synchronises the cookies of the main process and its child processes. Main thread.
#include "ipc/CookieExchange.h"

#include "engine/CookieJar.h"
#include "ipc/IPCSenderGroup.h"
#include "ipc/IPCSenderHandler.h"
#include "ipc/ProcessMessages.h"
#include "platform/base/Log.h"
#include "platform/loop/MessageClient.h"

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::MessageClient;
using Tessel::Platform::String;

namespace {

void sendTo(const IPCSenderGroup& group, const String& changes) {
  group.sendMessage(std::make_unique<CookieChangesMessage>(changes));
}

}  // namespace

void shareCookiesWithChildren() {
  CookieJar::current()->onChanged([](const String& changes) {
    IPCSenderHandler::instance().forEachGroup(
        [&](const IPCSenderGroup& group) { sendTo(group, changes); });
  });
}

void tellCookiesTo(const IPCSenderGroup& group) {
  if (const CookieJar* jar = CookieJar::current()) {
    jar->tellAll([&](const String& changes) { sendTo(group, changes); });
  }
}

void takeCookiesFrom(const IPCSenderGroup& group, const CookieChangesMessage& message) {
  const String changes = message.changes();
  CookieJar* const jar = CookieJar::current();
  if (!jar) return;
  if (!jar->apply(changes)) {
    logAlways(LogError, "Malformed cookies from process %d are dropped.", group.childPid());
    return;
  }
  IPCSenderHandler::instance().forEachGroup([&](const IPCSenderGroup& other) {
    if (&other != &group) sendTo(other, changes);
  });
}

void shareCookiesWithParent(int mainConnectionId) {
  CookieJar::current()->onChanged([mainConnectionId](const String& changes) {
    MessageClient::sendMessage(std::make_unique<CookieChangesMessage>(changes), mainConnectionId);
  });
}

void takeCookiesFromParent(const CookieChangesMessage& message) {
  CookieJar* const jar = CookieJar::current();
  if (jar && !jar->apply(message.changes())) {
    logAlways(LogError, "Malformed cookies from the main process are dropped.");
  }
}

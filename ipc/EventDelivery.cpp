// Rate-limited delivery of a child's events.
#include "ipc/EventDelivery.h"

#include "platform/loop/MessageClient.h"
#include "platform/loop/MethodDelegate.h"
#include "webview/WebViewManager.h"

#include <glib.h>

#include <algorithm>
#include <chrono>
#include <utility>

using Tessel::Platform::executableMessage;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::MethodDelegate0;

namespace {

constexpr unsigned int interval = 10;  // milliseconds, between deliveries of a backlog
constexpr std::chrono::seconds tellInterval{10};

// The number of children with a backlog.
std::size_t waitingDeliveries = 0;

void deliver(const EventBacklog::Event& event) {
  // Errors are queued like events.
  if (!event.type) return WebViewManager::instance().informChromeOfError(event.data);
  WebViewManager::instance().postEvent(event.handle, *event.type, event.data, event.integer);
}

}  // namespace

EventDelivery::EventDelivery(TellOfDropped tellOfDropped)
    : tellOfDropped_(std::move(tellOfDropped)) {}

EventDelivery::~EventDelivery() {
  setWaiting(false);
}

void EventDelivery::post(EventBacklog::Event event) {
  // Inspector messages do not go to the chrome, and none may be lost.
  if (event.type == EventType::InspectorMessage) return deliver(event);
  backlog_.push(std::move(event));
  if (timer_ == 0) deliverDue();
}

void EventDelivery::deliverAll() {
  while (const auto event = backlog_.popAny()) deliver(*event);
}

void EventDelivery::deliverDue() {
  const auto now = EventBacklog::Clock::now();
  while (const auto event = backlog_.pop(now, waitingDeliveries)) deliver(*event);
  tell();
  setWaiting(!backlog_.isEmpty());
}

void EventDelivery::setWaiting(bool waiting) {
  if (waiting == (timer_ != 0)) return;
  if (!waiting) {
    --waitingDeliveries;
    g_source_remove(std::exchange(timer_, 0));
    return;
  }
  ++waitingDeliveries;
  timer_ = g_timeout_add(
      interval,
      [](gpointer self) -> gboolean {
        // By a message, so that nothing is delivered in the middle of a call.
        MainMessageClient::instance()->dispatchMessage(
            executableMessage(MethodDelegate0<EventDelivery>(static_cast<EventDelivery*>(self),
                                                             &EventDelivery::deliverDue)));
        return G_SOURCE_CONTINUE;
      },
      this);
}

void EventDelivery::tell() {
  dropped_ += backlog_.takeDropped();
  const auto now = EventBacklog::Clock::now();
  if (dropped_ == 0 || now - toldAt_ < tellInterval) return;
  toldAt_ = now;
  tellOfDropped_(std::exchange(dropped_, 0));
}

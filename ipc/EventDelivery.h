// Delivers a child's posted events to the web view manager: immediately at low rates, else at the
// rate of the EventBacklog. UI thread.
#pragma once

#include "ipc/EventBacklog.h"
#include "platform/loop/GuardedPointer.h"

#include <cstddef>
#include <functional>

class EventDelivery final : public Tessel::Platform::GuardedPointerBase {
 public:
  // Called with the number of dropped events, at most every ten seconds.
  using TellOfDropped = std::function<void(std::size_t count)>;

  explicit EventDelivery(TellOfDropped tellOfDropped);
  ~EventDelivery() override;

  void post(EventBacklog::Event event);
  // Delivers the backlog at once, after the last event.
  void deliverAll();

 private:
  void deliverDue();
  void setWaiting(bool waiting);
  void tell();

  const TellOfDropped tellOfDropped_;
  EventBacklog backlog_;
  unsigned int timer_ = 0;  // nonzero while there is a backlog
  std::size_t dropped_ = 0;
  EventBacklog::Clock::time_point toldAt_{};
};

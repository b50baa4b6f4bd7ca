// Brings the events that a child process posts to the web view manager: at once while they are few,
// and at the pace of the EventBacklog while they are many. UI thread.
#pragma once

#include "ipc/EventBacklog.h"
#include "platform/loop/GuardedPointer.h"

#include <cstddef>
#include <functional>

class EventDelivery final : public Tessel::Platform::GuardedPointerBase {
 public:
  // Told how many events were dropped, every ten seconds at most.
  using TellOfDropped = std::function<void(std::size_t count)>;

  explicit EventDelivery(TellOfDropped tellOfDropped);
  ~EventDelivery() override;

  void post(EventBacklog::Event event);
  // What is waiting, at once: nothing more comes.
  void deliverAll();

 private:
  void deliverDue();
  void setWaiting(bool waiting);
  void tell();

  const TellOfDropped tellOfDropped_;
  EventBacklog backlog_;
  unsigned int timer_ = 0;  // while events wait
  std::size_t dropped_ = 0;
  EventBacklog::Clock::time_point toldAt_{};
};

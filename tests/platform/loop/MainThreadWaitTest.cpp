// Waits of the main thread, which is the test's thread.
#include "platform/loop/MainThreadWait.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <functional>
#include <memory>

namespace Tessel::Platform {
namespace {

using namespace std::chrono_literals;

class Event {
 public:
  ~Event() { close(fd_); }
  void raise() { eventfd_write(fd_, 1); }
  bool take() {
    eventfd_t count;
    return eventfd_read(fd_, &count) == 0;
  }
  pollfd descriptor() const { return {fd_, POLLIN, 0}; }

 private:
  int fd_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
};

class EventParticipant final : public MainThreadWait::Participant {
 public:
  explicit EventParticipant(std::function<void()> onEvent = [] {}) : onEvent_(std::move(onEvent)) {
    MainThreadWait::addParticipant(this);
  }
  ~EventParticipant() override { MainThreadWait::removeParticipant(this); }

  void appendPollDescriptors(std::vector<pollfd>& descriptors) const override {
    descriptors.push_back(event.descriptor());
  }
  void serve() override {
    if (!event.take()) return;
    ++served;
    onEvent_();
  }

  Event event;
  int served = 0;

 private:
  std::function<void()> onEvent_;
};

TEST(MainThreadWaitTest, PartiesMayLeaveWhileOneOfThemIsServed) {
  std::unique_ptr<EventParticipant> dismissed;
  EventParticipant leaver([&] {
    dismissed.reset();
    MainThreadWait::removeParticipant(&leaver);
  });
  EventParticipant neighbour;
  dismissed = std::make_unique<EventParticipant>();
  EventParticipant last;
  for (EventParticipant* participant : {&leaver, &neighbour, dismissed.get(), &last})
    participant->event.raise();

  MainThreadWait wait;
  std::vector<pollfd> none;
  wait.poll(none, Testing::Deadline);
  EXPECT_EQ(leaver.served, 1);
  EXPECT_EQ(neighbour.served, 1);
  EXPECT_EQ(last.served, 1);

  leaver.event.raise();
  EXPECT_FALSE(wait.poll(none, 0ms));
  EXPECT_EQ(leaver.served, 1) << "who has left is not served";
}

}  // namespace
}  // namespace Tessel::Platform

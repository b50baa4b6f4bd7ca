// Guarded pointers, pins and delegates; the test's thread owns the objects.
#include "platform/loop/GuardedPointer.h"
#include "platform/loop/MessageClient.h"
#include "platform/loop/MethodDelegate.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <optional>
#include <string>
#include <thread>

namespace Tessel::Platform {
namespace {

using Testing::iterateUntil;

// Where and how often an object was destroyed.
struct Grave {
  std::atomic<int> burials = 0;
  std::thread::id thread;
};

class Thing final : public GuardedPointerBase {
 public:
  explicit Thing(Grave& grave) : grave_(grave) {}
  ~Thing() override {
    grave_.thread = std::this_thread::get_id();
    ++grave_.burials;
  }

  void deleteSelf(int number, const std::string& text) {
    deleteGuardedObject(this);
    noted = text + std::to_string(number);
    EXPECT_EQ(grave_.burials, 0) << "it lives until its method returns";
  }

  std::string noted;

 private:
  Grave& grave_;
};

TEST(GuardedPointerTest, LastPinOfADoomedObjectTakesItAway) {
  Grave grave;
  auto* const thing = new Thing(grave);
  const GuardedPointer<Thing> pointer(thing);
  {
    const GuardedPin<Thing> outer(pointer);
    {
      const GuardedPin<Thing> inner(thing);
      EXPECT_FALSE(inner.isDoomed());
      deleteGuardedObject(thing);
      deleteGuardedObject(thing);
      EXPECT_TRUE(inner.isDoomed());
      EXPECT_EQ(inner.get(), thing);
    }
    EXPECT_EQ(grave.burials, 0);
    EXPECT_FALSE(pointer);
    EXPECT_FALSE(GuardedPin<Thing>(pointer)) << "a doomed object takes no new pins";
  }
  EXPECT_EQ(grave.burials, 1);

  std::optional<Thing> local(grave);
  const GuardedPointer<Thing> toLocal(&*local);
  local.reset();
  EXPECT_FALSE(toLocal);
}

TEST(GuardedPointerTest, APinOfAnotherThreadLeavesTheDeletionToTheOwner) {
  MainMessageClient client(0, -1);
  Grave grave;
  auto* const thing = new Thing(grave);
  std::optional<GuardedPin<Thing>> pin(thing);
  deleteGuardedObject(thing);
  std::thread([&] { pin.reset(); }).join();
  EXPECT_EQ(grave.burials, 0);
  EXPECT_TRUE(iterateUntil([&] { return grave.burials > 0; }));
  EXPECT_EQ(grave.thread, std::this_thread::get_id());
}

TEST(GuardedPointerTest, PinsAndDeletionsOfTwoThreadsBuryEachObjectOnce) {
  MainMessageClient client(0, -1);
  for (int round = 0; round < 60; ++round) {
    Grave grave;
    auto* const thing = new Thing(grave);
    std::atomic<bool> started = false;
    auto other = std::async(std::launch::async, [pointer = GuardedPointer<Thing>(thing), &started] {
      bool wasThere = true;
      while (wasThere) {
        const GuardedPin<Thing> pin(pointer);
        wasThere = static_cast<bool>(pin);
        if (wasThere) {
          EXPECT_EQ(pin->noted, "");
        }
        started = true;
      }
    });
    while (!started) std::this_thread::yield();
    deleteGuardedObject(thing);
    other.get();  // by now the deletion has happened or is queued
    ASSERT_TRUE(iterateUntil([&] { return grave.burials > 0; }));
    EXPECT_EQ(grave.burials, 1);
    EXPECT_EQ(grave.thread, std::this_thread::get_id());
  }
}

TEST(GuardedPointerTest, ADelegateKeepsItsTargetWhileItRunsAndSkipsADeadOne) {
  Grave grave;
  const MethodDelegate delegate(new Thing(grave), &Thing::deleteSelf, 7, "seven");
  delegate();
  EXPECT_EQ(grave.burials, 1);
  delegate();
  EXPECT_EQ(grave.burials, 1);
}

}  // namespace
}  // namespace Tessel::Platform

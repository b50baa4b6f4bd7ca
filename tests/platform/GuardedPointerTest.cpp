// Guarded pointers, pins and delegates; the test's thread owns the objects.
#include "platform/GuardedPointer.h"
#include "platform/messages/MessageClient.h"
#include "platform/messages/MethodDelegate.h"
#include "tests/platform/StandardErrorPipe.h"
#include "tests/platform/Waiting.h"

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

  void note(int number, const std::string& text, bool flag) {
    noted = text + std::to_string(number) + (flag ? "!" : "?");
  }
  void deleteSelf(std::string* trace) {
    deleteGuardedObject(this);
    *trace = grave_.burials == 0 ? "alive to the end" : "gone already";
  }

  std::string noted;

 private:
  Grave& grave_;
};

TEST(GuardedPointerTest, EveryPointerIsNullOnceTheObjectIsGone) {
  Grave grave;
  auto* const thing = new Thing(grave);
  const GuardedPointer<Thing> pointer(thing);
  const GuardedPointer<Thing> copy = pointer;
  EXPECT_EQ(pointer.get(), thing);

  deleteGuardedObject(thing);
  EXPECT_EQ(grave.burials, 1);
  EXPECT_FALSE(pointer);
  EXPECT_EQ(copy.get(), nullptr);
  EXPECT_FALSE(GuardedPin<Thing>(copy));
  EXPECT_FALSE(GuardedPin<Thing>(GuardedPointer<Thing>()));
  deleteGuardedObject(nullptr);

  std::optional<Thing> local(grave);
  const GuardedPointer<Thing> toLocal(&*local);
  local.reset();
  EXPECT_FALSE(toLocal);
}

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
}

TEST(GuardedPointerTest, PinOfAnotherThreadDefersTheDeletionToTheOwner) {
  MainMessageClient client(0, -1);
  Grave grave;
  auto* const thing = new Thing(grave);
  std::promise<void> pinned;
  std::promise<void> doomed;
  std::thread other([pointer = GuardedPointer<Thing>(thing), &pinned, &doomed, &grave] {
    const GuardedPin<Thing> pin(pointer);
    pinned.set_value();
    doomed.get_future().wait();
    EXPECT_EQ(pin->noted, "");
    EXPECT_EQ(grave.burials, 0);
  });
  pinned.get_future().wait();
  deleteGuardedObject(thing);
  doomed.set_value();
  other.join();

  EXPECT_EQ(grave.burials, 0);
  EXPECT_TRUE(iterateUntil([&] { return grave.burials > 0; }));
  EXPECT_EQ(grave.thread, std::this_thread::get_id());
}

TEST(GuardedPointerTest, PinsAndDeletionsOfTwoThreadsBuryEachObjectOnce) {
  MainMessageClient client(0, -1);
  for (int round = 0; round < 300; ++round) {
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
    other.get();  // by now the deletion has happened or is in the queue
    ASSERT_TRUE(iterateUntil([&] { return grave.burials > 0; }));
    EXPECT_EQ(grave.burials, 1);
    EXPECT_EQ(grave.thread, std::this_thread::get_id());
  }
}

TEST(MethodDelegateTest, CallsALivingTargetAndSkipsADeadOne) {
  Grave grave;
  auto* const thing = new Thing(grave);
  const MethodDelegate delegate(thing, &Thing::note, 7, "seven", true);
  delegate();
  EXPECT_EQ(thing->noted, "seven7!");
  deleteGuardedObject(thing);
  delegate();
  EXPECT_EQ(grave.burials, 1);
}

TEST(MethodDelegateTest, TargetThatDeletesItselfLivesUntilItsMethodReturns) {
  Grave grave;
  std::string trace;
  MethodDelegate(new Thing(grave), &Thing::deleteSelf, &trace)();
  EXPECT_EQ(trace, "alive to the end");
  EXPECT_EQ(grave.burials, 1);
}

}  // namespace
}  // namespace Tessel::Platform

// Lifetime of guarded objects: pins from any thread, destruction on the owner's thread.
#include "platform/loop/GuardedPointer.h"

#include "platform/base/Log.h"
#include "platform/loop/MessageClient.h"

#include <atomic>
#include <cstdint>
#include <thread>

namespace Tessel::Platform {

namespace detail {

// One atomic word holds the number of pins, whether deletion was requested (Doomed), and whether
// the destructor has run (Destroyed). Whoever takes it to exactly Doomed, without pins, is the only
// one to do so and destroys the object.
struct Guard::State {
  static constexpr std::uint32_t Doomed = 1u << 31;
  static constexpr std::uint32_t Destroyed = 1u << 30;

  std::atomic<std::uint32_t> word = 0;
  GuardedPointerBase* object = nullptr;
  std::thread::id owner;  // written before Doomed is set, read after
};

Guard::Guard(GuardedPointerBase* object) : state_(std::make_unique<State>()) {
  state_->object = object;
}

Guard::~Guard() = default;

GuardedPointerBase* Guard::object() const {
  return state_->word.load(std::memory_order_acquire) & State::Doomed ? nullptr : state_->object;
}

bool Guard::pin() {
  std::uint32_t word = state_->word.load(std::memory_order_relaxed);
  do {
    if (word & State::Doomed) return false;
  } while (!state_->word.compare_exchange_weak(word, word + 1, std::memory_order_acquire,
                                               std::memory_order_relaxed));
  return true;
}

void Guard::unpin() {
  if (state_->word.fetch_sub(1, std::memory_order_acq_rel) != (State::Doomed | 1)) return;

  GuardedPointerBase* const object = state_->object;
  const std::thread::id owner = state_->owner;
  if (owner == std::this_thread::get_id()) {
    delete object;
  } else if (!MessageClient::dispatchToThread(owner,
                                              executableMessage([object] { delete object; }))) {
    logAlways(LogError, "an object outlives its thread's message client and is not deleted");
  }
}

void Guard::requestDeletion() {
  if (!object()) return;
  state_->owner = std::this_thread::get_id();
  if (state_->word.fetch_or(State::Doomed, std::memory_order_acq_rel) == 0) delete state_->object;
}

void Guard::objectDestroyed() {
  state_->word.fetch_or(State::Doomed | State::Destroyed, std::memory_order_acq_rel);
}

}  // namespace detail

GuardedPointerBase::GuardedPointerBase() : guard_(std::make_shared<detail::Guard>(this)) {}

GuardedPointerBase::~GuardedPointerBase() {
  guard_->objectDestroyed();
}

void deleteGuardedObject(GuardedPointerBase* object) {
  if (!object) return;
  // The guard must outlive the object that holds it.
  const std::shared_ptr<detail::Guard> guard = object->guard();
  guard->requestDeletion();
}

}  // namespace Tessel::Platform

// Pointers that become null when their object is deleted, and deletion that is deferred while the
// object is in use.
//
// An object belongs to the thread that owns it, and is deleted there. It can be pinned on any
// thread: a pinned object is not destroyed, even if its deletion is requested in the meantime (a
// page deleting the web view whose call it is answering).
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>

namespace Tessel::Platform {

class GuardedPointerBase;

namespace detail {

// Shared by an object and all guarded pointers to it; outlives the object.
class Guard {
 public:
  explicit Guard(GuardedPointerBase* object);
  ~Guard();
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;

  // Null once deletion was requested. Owner thread, or while pinned.
  GuardedPointerBase* object() const;
  // False, without pinning, once deletion was requested. Any thread.
  bool pin();
  // The last unpin of an object whose deletion was requested deletes it: at once on the owner
  // thread, else by a message to the owner thread's client. If that has no client, or its loop has
  // ended, the object is leaked on purpose: a leak at the end of a process is better than a
  // destructor on the wrong thread. Any thread.
  void unpin();
  // Makes the calling thread the owner. May be called again.
  void requestDeletion();
  void objectDestroyed();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace detail

class GuardedPointerBase {
 public:
  GuardedPointerBase();
  virtual ~GuardedPointerBase();
  GuardedPointerBase(const GuardedPointerBase&) = delete;
  GuardedPointerBase& operator=(const GuardedPointerBase&) = delete;

  const std::shared_ptr<detail::Guard>& guard() const { return guard_; }

 private:
  std::shared_ptr<detail::Guard> guard_;
};

// Null once its object is deleted or deleteGuardedObject was called on it. Copy it freely;
// dereference it on the owner thread only (see GuardedPin for others).
template <typename T>
class GuardedPointer {
 public:
  GuardedPointer() = default;
  GuardedPointer(std::nullptr_t) {}
  GuardedPointer(T* object) : guard_(object ? object->guard() : nullptr), object_(object) {}

  T* get() const { return guard_ && guard_->object() ? object_ : nullptr; }
  T* operator->() const { return get(); }
  explicit operator bool() const { return get() != nullptr; }

 private:
  template <typename>
  friend class GuardedPin;
  std::shared_ptr<detail::Guard> guard_;
  T* object_ = nullptr;
};

// Pins an object for a scope; empty if the object is gone already.
template <typename T>
class GuardedPin {
 public:
  explicit GuardedPin(const GuardedPointer<T>& pointer) {
    if (pointer.guard_ && pointer.guard_->pin()) {
      guard_ = pointer.guard_;
      object_ = pointer.object_;
    }
  }
  explicit GuardedPin(T* object) : GuardedPin(GuardedPointer<T>(object)) {}
  ~GuardedPin() {
    if (guard_) guard_->unpin();
  }
  GuardedPin(const GuardedPin&) = delete;
  GuardedPin& operator=(const GuardedPin&) = delete;

  T* get() const { return object_; }
  T* operator->() const { return object_; }
  explicit operator bool() const { return object_ != nullptr; }
  // True if deletion was requested since the object was pinned: return without touching it. Owner
  // thread.
  bool isDoomed() const { return !guard_ || !guard_->object(); }

 private:
  std::shared_ptr<detail::Guard> guard_;
  T* object_ = nullptr;
};

// Deletes the object, which must be allocated with new, as soon as it is not pinned; guarded
// pointers to it become null at once. Null is ignored. Owner thread.
void deleteGuardedObject(GuardedPointerBase* object);

}  // namespace Tessel::Platform

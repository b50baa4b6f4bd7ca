// Pointers that know when their object is gone, and deletion that waits for whoever is using it.
//
// An object lives on one thread, its owner's, and is deleted there. Pinning works from any
// thread: a pinned object is not destroyed under the one who pinned it, even when its deletion is
// asked for meanwhile (a page deleting the web view whose call it is answering).
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

  // Null once the deletion was asked for. Owner thread, or while pinned.
  GuardedPointerBase* object() const;
  // False, and nothing is pinned, once the deletion was asked for. Any thread.
  bool pin();
  // The last unpin of an object whose deletion was asked for deletes it: at once on the owner
  // thread, else by a message to the owner thread's client. When that has no client, or its loop
  // has ended, the object is left alone for good: a leak at the end of a process, which is better
  // than a destructor on the wrong thread. Any thread.
  void unpin();
  // Makes the calling thread the owner. Asking twice is fine.
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

// Null once its object was deleted or deleteGuardedObject was called on it. Copy it freely;
// dereference it on the owner thread only (see GuardedPin for the others).
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

// Holds an object for the length of a scope; empty when the object was gone already.
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
  // True when somebody asked for the object's deletion since it was pinned: finish, touch nothing
  // else. Owner thread.
  bool isDoomed() const { return !guard_ || !guard_->object(); }

 private:
  std::shared_ptr<detail::Guard> guard_;
  T* object_ = nullptr;
};

// Deletes the object, which must have been made with new, as soon as nobody has it pinned; every
// guarded pointer to it is null from now on. Null is ignored. Owner thread.
void deleteGuardedObject(GuardedPointerBase* object);

}  // namespace Tessel::Platform

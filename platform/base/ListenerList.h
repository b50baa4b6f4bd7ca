// Listener pointers in registration order. Listeners may be added and removed during iteration, and
// iterations may nest. One thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Tessel::Platform {

template <typename Listener>
class ListenerList {
 public:
  // Adding a registered listener again has no effect.
  void add(Listener* listener) {
    if (std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end()) {
      listeners_.push_back(listener);
    }
  }

  void remove(Listener* listener) {
    // Cleared, not erased: iterations in progress keep their positions.
    std::replace(listeners_.begin(), listeners_.end(), listener, static_cast<Listener*>(nullptr));
    fillHoles();
  }

  bool isEmpty() const {
    return std::all_of(listeners_.begin(), listeners_.end(),
                       [](const Listener* listener) { return listener == nullptr; });
  }

  template <typename Visit>
  void forEach(Visit visit) {
    ++walks_;
    // Listeners added during an iteration are not called by it.
    const std::size_t count = listeners_.size();
    for (std::size_t i = 0; i < count; ++i) {
      if (Listener* const listener = listeners_[i]) visit(*listener);
    }
    --walks_;
    fillHoles();
  }

 private:
  void fillHoles() {
    if (walks_ == 0) std::erase(listeners_, nullptr);
  }

  std::vector<Listener*> listeners_;
  int walks_ = 0;
};

}  // namespace Tessel::Platform

// Pointers to listeners in the order of their arrival. The list may change while it is walked, and
// walks may nest. One thread.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Tessel::Platform {

template <typename Listener>
class ListenerList {
 public:
  // Adding one that is there already changes nothing.
  void add(Listener* listener) {
    if (std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end()) {
      listeners_.push_back(listener);
    }
  }

  void remove(Listener* listener) {
    // A hole keeps the places of the others for the walks that are under way.
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
    // Those who arrive meanwhile wait for the next walk.
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

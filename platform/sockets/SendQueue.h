// What a socket has not taken yet, in order, for those who must not block. Not thread safe: the
// owner serialises.
#pragma once

#include "platform/sockets/SendBounds.h"
#include "platform/sockets/Transfer.h"

#include <cerrno>
#include <cstddef>
#include <deque>
#include <utility>

namespace Tessel::Platform {

// Of packets each is an item, of a stream any piece of it. An item knows its size() in bytes, which
// is not 0.
template <typename Item>
class SendQueue {
 public:
  bool isEmpty() const { return items_.empty(); }
  std::size_t count() const { return items_.size(); }
  // Whether so many bytes more are to be sent or kept, by the bounds that all share. Asked before.
  SendOutcome admit(std::size_t size, bool isAnswer) const {
    return SendBounds::admit(bytes_, size, isAnswer);
  }

  void add(Item item) {
    bytes_ += item.size();
    items_.push_back(std::move(item));
  }
  // The one that was added last, when there is one.
  const Item& last() const { return items_.back(); }
  template <typename Change>
  void changeLast(Change change) {
    bytes_ -= items_.back().size();
    change(items_.back());
    bytes_ += items_.back().size();
  }

  // Has as much sent as goes out now. `send` is given an item and how many of its bytes have gone
  // before, and returns how many go now, or -1 with errno set. False when that is not for want of
  // room.
  template <typename Send>
  bool flush(Send send) {
    while (!items_.empty()) {
      const ssize_t sent = send(std::as_const(items_.front()), sentOfFirst_);
      if (sent < 0) return isFull(errno);
      bytes_ -= static_cast<std::size_t>(sent);
      sentOfFirst_ += static_cast<std::size_t>(sent);
      if (sentOfFirst_ < items_.front().size()) continue;
      items_.pop_front();
      sentOfFirst_ = 0;
    }
    return true;
  }

 private:
  std::deque<Item> items_;
  std::size_t bytes_ = 0;  // that have not been sent
  std::size_t sentOfFirst_ = 0;
};

}  // namespace Tessel::Platform

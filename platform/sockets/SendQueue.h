// The queue of unsent data of a non-blocking socket. Not thread safe: the owner must serialise
// access.
#pragma once

#include "platform/sockets/SendBounds.h"
#include "platform/sockets/Transfer.h"

#include <cerrno>
#include <cstddef>
#include <deque>
#include <utility>

namespace Tessel::Platform {

// An item is one packet, or any piece of a stream. Its size() in bytes must not be 0.
template <typename Item>
class SendQueue {
 public:
  bool isEmpty() const { return items_.empty(); }
  std::size_t count() const { return items_.size(); }
  // Whether so many more bytes may be sent or queued, by the shared limits. Call it before adding.
  SendOutcome admit(std::size_t size, bool isAnswer) const {
    return SendBounds::admit(bytes_, size, isAnswer);
  }

  void add(Item item) {
    bytes_ += item.size();
    items_.push_back(std::move(item));
  }
  // The item that was added last; the queue must not be empty.
  const Item& last() const { return items_.back(); }
  template <typename Change>
  void changeLast(Change change) {
    bytes_ -= items_.back().size();
    change(items_.back());
    bytes_ += items_.back().size();
  }

  // Sends as much as possible. `send` gets an item and the number of its bytes sent so far, and
  // returns the number of bytes sent now, or -1 with errno set. False on an error other than a full
  // socket.
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
  std::size_t bytes_ = 0;  // not sent yet
  std::size_t sentOfFirst_ = 0;
};

}  // namespace Tessel::Platform

// The bounded, rate-limited queue of a child's posted events.
#include "ipc/EventBacklog.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

void EventBacklog::push(Event event) {
  bytes_ += event.data.length();
  events_.push_back(std::move(event));
  if (events_.size() > mostEvents || bytes_ > mostBytes) drop();
}

// Drops down to three quarters, to amortise the cost in a flood: one pass counts the events per
// kind, and one drops the oldest of each kind above its share.
void EventBacklog::drop() {
  using Kind = std::pair<unsigned int, std::optional<EventType>>;
  struct Size {
    std::size_t events = 0;
    std::size_t bytes = 0;
  };
  std::map<Kind, Size> kinds;
  const auto kindOf = [](const Event& event) { return Kind(event.handle, event.type); };
  for (const Event& event : events_) {
    Size& size = kinds[kindOf(event)];
    ++size.events;
    size.bytes += event.data.length();
  }
  // The largest share with which everything fits.
  const auto shareOf = [&](std::size_t total, auto sizeOf) {
    std::vector<std::size_t> sizes;
    sizes.reserve(kinds.size());
    for (const auto& [kind, size] : kinds) sizes.push_back(sizeOf(size));
    std::sort(sizes.begin(), sizes.end());
    std::size_t left = sizes.size();
    for (const std::size_t size : sizes) {
      if (size * left > total) break;
      total -= size;
      --left;
    }
    return left == 0 ? sizes.back() : total / left;
  };
  const std::size_t events =
      shareOf(mostEvents / 4 * 3, [](const Size& size) { return size.events; });
  const std::size_t bytes = shareOf(mostBytes / 4 * 3, [](const Size& size) { return size.bytes; });
  std::deque<Event> kept;
  for (Event& event : events_) {
    Size& size = kinds[kindOf(event)];
    // The last one of a kind is kept, however large: it came in one message.
    if (size.events > 1 && (size.events > events || size.bytes > bytes)) {
      --size.events;
      size.bytes -= event.data.length();
      bytes_ -= event.data.length();
      ++dropped_;
    } else {
      kept.push_back(std::move(event));
    }
  }
  // There may be as many kinds as events; then the oldest are dropped.
  const auto isTooMuch = [&] {
    return kept.size() > mostEvents / 4 * 3 || (bytes_ > mostBytes / 4 * 3 && kept.size() > 1);
  };
  for (; isTooMuch(); kept.pop_front()) {
    bytes_ -= kept.front().data.length();
    ++dropped_;
  }
  events_ = std::move(kept);
}

std::optional<EventBacklog::Event> EventBacklog::pop(Clock::time_point now, std::size_t sharers) {
  const double seconds = std::chrono::duration<double>(now - refilled_).count();
  const double rate = perSecond / static_cast<double>(std::max<std::size_t>(sharers, 1));
  tokens_ = std::min(burst, tokens_ + seconds * rate);
  refilled_ = now;
  if (tokens_ < 1) return std::nullopt;
  auto event = popAny();
  if (event) tokens_ -= 1;
  return event;
}

std::optional<EventBacklog::Event> EventBacklog::popAny() {
  if (events_.empty()) return std::nullopt;
  Event event = std::move(events_.front());
  events_.pop_front();
  bytes_ -= event.data.length();
  return event;
}

std::size_t EventBacklog::takeDropped() {
  return std::exchange(dropped_, 0);
}

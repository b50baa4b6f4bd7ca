// Groups of windows that follow a finger or the mouse. UI thread.
#include "bindings/TouchTracking.h"

#include "bindings/WindowAnimations.h"
#include "platform/graphics/Screen.h"
#include "platform/loop/MessageClient.h"
#include "registry/NativeFunctions.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <algorithm>
#include <limits>

using Tessel::Platform::executableMessage;
using Tessel::Platform::ExecutableMessage;
using Tessel::Platform::IntPoint;
using Tessel::Platform::Message;
using Tessel::Platform::MessageClient;
using Tessel::Platform::userInterfaceThreadMessageClient;
using Tessel::Platform::Graphics::RawMouseEvent;
using Tessel::Platform::Graphics::RawTouchEvent;
using Tessel::Platform::Graphics::ScreenContext;
using Tessel::Platform::Graphics::ScreenEventType;
using Tessel::Platform::Graphics::TouchPoint;

namespace {

// All positions coalesce: only the last is worth moving windows for.
const int positionMessageType = Message::generateUniqueMessageType();

class WindowTouchTrackingPositionMessage final : public ExecutableMessage {
 public:
  explicit WindowTouchTrackingPositionMessage(IntPoint point)
      : ExecutableMessage(Coalescing::Merge, positionMessageType), point_(point) {}

  void execute() override { WindowTouchTrackingManager::instance().updatePositions(point_); }
  void merge(ExecutableMessage& newer) override {
    point_ = static_cast<WindowTouchTrackingPositionMessage&>(newer).point_;
  }

 private:
  IntPoint point_;
};

int sum(int a, int b) {
  constexpr long long least = std::numeric_limits<int>::min();
  constexpr long long most = std::numeric_limits<int>::max();
  return static_cast<int>(std::clamp(static_cast<long long>(a) + b, least, most));
}

}  // namespace

void TrackedAxis::follow(int place) {
  const long long distance = static_cast<long long>(place) - start;
  currentDelta =
      static_cast<int>(std::max<long long>(std::min<long long>(distance, maximum), minimum));
}

int TrackedAxis::alpha(int base, int range) const {
  if (maximum == minimum) return 0;
  const long long part = static_cast<long long>(range) *
                         (static_cast<long long>(currentDelta) - minimum) /
                         (static_cast<long long>(maximum) - minimum);
  return static_cast<int>(std::clamp<long long>(base + part, 0, 255));
}

void WindowTouchTrackingGroup::captureInitialPositions() {
  for (Member& member : windows_) {
    member.initial = member.window ? std::optional(member.window->windowLocation()) : std::nullopt;
  }
}

std::optional<int> WindowTouchTrackingGroup::alpha() const {
  if (x.fades) return x.alpha(alphaBase_, alphaRange_);
  if (y.fades) return y.alpha(alphaBase_, alphaRange_);
  return std::nullopt;
}

void WindowTouchTrackingGroup::follow(IntPoint point) {
  if (!x.moves && !y.moves && !x.fades && !y.fades) return;
  x.follow(point.x);
  y.follow(point.y);
  const std::optional<int> alphaNow = alpha();
  for (const Member& member : windows_) {
    if (!member.window || !member.initial) continue;
    if (x.moves || y.moves) {
      member.window->setWindowLocation({sum(member.initial->x, x.moves ? x.currentDelta : 0),
                                        sum(member.initial->y, y.moves ? y.currentDelta : 0)});
    }
    if (alphaNow) member.window->setGlobalAlpha(*alphaNow);
  }
}

WindowTouchTrackingManager& WindowTouchTrackingManager::instance() {
  static auto* manager = new WindowTouchTrackingManager(WebViewManager::instance().rootWebView());
  return *manager;
}

WindowTouchTrackingManager::WindowTouchTrackingManager(WebView* root) : root_(root) {
  for (const auto type : {ScreenEventType::Touch, ScreenEventType::Mouse}) {
    ScreenContext::sharedContext().addWindowListener(type, this);
  }
}

WindowTouchTrackingManager::~WindowTouchTrackingManager() {
  for (const auto type : {ScreenEventType::Touch, ScreenEventType::Mouse}) {
    ScreenContext::sharedContext().removeWindowListener(type, this);
  }
}

WindowTouchTrackingGroup& WindowTouchTrackingManager::createGroup() {
  return *groups_.emplace_back(std::make_unique<WindowTouchTrackingGroup>(nextId_++));
}

void WindowTouchTrackingManager::destroyGroup(unsigned long id) {
  std::erase_if(groups_, [id](const auto& group) { return group->id() == id; });
}

WindowTouchTrackingGroup* WindowTouchTrackingManager::group(unsigned long id) const {
  const auto found = std::find_if(groups_.begin(), groups_.end(),
                                  [id](const auto& group) { return group->id() == id; });
  return found == groups_.end() ? nullptr : found->get();
}

void WindowTouchTrackingManager::updatePositions(IntPoint point) {
  for (const auto& group : groups_) group->follow(point);
  ScreenContext::sharedContext().flush(false);
}

void WindowTouchTrackingManager::release() {
  if (groups_.empty() || !root_) return;
  WindowAnimations::post("onDragTouchRelease", {});
}

void WindowTouchTrackingManager::touchEvent(const RawTouchEvent& event) {
  if (const TouchPoint* point = event.pointForContactId(0)) sendPosition(point->position);
  if (event.type == RawTouchEvent::Release) sendRelease();
}

void WindowTouchTrackingManager::mouseEvent(const RawMouseEvent& event) {
  sendPosition(event.sourcePosition == IntPoint() ? event.position : event.sourcePosition);
  if (event.type == RawMouseEvent::Release || event.type == RawMouseEvent::Cancel) sendRelease();
}

void WindowTouchTrackingManager::sendPosition(IntPoint point) {
  MessageClient* client = userInterfaceThreadMessageClient();
  if (client) client->dispatchMessage(std::make_unique<WindowTouchTrackingPositionMessage>(point));
}

// Also from the user-interface thread itself: the last position comes first.
void WindowTouchTrackingManager::sendRelease() {
  MessageClient* client = userInterfaceThreadMessageClient();
  if (client) client->dispatchMessage(executableMessage([] { instance().release(); }));
}

namespace {

using Group = WindowTouchTrackingGroup;
using Mode = bool TrackedAxis::*;

Group* groupOf(unsigned long id) {
  return WindowTouchTrackingManager::instance().group(id);
}

// What can be done along one axis.
template <TrackedAxis Group::*axis>
struct Along {
  static void move(unsigned long id, bool on, int minimum, int maximum, int start) {
    track(groupOf(id), &TrackedAxis::moves, on, minimum, maximum, start);
  }
  static void fade(unsigned long id, bool on, int minimum, int maximum, int base, int range,
                   int start) {
    Group* group = groupOf(id);
    track(group, &TrackedAxis::fades, on, minimum, maximum, start);
    if (group && on) group->setAlpha(base, range);
  }
  static std::optional<int> currentDelta(unsigned long id) {
    const Group* group = groupOf(id);
    return group ? std::optional((group->*axis).currentDelta) : std::nullopt;
  }

 private:
  static void track(Group* group, Mode mode, bool on, int minimum, int maximum, int start) {
    if (!group) return;
    TrackedAxis& tracked = group->*axis;
    tracked.*mode = on;
    if (!on) return;
    group->captureInitialPositions();
    tracked.minimum = minimum;
    tracked.maximum = maximum;
    tracked.start = start;
  }
};

struct TouchTrackingFunctions {
  using X = Along<&Group::x>;
  using Y = Along<&Group::y>;

  static unsigned int createGroup(arguments::Groups<0, arguments::Id> windows) {
    Group& group = WindowTouchTrackingManager::instance().createGroup();
    for (std::size_t i = 0; i < windows.count(); ++i) {
      const auto [window] = windows[i];
      if (window != 0) group.add(WindowAnimations::windowOf(window));
    }
    return group.id();
  }
  static void destroyGroup(unsigned long id) {
    WindowTouchTrackingManager::instance().destroyGroup(id);
  }
};

// The groups are the user-interface thread's.
template <BindingHandler handler>
void onUserInterfaceThread(OrvWebJavaScriptCallbackEvent* event) {
  MessageClient* client = userInterfaceThreadMessageClient();
  if (!client || client->isCurrentThread()) return handler(event);
  client->dispatchSyncMessage(executableMessage([event] { handler(event); }));
}

}  // namespace

void registerTouchTracking(BindingManager& bindings) {
  arguments::forEachFunction<"TouchTrackingFunctions", TouchTrackingFunctions>(
      [&]<BindingHandler handler>(const char* name) {
        bindings.registerBinding(name, onUserInterfaceThread<handler>);
      });
}

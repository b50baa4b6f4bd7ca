// Groups of windows that follow a finger or the mouse. UI thread.
#include "bindings/TouchTracking.h"

#include "bindings/WindowAnimations.h"
#include "platform/graphics/Screen.h"
#include "platform/loop/MessageClient.h"
#include "registry/Arguments.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <algorithm>
#include <limits>

using Tessel::Platform::executableMessage;
using Tessel::Platform::ExecutableMessage;
using Tessel::Platform::IntPoint;
using Tessel::Platform::Message;
using Tessel::Platform::MessageClient;
using Tessel::Platform::String;
using Tessel::Platform::userInterfaceThreadMessageClient;
using Tessel::Platform::Graphics::RawMouseEvent;
using Tessel::Platform::Graphics::RawTouchEvent;
using Tessel::Platform::Graphics::ScreenContext;
using Tessel::Platform::Graphics::ScreenEventType;
using Tessel::Platform::Graphics::TouchPoint;
using Callback = OrvWebJavaScriptCallbackEvent;

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

WindowTouchTrackingGroup* groupAt(const Callback& event, unsigned int index) {
  return WindowTouchTrackingManager::instance().group(arguments::unsignedAt(event, index));
}

void createGroup(Callback* event) {
  WindowTouchTrackingGroup& group = WindowTouchTrackingManager::instance().createGroup();
  for (unsigned int at = 1; at < event->numArgs(); ++at) {
    const unsigned long handle = arguments::unsignedAt(*event, at);
    if (handle != 0) group.add(WindowAnimations::windowOf(handle));
  }
  event->setResult(String::fromUnsignedInteger(group.id()));
}

void destroyGroup(Callback* event) {
  if (arguments::wrongCount(*event, 2, "jsDestroyWindowTouchTrackingGroup")) return;
  WindowTouchTrackingManager::instance().destroyGroup(arguments::unsignedAt(*event, 1));
}

using Axis = TrackedAxis WindowTouchTrackingGroup::*;
using Mode = bool TrackedAxis::*;

// One of the ways in which a group follows.
struct Tracking {
  const char* function;
  Axis axis;
  Mode mode;
  bool alpha;  // base and range stand between the limits and the start
};
constexpr Tracking trackX{"jsSetWindowGroupTrackX", &WindowTouchTrackingGroup::x,
                          &TrackedAxis::moves, false};
constexpr Tracking trackY{"jsSetWindowGroupTrackY", &WindowTouchTrackingGroup::y,
                          &TrackedAxis::moves, false};
constexpr Tracking trackXToAlpha{"jsSetWindowGroupTrackXToAlpha", &WindowTouchTrackingGroup::x,
                                 &TrackedAxis::fades, true};
constexpr Tracking trackYToAlpha{"jsSetWindowGroupTrackYToAlpha", &WindowTouchTrackingGroup::y,
                                 &TrackedAxis::fades, true};

// group, enable, minimum, maximum, [base, range,] start
template <const Tracking& tracking>
void setTracking(Callback* event) {
  if (arguments::wrongCount(*event, tracking.alpha ? 8 : 6, tracking.function)) return;
  WindowTouchTrackingGroup* group = groupAt(*event, 1);
  if (!group) return;
  TrackedAxis& axis = group->*tracking.axis;
  axis.*tracking.mode = !arguments::isNullAt(*event, 2);
  if (!(axis.*tracking.mode)) return;
  group->captureInitialPositions();
  axis.minimum = arguments::numberAt(*event, 3);
  axis.maximum = arguments::numberAt(*event, 4);
  if (tracking.alpha) {
    group->setAlpha(arguments::numberAt(*event, 5), arguments::numberAt(*event, 6));
  }
  axis.start = arguments::numberAt(*event, tracking.alpha ? 7 : 5);
}

constexpr const char* deltaX = "jsGetWindowTouchTrackingGroupCurrentDeltaX";
constexpr const char* deltaY = "jsGetWindowTouchTrackingGroupCurrentDeltaY";

template <const char* const& function, Axis axis>
void currentDelta(Callback* event) {
  if (arguments::wrongCount(*event, 2, function)) return;
  const WindowTouchTrackingGroup* group = groupAt(*event, 1);
  if (group) event->setResult(String::fromSignedInteger((group->*axis).currentDelta));
}

// The groups are the user-interface thread's.
template <BindingHandler handler>
void onUserInterfaceThread(Callback* event) {
  MessageClient* client = userInterfaceThreadMessageClient();
  if (!client || client->isCurrentThread()) return handler(event);
  client->dispatchSyncMessage(executableMessage([event] { handler(event); }));
}

constexpr struct {
  const char* name;
  BindingHandler handler;
} functions[] = {
    {"windowTouchTracking.createWindowTouchTrackingGroup", onUserInterfaceThread<createGroup>},
    {"windowTouchTracking.destroyWindowTouchTrackingGroup", onUserInterfaceThread<destroyGroup>},
    {"windowTouchTracking.setWindowGroupTrackX", onUserInterfaceThread<setTracking<trackX>>},
    {"windowTouchTracking.setWindowGroupTrackY", onUserInterfaceThread<setTracking<trackY>>},
    {"windowTouchTracking.setWindowGroupTrackXToAlpha",
     onUserInterfaceThread<setTracking<trackXToAlpha>>},
    {"windowTouchTracking.setWindowGroupTrackYToAlpha",
     onUserInterfaceThread<setTracking<trackYToAlpha>>},
    {"windowTouchTracking.jsGetWindowTouchTrackingGroupCurrentDeltaX",
     onUserInterfaceThread<currentDelta<deltaX, &WindowTouchTrackingGroup::x>>},
    {"windowTouchTracking.jsGetWindowTouchTrackingGroupCurrentDeltaY",
     onUserInterfaceThread<currentDelta<deltaY, &WindowTouchTrackingGroup::y>>},
};

}  // namespace

void registerTouchTracking(BindingManager& bindings) {
  for (const auto& [name, handler] : functions) bindings.registerBinding(name, handler);
}

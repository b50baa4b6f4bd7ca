// Animations of windows and their discarded parts, for the chrome. UI thread.
//
// An animation is prepared by one call and started by another, so that several begin together.
#include "bindings/WindowAnimations.h"

#include "bindings/TouchTracking.h"
#include "platform/graphics/WindowAnimation.h"
#include "registry/Arguments.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <string_view>

using Tessel::Platform::deleteGuardedObject;
using Tessel::Platform::GuardedPointerBase;
using Tessel::Platform::IntRect;
using Tessel::Platform::String;
using Tessel::Platform::Graphics::AnimationCurve;
using Tessel::Platform::Graphics::AnimationTiming;
using Tessel::Platform::Graphics::GlobalAlphaChange;
using Tessel::Platform::Graphics::LocationChange;
using Tessel::Platform::Graphics::Window;
using Tessel::Platform::Graphics::WindowAnimation;
using Tessel::Platform::Graphics::WindowAnimationGroup;
using Tessel::Platform::Graphics::WindowChange;
using Callback = OrvWebJavaScriptCallbackEvent;

namespace {

unsigned int nextAnimationId = 0;

void reportFinished(unsigned int id) {
  WindowAnimations::post("onWindowAnimationFinished", {static_cast<int>(id)});
}

// Owns an animation until it has finished; then it is gone, too.
class WindowAnimationHandle : public GuardedPointerBase {
 public:
  WindowAnimationHandle(unsigned int id, Window* window, const WindowChange& change,
                        const AnimationTiming& timing)
      : id_(id), animation_(window, change, timing, [this] { finished(); }) {}

  void start() { animation_.start(); }
  virtual void finished() {
    reportFinished(id_);
    deleteGuardedObject(this);
  }

 private:
  const unsigned int id_;
  WindowAnimation animation_;
};

// The same of a group; its members report, it does not.
class WindowAnimationGroupHandle : public GuardedPointerBase {
 public:
  explicit WindowAnimationGroupHandle(const AnimationTiming& timing)
      : group_(timing, [this] { finished(); }) {}

  void add(unsigned int id, Window* window, const WindowChange& change) {
    group_.add(window, change, [id] { reportFinished(id); });
  }
  void start() { group_.start(); }
  virtual void finished() { deleteGuardedObject(this); }

 private:
  WindowAnimationGroup group_;
};

// What was prepared last and is not started yet.
template <typename Handle>
struct Pending {
  // The one before will never start.
  void prepare(Handle* handle) { deleteGuardedObject(std::exchange(handle_, handle)); }
  void start() {
    if (Handle* handle = std::exchange(handle_, nullptr)) handle->start();
  }

 private:
  Handle* handle_ = nullptr;
};

Pending<WindowAnimationHandle> pendingAnimation;
Pending<WindowAnimationGroupHandle> pendingGroup;

constexpr std::array<std::string_view, 3> curveNames{"Linear", "EaseInCurve", "EaseOutCurve"};

// Curve and duration, which are neighbours everywhere. Nothing, and an error, for an unknown curve.
std::optional<AnimationTiming> timingAt(const Callback& event, unsigned int index,
                                        const char* function) {
  const char* name = arguments::textAt(event, index);
  const auto* const found = std::find(curveNames.begin(), curveNames.end(), name);
  if (found == curveNames.end()) {
    BindingManager::reportArgumentError(static_cast<int>(index), name, function);
    return std::nullopt;
  }
  const double milliseconds = std::strtod(arguments::textAt(event, index + 1), nullptr);
  return AnimationTiming{static_cast<AnimationCurve>(found - curveNames.begin()),
                         AnimationTiming::Duration(milliseconds)};
}

WindowChange locationAt(const Callback& event, unsigned int index) {
  return LocationChange{arguments::pointAt(event, index), arguments::pointAt(event, index + 2)};
}

WindowChange globalAlphaAt(const Callback& event, unsigned int index) {
  return GlobalAlphaChange{arguments::numberAt(event, index),
                           arguments::numberAt(event, index + 1)};
}

// What the two kinds of animations differ in.
struct Kind {
  const char* function;
  const char* multipleFunction;
  unsigned int numbers;  // that say from where to where
  WindowChange (*changeAt)(const Callback& event, unsigned int index);
};
constexpr Kind location{"jsAnimateWindowLocation", "jsAnimateWindowLocationMultiple", 4,
                        locationAt};
constexpr Kind globalAlpha{"jsAnimateGlobalAlpha", "jsAnimateGlobalAlphaMultiple", 2,
                           globalAlphaAt};

// window, curve, duration, from, to
template <const Kind& kind>
void animate(Callback* event) {
  if (arguments::wrongCount(*event, static_cast<int>(4 + kind.numbers), kind.function)) return;
  const unsigned long window = arguments::unsignedAt(*event, 1);
  if (window == 0) return;
  const auto timing = timingAt(*event, 2, kind.function);
  if (!timing) return;
  const unsigned int id = nextAnimationId++;
  pendingAnimation.prepare(new WindowAnimationHandle(id, WindowAnimations::windowOf(window),
                                                     kind.changeAt(*event, 4), *timing));
  event->setResult(String::fromUnsignedInteger(id));
}

// curve, duration, then any number of window, from, to
template <const Kind& kind>
void animateMultiple(Callback* event) {
  constexpr unsigned int first = 3;
  constexpr unsigned int size = 1 + kind.numbers;
  if (arguments::wrongGroups(*event, first, size, 1, kind.multipleFunction)) return;
  const auto timing = timingAt(*event, 1, kind.multipleFunction);
  if (!timing) return;
  auto* group = new WindowAnimationGroupHandle(*timing);
  unsigned int last = 0;
  for (unsigned int at = first; at < event->numArgs(); at += size) {
    const unsigned long window = arguments::unsignedAt(*event, at);
    if (window == 0) continue;
    last = nextAnimationId++;
    group->add(last, WindowAnimations::windowOf(window), kind.changeAt(*event, at + 1));
  }
  pendingGroup.prepare(group);
  event->setResult(String::fromUnsignedInteger(last));
}

void startAnimation(Callback*) {
  pendingAnimation.start();
  pendingGroup.start();
}

// window, then any number of x, y, width, height
void jsSetDiscardRects(Callback* event) {
  constexpr unsigned int first = 2;
  constexpr unsigned int size = 4;
  if (arguments::wrongGroups(*event, first, size, 0, "jsSetDiscardRects")) return;
  Window* window = WindowAnimations::windowOf(arguments::unsignedAt(*event, 1));
  if (!window) return;
  std::vector<IntRect> rects;
  for (unsigned int at = first; at < event->numArgs(); at += size) {
    const auto corner = arguments::pointAt(*event, at);
    const auto extent = arguments::pointAt(*event, at + 2);
    rects.push_back({corner.x, corner.y, extent.x, extent.y});
  }
  window->setDiscardRects(std::move(rects));
}

constexpr struct {
  const char* name;
  BindingHandler handler;
} functions[] = {
    {"windowAnimations.animateWindowLocation", animate<location>},
    {"windowAnimations.animateGlobalAlpha", animate<globalAlpha>},
    {"windowAnimations.animateWindowLocationMultiple", animateMultiple<location>},
    {"windowAnimations.animateGlobalAlphaMultiple", animateMultiple<globalAlpha>},
    {"windowAnimations.startAnimation", startAnimation},
    {"window.setDiscardRects", jsSetDiscardRects},
};

}  // namespace

WindowAnimations& WindowAnimations::instance() {
  static auto* animations = new WindowAnimations;
  return *animations;
}

WindowAnimations::WindowAnimations() {
  for (const auto& [name, handler] : functions) {
    BindingManager::instance().registerBinding(name, handler);
  }
  registerTouchTracking(BindingManager::instance());
}

void WindowAnimations::post(const String& name, const std::vector<JavaScriptVariant>& arguments) {
  WebView* root = WebViewManager::instance().rootWebView();
  if (!root) return;
  root->executeJavaScriptFunction({"chrome", "internal", "windowAnimations", name}, arguments);
}

Window* WindowAnimations::windowOf(unsigned long handle) {
  constexpr auto largest = static_cast<unsigned long>(std::numeric_limits<int>::max());
  return handle > largest ? nullptr : Window::fromPlatformHandle(static_cast<int>(handle));
}

// Animations of windows and their discarded parts, for the chrome. UI thread.
//
// An animation is prepared by one call and started by another, so that several begin together.
#include "bindings/WindowAnimations.h"

#include "bindings/TouchTracking.h"
#include "platform/graphics/WindowAnimation.h"
#include "registry/NativeFunctions.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>

using Tessel::Platform::concat;
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

AnimationTiming timing(AnimationCurve curve, double milliseconds) {
  return {curve, AnimationTiming::Duration(milliseconds)};
}

LocationChange location(int fromX, int fromY, int toX, int toY) {
  return {{fromX, fromY}, {toX, toY}};
}

GlobalAlphaChange alpha(int from, int to) {
  return {from, to};
}

unsigned int animate(unsigned long window, const AnimationTiming& timing,
                     const WindowChange& change) {
  const unsigned int id = nextAnimationId++;
  pendingAnimation.prepare(
      new WindowAnimationHandle(id, WindowAnimations::windowOf(window), change, timing));
  return id;
}

// Of several windows, each with the numbers that its change is made of.
template <typename Windows, typename Change>
unsigned int animateAll(const AnimationTiming& timing, const Windows& windows,
                        const Change& change) {
  auto* group = new WindowAnimationGroupHandle(timing);
  unsigned int last = 0;
  for (std::size_t i = 0; i < windows.count(); ++i) {
    std::apply(
        [&](unsigned long window, const auto&... numbers) {
          if (window == 0) return;
          last = nextAnimationId++;
          group->add(last, WindowAnimations::windowOf(window), change(numbers...));
        },
        windows[i]);
  }
  pendingGroup.prepare(group);
  return last;
}

struct AnimationFunctions {
  using Number = arguments::Lenient<int>;
  using Windows = arguments::Groups<1, arguments::Id, Number, Number>;
  using PlacedWindows = arguments::Groups<1, arguments::Id, Number, Number, Number, Number>;
  using Rectangles = arguments::Groups<0, Number, Number, Number, Number>;

  static unsigned int animateLocation(unsigned long window, AnimationCurve curve, double duration,
                                      int fromX, int fromY, int toX, int toY) {
    return animate(window, timing(curve, duration), location(fromX, fromY, toX, toY));
  }
  static unsigned int animateAlpha(unsigned long window, AnimationCurve curve, double duration,
                                   int from, int to) {
    return animate(window, timing(curve, duration), alpha(from, to));
  }
  static unsigned int animateLocations(AnimationCurve curve, double duration,
                                       PlacedWindows windows) {
    return animateAll(timing(curve, duration), windows, location);
  }
  static unsigned int animateAlphas(AnimationCurve curve, double duration, Windows windows) {
    return animateAll(timing(curve, duration), windows, alpha);
  }
  static void start() {
    pendingAnimation.start();
    pendingGroup.start();
  }
  static void setDiscardRects(unsigned long handle, Rectangles rectangles) {
    Window* window = WindowAnimations::windowOf(handle);
    if (!window) return;
    std::vector<IntRect> rects;
    for (std::size_t i = 0; i < rectangles.count(); ++i) {
      const auto [x, y, width, height] = rectangles[i];
      rects.push_back({x, y, width, height});
    }
    window->setDiscardRects(std::move(rects));
  }
};

}  // namespace

template <>
struct arguments::Value<arguments::Curve> {
  static bool parse(Text text, AnimationCurve& value) {
    constexpr std::array<std::string_view, 3> names{"Linear", "EaseInCurve", "EaseOutCurve"};
    const auto* const found = std::find(names.begin(), names.end(), text);
    value = static_cast<AnimationCurve>(found - names.begin());
    return found != names.end();
  }
};

WindowAnimations& WindowAnimations::instance() {
  static auto* animations = new WindowAnimations;
  return *animations;
}

WindowAnimations::WindowAnimations() {
  BindingManager& bindings = BindingManager::instance();
  arguments::registerFunctions<"AnimationFunctions", AnimationFunctions>(bindings);
  registerTouchTracking(bindings);
}

void WindowAnimations::post(const String& name, const std::vector<JavaScriptVariant>& arguments) {
  WebView* root = WebViewManager::instance().rootWebView();
  if (!root) return;
  root->executeJavaScriptFunction({"chrome", "internal", "windowAnimations", name}, arguments);
}

Window* WindowAnimations::windowOf(unsigned long handle) {
  constexpr auto largest = static_cast<unsigned long>(std::numeric_limits<int>::max());
  Window* const window =
      handle > largest ? nullptr : Window::fromPlatformHandle(static_cast<int>(handle));
  if (!window && handle != 0) {
    WebViewManager::instance().informChromeOfError(
        concat("There is no window ", String::fromUnsignedInteger(handle),
               ": webview.jsScreenWindowHandle tells the window of a web view."));
  }
  return window;
}

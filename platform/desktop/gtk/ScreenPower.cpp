// Power management, screen saver and idle counter of the X display. Main thread.
#include "platform/desktop/gtk/ScreenPower.h"

#include "platform/base/ErrorReport.h"

#include <X11/Xlib.h>
#include <X11/extensions/dpms.h>
#include <X11/extensions/scrnsaver.h>
#include <X11/extensions/sync.h>
#include <gdk/gdkx.h>

#include <algorithm>
#include <climits>
#include <cstring>

namespace Tessel::Platform {

namespace {

// The display's power management reports no changes in the protocol version of Xlib here, so that
// it is read as often as this, in milliseconds.
constexpr guint powerInterval = 1000;

Display* xDisplay() {
  return gdk_x11_display_get_xdisplay(gdk_display_get_default());
}

// Calls of an X server inside another window system have no effect on the screen.
bool isNested() {
  int ignored = 0;
  return XQueryExtension(xDisplay(), "XWAYLAND", &ignored, &ignored, &ignored) != False;
}

// Does not change while the program runs.
bool hasPowerManagement() {
  static const bool has = [] {
    int ignored = 0;
    return DPMSQueryExtension(xDisplay(), &ignored, &ignored) && DPMSCapable(xDisplay());
  }();
  return has;
}

// The number of the extension's first event; -1 where there is no such extension.
int saverEvents() {
  int first = 0;
  int ignored = 0;
  return XScreenSaverQueryExtension(xDisplay(), &first, &ignored) ? first : -1;
}

XScreenSaverInfo saverInfo() {
  XScreenSaverInfo info{};
  XScreenSaverQueryInfo(xDisplay(), gdk_x11_get_default_root_xwindow(), &info);
  return info;
}

// One round trip to the display.
bool isPoweredOff() {
  CARD16 level = DPMSModeOn;
  BOOL enabled = False;
  return hasPowerManagement() && DPMSInfo(xDisplay(), &level, &enabled) && enabled &&
         level != DPMSModeOn;
}

bool report(const char* what) {
  reportError(what);
  return false;
}

constexpr const char* cannotSwitch =
    "The screen is neither blanked nor woken: the compositor of this display decides about it.";
constexpr const char* cannotTell =
    "The display does not tell about idle time: it has no screen saver extension.";

XSyncValue syncValue(int milliseconds) {
  XSyncValue value;
  XSyncIntToValue(&value, milliseconds);
  return value;
}

}  // namespace

// The notices that the chrome has asked for.
class ScreenPower::Watch {
 public:
  Watch(NavigatorHandler& handler, int idleSeconds)
      : handler_(handler),
        saverEvents_(saverEvents()),
        isSaverOn_(saverInfo().state == ScreenSaverOn),
        isBlank_(isSaverOn_ || isPoweredOff()) {
    gdk_window_add_filter(nullptr, onEvent, this);
    XScreenSaverSelectInput(xDisplay(), gdk_x11_get_default_root_xwindow(), ScreenSaverNotifyMask);
    if (hasPowerManagement()) {
      timer_ = g_timeout_add(
          powerInterval,
          [](gpointer self) -> gboolean {
            static_cast<Watch*>(self)->look();
            return G_SOURCE_CONTINUE;
          },
          this);
    }
    if (idleSeconds > 0) watchIdleTime(std::min(idleSeconds, INT_MAX / 1000) * 1000);
    gdk_display_flush(gdk_display_get_default());
  }

  ~Watch() {
    gdk_window_remove_filter(nullptr, onEvent, this);
    XScreenSaverSelectInput(xDisplay(), gdk_x11_get_default_root_xwindow(), 0);
    if (timer_) g_source_remove(timer_);
    if (alarm_) XSyncDestroyAlarm(xDisplay(), alarm_);
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  // False where there is no such counter.
  bool hasIdleCounter() const { return counter_ != None; }

 private:
  void watchIdleTime(int limit) {
    int ignored = 0;
    if (!XSyncQueryExtension(xDisplay(), &syncEvents_, &ignored) ||
        !XSyncInitialize(xDisplay(), &ignored, &ignored)) {
      return;
    }
    int count = 0;
    XSyncSystemCounter* const counters = XSyncListSystemCounters(xDisplay(), &count);
    for (int i = 0; i < count; ++i) {
      if (std::strcmp(counters[i].name, "IDLETIME") == 0) counter_ = counters[i].counter;
    }
    if (counters) XSyncFreeSystemCounterList(counters);
    limit_ = limit;
    if (counter_) expect(XSyncPositiveComparison);
  }

  // An alarm for the counter's next way through the limit.
  void expect(XSyncTestType test) {
    XSyncAlarmAttributes wanted{};
    wanted.trigger.counter = counter_;
    wanted.trigger.value_type = XSyncAbsolute;
    wanted.trigger.test_type = test;
    // Below the limit means that there was input: the counter only falls to 0.
    wanted.trigger.wait_value = syncValue(test == XSyncPositiveComparison ? limit_ : limit_ - 1);
    wanted.delta = syncValue(0);
    wanted.events = True;
    const unsigned long fields = XSyncCACounter | XSyncCAValueType | XSyncCATestType |
                                 XSyncCAValue | XSyncCADelta | XSyncCAEvents;
    if (alarm_) {
      XSyncChangeAlarm(xDisplay(), alarm_, fields, &wanted);
    } else {
      alarm_ = XSyncCreateAlarm(xDisplay(), fields, &wanted);
    }
    gdk_display_flush(gdk_display_get_default());
  }

  static GdkFilterReturn onEvent(GdkXEvent* received, GdkEvent*, gpointer data) {
    auto* const self = static_cast<Watch*>(data);
    const auto* const event = static_cast<const XEvent*>(received);
    if (event->type == self->saverEvents_ + ScreenSaverNotify) {
      self->isSaverOn_ =
          reinterpret_cast<const XScreenSaverNotifyEvent*>(event)->state == ScreenSaverOn;
      self->look();
    }
    if (self->alarm_ && event->type == self->syncEvents_ + XSyncAlarmNotify) {
      const auto* const notice = reinterpret_cast<const XSyncAlarmNotifyEvent*>(event);
      if (notice->alarm == self->alarm_ && notice->state != XSyncAlarmDestroyed) {
        self->idleTimeCrossed();
      }
    }
    return GDK_FILTER_CONTINUE;
  }

  void look() {
    const bool blank = isSaverOn_ || isPoweredOff();
    if (blank == isBlank_) return;
    isBlank_ = blank;
    blank ? handler_.onScreenBlank() : handler_.onScreenWake();
  }

  void idleTimeCrossed() {
    isIdle_ = !isIdle_;
    expect(isIdle_ ? XSyncNegativeComparison : XSyncPositiveComparison);
    isIdle_ ? handler_.onUserIdle() : handler_.onUserActive();
  }

  NavigatorHandler& handler_;
  const int saverEvents_;
  bool isSaverOn_;
  bool isBlank_;
  guint timer_ = 0;
  int syncEvents_ = 0;
  XSyncCounter counter_ = None;
  XSyncAlarm alarm_ = None;
  int limit_ = 0;  // milliseconds
  bool isIdle_ = false;
};

ScreenPower::ScreenPower(NavigatorHandler& handler) : handler_(handler) {
  handler_.addService(this);
}

ScreenPower::~ScreenPower() {
  handler_.removeService(this);
}

bool ScreenPower::blankScreen() {
  if (isNested()) return report(cannotSwitch);
  if (hasPowerManagement()) {
    DPMSEnable(xDisplay());
    DPMSForceLevel(xDisplay(), DPMSModeOff);
  } else {
    int timeout = 0;
    int interval = 0;
    int blanking = 0;
    int exposures = 0;
    XGetScreenSaver(xDisplay(), &timeout, &interval, &blanking, &exposures);
    // Else it would be a pattern that moves.
    XSetScreenSaver(xDisplay(), timeout, interval, PreferBlanking, exposures);
    XForceScreenSaver(xDisplay(), ScreenSaverActive);
  }
  gdk_display_flush(gdk_display_get_default());
  return true;
}

bool ScreenPower::wakeScreen() {
  if (isNested()) return report(cannotSwitch);
  CARD16 level = DPMSModeOn;
  BOOL enabled = False;
  // Of power management that is switched off the level cannot be set.
  if (hasPowerManagement() && DPMSInfo(xDisplay(), &level, &enabled) && enabled) {
    DPMSForceLevel(xDisplay(), DPMSModeOn);
  }
  XForceScreenSaver(xDisplay(), ScreenSaverReset);
  gdk_display_flush(gdk_display_get_default());
  return true;
}

int ScreenPower::idleTime() {
  if (saverEvents() < 0) {
    reportError(cannotTell);
    return -1;
  }
  return static_cast<int>(std::min<unsigned long>(saverInfo().idle, INT_MAX));
}

bool ScreenPower::watchScreen(int idleSeconds) {
  watch_.reset();
  if (idleSeconds < 0) return true;
  if (saverEvents() < 0) return report(cannotTell);
  watch_ = std::make_unique<Watch>(handler_, idleSeconds);
  return idleSeconds == 0 || watch_->hasIdleCounter() || report(cannotTell);
}

}  // namespace Tessel::Platform

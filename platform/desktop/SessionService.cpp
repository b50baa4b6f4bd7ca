// The user's session. Main thread.
#include "platform/desktop/SessionService.h"

#include "platform/base/Log.h"

#include <gio/gio.h>
#include <gio/gunixfdlist.h>

#include <algorithm>
#include <utility>

namespace Tessel::Platform {

namespace {

// Of each desktop its own, with the same operations. A desktop may also have the first and refuse
// to say whether it is locked.
constexpr struct {
  const char* name;  // also of the interface
  const char* path;
} lockScreens[] = {
    {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver"},
    {"org.gnome.ScreenSaver", "/org/gnome/ScreenSaver"},
    {"org.cinnamon.ScreenSaver", "/org/cinnamon/ScreenSaver"},
    {"org.mate.ScreenSaver", "/org/mate/ScreenSaver"},
    {"org.xfce.ScreenSaver", "/org/xfce/ScreenSaver"},
};

constexpr const char* loginName = "org.freedesktop.login1";
constexpr const char* managerPath = "/org/freedesktop/login1";
constexpr const char* managerInterface = "org.freedesktop.login1.Manager";
// The caller's own session.
constexpr const char* sessionPath = "/org/freedesktop/login1/session/auto";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";

std::optional<bool> truthIn(GVariant* values) {
  if (!values || !g_variant_is_of_type(values, G_VARIANT_TYPE("(b)"))) return std::nullopt;
  gboolean truth = FALSE;
  g_variant_get(values, "(b)", &truth);
  return truth != FALSE;
}

}  // namespace

SessionService::SessionService(NavigatorHandler& handler, ActiveChanged activeChanged)
    : SessionService(handler, std::move(activeChanged), nullptr, nullptr) {
  // After the other constructor.  NOLINTNEXTLINE(cppcoreguidelines-prefer-member-initializer)
  busesAwaited_ = 2;
  g_bus_get(
      G_BUS_TYPE_SESSION, cancellable_,
      [](GObject*, GAsyncResult* result, gpointer self) {
        gotBus(result, self, &SessionService::useSession);
      },
      this);
  g_bus_get(
      G_BUS_TYPE_SYSTEM, cancellable_,
      [](GObject*, GAsyncResult* result, gpointer self) {
        gotBus(result, self, &SessionService::useSystem);
      },
      this);
}

SessionService::SessionService(NavigatorHandler& handler, ActiveChanged activeChanged,
                               GDBusConnection* session, GDBusConnection* system)
    : handler_(handler),
      activeChanged_(std::move(activeChanged)),
      cancellable_(g_cancellable_new()) {
  handler_.addService(this);
  if (session) useSession(session);
  if (system) useSystem(system);
}

SessionService::~SessionService() {
  handler_.removeService(this);
  g_cancellable_cancel(cancellable_);
  g_object_unref(cancellable_);
  if (answering_) g_source_remove(answering_);
  if (system_) g_object_unref(system_);
}

void SessionService::gotBus(GAsyncResult* result, gpointer self,
                            void (SessionService::*use)(GDBusConnection*)) {
  GError* error = nullptr;
  GDBusConnection* const bus = g_bus_get_finish(result, &error);
  const bool isGone = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
  g_clear_error(&error);
  if (!isGone) {
    auto* const service = static_cast<SessionService*>(self);
    --service->busesAwaited_;
    if (bus) {
      // The end of a bus is not that of the program.
      g_dbus_connection_set_exit_on_close(bus, FALSE);
      (service->*use)(bus);
    }
    service->answerLater();
  }
  if (bus) g_object_unref(bus);
}

void SessionService::useSession(GDBusConnection* bus) {
  lockScreens_.resize(std::size(lockScreens));
  for (std::size_t i = 0; i < lockScreens_.size(); ++i) {
    auto& service = lockScreens_[i].service;
    service = std::make_unique<BusMirror>(
        bus, lockScreens[i].name, [this, i] { lockScreenChanged(i); }, BusMirror::Start::Never);
    service->listen(lockScreens[i].name, "ActiveChanged",
                    [this, i](const std::string&, GVariant* values) {
                      const auto locked = truthIn(values);
                      if (!locked) return;
                      lockScreens_[i].locked = locked;
                      lockScreens_[i].hasToldSince = true;
                      update();
                    });
  }
}

// It has come, which is when it is asked, or gone.
void SessionService::lockScreenChanged(std::size_t index) {
  LockScreen& screen = lockScreens_[index];
  screen.isAsked = screen.service->isThere();
  screen.hasToldSince = false;
  if (screen.isAsked) {
    screen.service->call(lockScreens[index].path, lockScreens[index].name, "GetActive", nullptr,
                         "(b)", [this, index](GVariant* answer) {
                           LockScreen& asked = lockScreens_[index];
                           asked.isAsked = false;
                           if (!asked.hasToldSince) asked.locked = truthIn(answer);
                           update();
                         });
  } else {
    screen.locked.reset();
  }
  update();
}

void SessionService::useSystem(GDBusConnection* bus) {
  system_ = G_DBUS_CONNECTION(g_object_ref(bus));
  login_ = std::make_unique<BusMirror>(bus, loginName, [this] { loginChanged(); });
  login_->follow({{sessionPath, sessionInterface, BusMirror::Reading::AtAnySignal}});
  login_->listen(sessionInterface, "Lock",
                 [this](const std::string& path, GVariant*) { lockSignal(path, true); });
  login_->listen(sessionInterface, "Unlock",
                 [this](const std::string& path, GVariant*) { lockSignal(path, false); });
  login_->listen(managerInterface, "PrepareForShutdown",
                 [this](const std::string&, GVariant* values) {
                   if (const auto ends = truthIn(values)) endSignal(*ends);
                 });
}

void SessionService::loginChanged() {
  if (!login_->isThere()) {
    ownSession_.clear();
    isAskingForSession_ = false;
    signal_.reset();
  }
  delayEnd();
  const auto hint = login_->truth(sessionPath, sessionInterface, "LockedHint");
  if (std::exchange(hint_, hint) != hint) signal_.reset();
  const auto id = login_->text(sessionPath, sessionInterface, "Id");
  if (id && ownSession_.empty() && !std::exchange(isAskingForSession_, true)) {
    login_->call(managerPath, managerInterface, "GetSession", g_variant_new("(s)", id->c_str()),
                 "(o)", [this](GVariant* answer) {
                   isAskingForSession_ = false;
                   const char* path = "";
                   if (answer) g_variant_get(answer, "(&o)", &path);
                   ownSession_ = path;
                 });
  }
  const bool active = login_->truth(sessionPath, sessionInterface, "Active").value_or(true);
  if (std::exchange(active_, active) != active && activeChanged_) activeChanged_(active);
  update();
}

// Where a lock screen is running, it does what logind asks for, and says so.
void SessionService::lockSignal(const std::string& path, bool locked) {
  if (path != ownSession_) return;
  const bool hasLockScreen =
      std::any_of(lockScreens_.begin(), lockScreens_.end(),
                  [](const LockScreen& screen) { return screen.locked.has_value(); });
  if (hasLockScreen) return;
  signal_ = locked;
  // Nobody else keeps it for those that ask logind, and for this program when it starts again.
  login_->call(sessionPath, sessionInterface, "SetLockedHint", g_variant_new("(b)", locked));
  update();
}

void SessionService::endSignal(bool ends) {
  if (!ends) return;
  logAlways(LogNotice, "The system is about to end, and so is the program");
  handler_.closeWindow();
}

void SessionService::update() {
  bool locked = signal_.value_or(hint_.value_or(false));
  for (const LockScreen& screen : lockScreens_) locked |= screen.locked.value_or(false);
  if (std::exchange(locked_, locked) != locked) {
    locked ? handler_.onWindowLock() : handler_.onWindowUnlock();
  }
  answerLater();
}

bool SessionService::isKnown() const {
  return busesAwaited_ == 0 && (!login_ || login_->isComplete()) &&
         std::all_of(lockScreens_.begin(), lockScreens_.end(), [](const LockScreen& screen) {
           return !screen.isAsked && screen.service->isComplete();
         });
}

void SessionService::isDeviceLocked() {
  isAnswerOwed_ = true;
  answerLater();
}

// Never from within the request.
void SessionService::answerLater() {
  if (!isAnswerOwed_ || answering_) return;
  answering_ = g_idle_add(
      [](gpointer data) -> gboolean {
        auto* const self = static_cast<SessionService*>(data);
        self->answering_ = 0;
        if (!self->isKnown()) return G_SOURCE_REMOVE;
        self->isAnswerOwed_ = false;
        const bool canTell = self->hint_ || self->signal_ ||
                             std::any_of(self->lockScreens_.begin(), self->lockScreens_.end(),
                                         [](const LockScreen& each) { return !!each.locked; });
        self->handler_.onIsDeviceLocked(!canTell ? "unknown" : self->locked_ ? "true" : "false");
        return G_SOURCE_REMOVE;
      },
      this);
}

void SessionService::extendTerminate() {
  isExtended_ = true;
  delayEnd();
}

// As soon as there is somebody to be asked.
void SessionService::delayEnd() {
  if (!isExtended_ || delay_ || isAskingForDelay_ || !login_ || !login_->isThere()) return;
  isAskingForDelay_ = true;
  g_dbus_connection_call_with_unix_fd_list(
      system_, loginName, managerPath, managerInterface, "Inhibit",
      g_variant_new("(ssss)", "shutdown", "pagehost", "It finishes what it is doing", "delay"),
      G_VARIANT_TYPE("(h)"), G_DBUS_CALL_FLAGS_NO_AUTO_START, BusMirror::patienceMilliseconds,
      nullptr, cancellable_,
      [](GObject* bus, GAsyncResult* result, gpointer data) {
        GError* error = nullptr;
        GUnixFDList* files = nullptr;
        GVariant* const answer = g_dbus_connection_call_with_unix_fd_list_finish(
            G_DBUS_CONNECTION(bus), &files, result, &error);
        const bool isGone = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
        if (!isGone) {
          auto* const self = static_cast<SessionService*>(data);
          if (files && g_unix_fd_list_get_length(files) > 0) {
            self->delay_.reset(g_unix_fd_list_get(files, 0, nullptr));
          }
          self->isAskingForDelay_ = false;
          // Refused: not asked again by itself.
          if (!self->delay_) self->isExtended_ = false;
          if (error) logAlways(LogNotice, "The system's end is not delayed: %s", error->message);
        }
        g_clear_error(&error);
        if (answer) g_variant_unref(answer);
        if (files) g_object_unref(files);
      },
      this);
}

}  // namespace Tessel::Platform

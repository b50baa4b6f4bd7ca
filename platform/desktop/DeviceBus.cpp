// Services of the system bus. Main thread.
#include "platform/desktop/DeviceBus.h"

#include "platform/desktop/LocaleHandler.h"

#include <gio/gio.h>

#include <algorithm>

namespace Tessel::Platform {

namespace {

struct Service {
  const char* name;
  const char* path;
  const char* interface;
};
constexpr Service localeService{"org.freedesktop.locale1", "/org/freedesktop/locale1",
                                "org.freedesktop.locale1"};
constexpr Service sensors{"net.hadess.SensorProxy", "/net/hadess/SensorProxy",
                          "net.hadess.SensorProxy"};

constexpr int patienceMilliseconds = 3000;

// The sensor service says bottom-up and normal; this program uses bottom_up and top_up.
String orientationOf(std::string text) {
  std::replace(text.begin(), text.end(), '-', '_');
  return text == "normal" ? String("top_up") : String(std::move(text));
}

void callAndForget(GDBusConnection* bus, const Service& service, const char* method) {
  g_dbus_connection_call(bus, service.name, service.path, service.interface, method, nullptr,
                         nullptr, G_DBUS_CALL_FLAGS_NONE, patienceMilliseconds, nullptr, nullptr,
                         nullptr);
}

// The requested bus, in the callback of g_bus_get; null on failure. False if the requester no
// longer exists.
bool finishBus(GAsyncResult* result, GDBusConnection*& bus) {
  GError* error = nullptr;
  bus = g_bus_get_finish(result, &error);
  const bool gone = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
  g_clear_error(&error);
  // A missing bus is not fatal.
  if (bus) g_dbus_connection_set_exit_on_close(bus, FALSE);
  return !gone;
}

}  // namespace

DeviceBus::DeviceBus(RotationService& rotation) : DeviceBus(rotation, nullptr) {
  g_bus_get(
      G_BUS_TYPE_SYSTEM, cancellable_,
      [](GObject*, GAsyncResult* result, gpointer self) {
        GDBusConnection* bus = nullptr;
        if (finishBus(result, bus) && bus) static_cast<DeviceBus*>(self)->useSystem(bus);
        if (bus) g_object_unref(bus);
      },
      this);
}

DeviceBus::DeviceBus(RotationService& rotation, GDBusConnection* system)
    : rotation_(rotation), cancellable_(g_cancellable_new()) {
  if (system) useSystem(system);
}

DeviceBus::~DeviceBus() {
  g_cancellable_cancel(cancellable_);
  g_object_unref(cancellable_);
  for (const auto& [bus, id] : subscriptions_) g_dbus_connection_signal_unsubscribe(bus, id);
  if (system_) g_object_unref(system_);
}

void DeviceBus::useSystem(GDBusConnection* bus) {
  system_ = G_DBUS_CONNECTION(g_object_ref(bus));
  for (const Service& service : {localeService, sensors}) {
    const guint id = g_dbus_connection_signal_subscribe(
        bus, service.name, "org.freedesktop.DBus.Properties", "PropertiesChanged", service.path,
        service.interface, G_DBUS_SIGNAL_FLAGS_NONE,
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant* values,
           gpointer self) {
          if (!g_variant_is_of_type(values, G_VARIANT_TYPE("(sa{sv}as)"))) return;
          GVariant* changed = g_variant_get_child_value(values, 1);
          static_cast<DeviceBus*>(self)->propertiesChanged(changed);
          g_variant_unref(changed);
        },
        this, nullptr);
    subscriptions_.push_back({system_, id});
  }
  // The sensor only reports while a client has claimed it.
  callAndForget(bus, sensors, "ClaimAccelerometer");
}

void DeviceBus::propertiesChanged(GVariant* changed) {
  const char* orientation = nullptr;
  if (g_variant_lookup(changed, "AccelerometerOrientation", "&s", &orientation)) {
    rotation_.deviceTurned(orientationOf(orientation));
  }
  const char** settings = nullptr;
  if (g_variant_lookup(changed, "Locale", "^a&s", &settings)) {
    std::vector<std::string> texts;
    for (const char** setting = settings; *setting; ++setting) texts.emplace_back(*setting);
    LocaleHandler::instance().takeSettings(texts);
    g_free(static_cast<gpointer>(settings));
  }
}

}  // namespace Tessel::Platform

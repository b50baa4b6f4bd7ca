// pagehost-device: keeps shared objects about the device up to date. One thread, which sleeps until
// a service, the kernel or a writer of an object tells something.
#include "device/Audio.h"
#include "device/Brightness.h"
#include "device/BusSources.h"
#include "device/Clock.h"
#include "device/DeviceObjects.h"
#include "device/DeviceOptions.h"
#include "platform/base/Log.h"
#include "platform/loop/MessageClient.h"

#include <gio/gio.h>
#include <glib-unix.h>

#include <csignal>
#include <cstdlib>
#include <map>
#include <memory>

namespace {

using namespace Device;
using Tessel::Platform::BusMirror;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::MainMessageClient;
using Tessel::Platform::String;

class Service {
 public:
  Service(MainMessageClient& client, const Options& options)
      : client_(client),
        root_(options.root),
        objects_(
            client, options.allowed,
            [this](Member member, const String& value) { set(member, value); },
            [this] { fail("The objects cannot be kept any more"); }) {}
  ~Service() {
    if (bus_) g_object_unref(bus_);
  }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  bool start();
  void fail(const std::string& problem) {
    logAlways(LogError, "%s", problem.c_str());
    client_.exit(EXIT_FAILURE);
  }

 private:
  static void gotBus(GObject*, GAsyncResult* result, gpointer self);
  void useBus();
  void set(Member member, const String& value);

  MainMessageClient& client_;
  const std::string root_;
  DeviceObjects objects_;
  GDBusConnection* bus_ = nullptr;
  std::map<Object, std::unique_ptr<BusMirror>> mirrors_;
  std::unique_ptr<Audio> audio_;
  std::unique_ptr<Brightness> brightness_;
  std::unique_ptr<Clock> clock_;
};

bool Service::start() {
  if (const std::string problem = objects_.open(); !problem.empty()) return fail(problem), false;
  const auto publish = [this](Object object) {
    return [this, object](Values values) { objects_.publish(object, std::move(values)); };
  };
  clock_ = std::make_unique<Clock>(root_, publish(Object::Time));
  brightness_ = std::make_unique<Brightness>(root_, publish(Object::Display));
  audio_ = std::make_unique<Audio>(publish(Object::Audio));
  g_bus_get(G_BUS_TYPE_SYSTEM, nullptr, gotBus, this);
  return true;
}

// A device without a bus has none of its services either.
void Service::gotBus(GObject*, GAsyncResult* result, gpointer self) {
  auto& service = *static_cast<Service*>(self);
  service.bus_ = g_bus_get_finish(result, nullptr);
  if (service.bus_) service.useBus();
}

void Service::useBus() {
  g_dbus_connection_set_exit_on_close(bus_, FALSE);
  g_signal_connect(bus_, "closed",
                   G_CALLBACK(+[](GDBusConnection*, gboolean, GError*, gpointer self) {
                     static_cast<Service*>(self)->fail("The system's bus has gone");
                   }),
                   this);
  for (const BusSource& source : busSources()) {
    auto& mirror = mirrors_[source.object];
    mirror = std::make_unique<BusMirror>(bus_, source.service, [this, &source] {
      BusMirror& changed = *mirrors_[source.object];
      if (source.followed) changed.follow(source.followed(changed));
      // While answers are on their way, an object would be empty for a moment.
      if (changed.isComplete()) objects_.publish(source.object, source.read(changed));
    });
    if (source.manager) mirror->followManager(source.manager, source.managed);
    if (source.followed) mirror->follow(source.followed(*mirror));
  }
}

void Service::set(Member member, const String& value) {
  switch (const Object object = rowOf(member).object) {
    case Object::Audio:
      return audio_->set(member, value);
    case Object::Display: {
      const auto session = mirrors_.find(Object::Session);
      if (session == mirrors_.end()) return;
      return setBacklight(*session->second, brightness_->name(),
                          brightness_->stepsFor(percentageOf(value).value_or(0)));
    }
    default:
      for (const BusSource& source : busSources()) {
        if (source.object == object && source.set) source.set(*mirrors_.at(object), member, value);
      }
  }
}

gboolean end(gpointer client) {
  static_cast<MainMessageClient*>(client)->exit(EXIT_SUCCESS);
  return G_SOURCE_REMOVE;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = takeOptions(argc, argv);
  Tessel::Platform::setupApplicationLogging("pagehost-device");
  MainMessageClient client(0, -1);
  g_unix_signal_add(SIGTERM, end, &client);
  g_unix_signal_add(SIGINT, end, &client);
  Service service(client, options);
  return service.start() ? client.run() : EXIT_FAILURE;
}

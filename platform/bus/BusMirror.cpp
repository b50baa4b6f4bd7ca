// The properties of a D-Bus service's objects. One thread.
#include "platform/bus/BusMirror.h"

#include "platform/base/Log.h"
#include "platform/base/String.h"

#include <gio/gio.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string_view>

namespace Tessel::Platform {

namespace {

constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";
constexpr const char* managerInterface = "org.freedesktop.DBus.ObjectManager";

struct Unref {
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
};
using Variant = std::unique_ptr<GVariant, Unref>;
using Properties = std::map<std::string, Variant, std::less<>>;

void take(Properties& properties, GVariant* dictionary) {
  GVariantIter each;
  const char* name = nullptr;
  GVariant* value = nullptr;
  g_variant_iter_init(&each, dictionary);
  while (g_variant_iter_next(&each, "{&sv}", &name, &value)) properties[name].reset(value);
}

std::optional<double> numberOf(GVariant* value) {
  switch (g_variant_classify(value)) {
    case G_VARIANT_CLASS_BYTE:
      return g_variant_get_byte(value);
    case G_VARIANT_CLASS_INT16:
      return g_variant_get_int16(value);
    case G_VARIANT_CLASS_UINT16:
      return g_variant_get_uint16(value);
    case G_VARIANT_CLASS_INT32:
      return g_variant_get_int32(value);
    case G_VARIANT_CLASS_UINT32:
      return g_variant_get_uint32(value);
    case G_VARIANT_CLASS_INT64:
      return static_cast<double>(g_variant_get_int64(value));
    case G_VARIANT_CLASS_UINT64:
      return static_cast<double>(g_variant_get_uint64(value));
    case G_VARIANT_CLASS_DOUBLE: {
      const double number = g_variant_get_double(value);
      return std::isfinite(number) ? std::optional(number) : std::nullopt;
    }
    default:
      return std::nullopt;
  }
}

std::optional<std::string> textOf(GVariant* value) {
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING) ||
      g_variant_is_of_type(value, G_VARIANT_TYPE_OBJECT_PATH)) {
    return g_variant_get_string(value, nullptr);
  }
  if (!g_variant_is_of_type(value, G_VARIANT_TYPE_BYTESTRING)) return std::nullopt;
  gsize size = 0;
  const auto* const bytes =
      static_cast<const char*>(g_variant_get_fixed_array(value, &size, sizeof(char)));
  // Names of files end with a zero byte, names of networks do not.
  std::string text(bytes ? bytes : "", bytes ? size : 0);
  text.resize(std::min(text.size(), text.find('\0')));
  return repaired(text).toStdString();
}

}  // namespace

struct BusMirror::State {
  using Key = std::pair<std::string, std::string>;  // path and interface

  // What asynchronous calls hold: empty once the mirror is gone or the service has another owner.
  struct Owner {
    State* state;
    std::string name;
  };
  // Null for an error.
  using Then = void (*)(State& self, const Key& key, GVariant* answer);
  struct Reply {
    std::weak_ptr<Owner> owner;
    Key key;
    Then then;
  };
  struct Listener {
    State* state;
    std::string interface;
    std::string signal;
    SignalHandler handler;
    guint subscription = 0;
  };

  State(GDBusConnection* itsBus, std::string itsName, Changed itsChanged)
      : bus(G_DBUS_CONNECTION(g_object_ref(itsBus))),
        name(std::move(itsName)),
        changed(std::move(itsChanged)) {}
  ~State() {
    g_bus_unwatch_name(watch);
    leave();
    if (pending) g_source_remove(pending);
    g_object_unref(bus);
  }

  void appear(const char* unique);
  void leave();
  void tell();
  void subscribe(const char* interface, const char* member, const char* path, const char* arg0,
                 GDBusSignalCallback callback);
  void subscribe(Listener& listener);
  void start(const Followed& followed);
  void read(const Followed& followed);
  void readAnew(const char* interface);
  void readManager();
  void ask(const Key& key, const char* interface, const char* method, GVariant* arguments,
           const char* answer, Then then);
  void takeProperties(const Key& key, GVariant* dictionary);
  void takeObject(const char* path, GVariant* interfaces);
  const Followed* followed(const Key& key) const;
  GVariant* value(const std::string& path, const char* interface, const char* property) const;

  GDBusConnection* const bus;
  const std::string name;
  const Changed changed;
  guint watch = 0;
  guint pending = 0;
  bool decided = false;          // whether it is known if the service is running
  std::shared_ptr<Owner> owner;  // null while the service is not running
  std::vector<guint> subscriptions;
  std::set<Followed> wanted;
  std::set<Key> asked;
  std::string manager;
  std::vector<std::string> managed;
  std::map<Key, Properties> known;
  std::vector<std::unique_ptr<Listener>> listeners;
};

namespace {

// The reply of a call whose caller may be gone; null then, and if the call has failed.
template <typename Owned>
Variant finish(GObject* bus, GAsyncResult* result, const Owned& owner) {
  GError* error = nullptr;
  Variant answer(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error));
  g_clear_error(&error);
  return owner ? std::move(answer) : nullptr;
}

}  // namespace

void BusMirror::State::tell() {
  if (pending) return;
  pending = g_idle_add(
      [](gpointer data) -> gboolean {
        auto* const self = static_cast<State*>(data);
        self->pending = 0;
        self->changed();
        return G_SOURCE_REMOVE;
      },
      this);
}

void BusMirror::State::subscribe(const char* interface, const char* member, const char* path,
                                 const char* arg0, GDBusSignalCallback callback) {
  subscriptions.push_back(
      g_dbus_connection_signal_subscribe(bus, owner->name.c_str(), interface, member, path, arg0,
                                         G_DBUS_SIGNAL_FLAGS_NONE, callback, this, nullptr));
}

void BusMirror::State::subscribe(Listener& listener) {
  listener.subscription = g_dbus_connection_signal_subscribe(
      bus, owner->name.c_str(), listener.interface.c_str(), listener.signal.c_str(), nullptr,
      nullptr, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char* path, const char*, const char*,
         GVariant* values, gpointer data) { static_cast<Listener*>(data)->handler(path, values); },
      &listener, nullptr);
}

const BusMirror::Followed* BusMirror::State::followed(const Key& key) const {
  const auto found = std::find_if(wanted.begin(), wanted.end(), [&](const Followed& each) {
    return each.path == key.first && each.interface == key.second;
  });
  return found == wanted.end() ? nullptr : &*found;
}

void BusMirror::State::appear(const char* unique) {
  leave();
  decided = true;
  owner = std::make_shared<Owner>(Owner{this, unique});
  subscribe(propertiesInterface, "PropertiesChanged", nullptr, nullptr,
            [](GDBusConnection*, const char*, const char* path, const char*, const char*,
               GVariant* values, gpointer data) {
              auto* const self = static_cast<State*>(data);
              if (!g_variant_is_of_type(values, G_VARIANT_TYPE("(sa{sv}as)"))) return;
              const char* interface = nullptr;
              GVariant* dictionary = nullptr;
              GVariant* invalidated = nullptr;
              g_variant_get(values, "(&s@a{sv}@as)", &interface, &dictionary, &invalidated);
              const Variant changes(dictionary);
              const Variant gone(invalidated);
              const Key key(path, interface);
              self->readAnew(interface);
              const auto found = self->known.find(key);
              if (found == self->known.end()) return;
              if (const Followed* each = self->followed(key);
                  each && each->reading == Reading::AtAnySignal) {
                return;
              }
              take(found->second, changes.get());
              // Some services only say that a value is another one.
              if (g_variant_n_children(gone.get()) > 0) self->read({key.first, key.second});
              self->tell();
            });
  for (const auto& listener : listeners) subscribe(*listener);
  if (!manager.empty()) readManager();
  for (const Followed& each : wanted) start(each);
  tell();
}

// Begins to follow an object of a running service.
void BusMirror::State::start(const Followed& followed) {
  if (followed.reading == Reading::AtAnySignal) {
    subscribe(followed.interface.c_str(), nullptr, nullptr, nullptr,
              [](GDBusConnection*, const char*, const char*, const char* interface, const char*,
                 GVariant*, gpointer data) { static_cast<State*>(data)->readAnew(interface); });
  }
  read(followed);
}

void BusMirror::State::readAnew(const char* interface) {
  for (const Followed& each : wanted) {
    if (each.reading == Reading::AtAnySignal && each.interface == interface) read(each);
  }
}

void BusMirror::State::leave() {
  for (const guint id : subscriptions) g_dbus_connection_signal_unsubscribe(bus, id);
  subscriptions.clear();
  for (const auto& listener : listeners) {
    if (const guint id = std::exchange(listener->subscription, 0)) {
      g_dbus_connection_signal_unsubscribe(bus, id);
    }
  }
  owner.reset();
  asked.clear();
  known.clear();
}

void BusMirror::State::ask(const Key& key, const char* interface, const char* method,
                           GVariant* arguments, const char* answer, Then then) {
  asked.insert(key);
  g_dbus_connection_call(
      bus, owner->name.c_str(), key.first.c_str(), interface, method, arguments,
      G_VARIANT_TYPE(answer), G_DBUS_CALL_FLAGS_NO_AUTO_START, patienceMilliseconds, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Reply> reply(static_cast<Reply*>(data));
        const auto there = reply->owner.lock();
        const Variant values = finish(source, result, there);
        if (!there) return;
        State& self = *there->state;
        self.asked.erase(reply->key);
        reply->then(self, reply->key, values.get());
        self.tell();
      },
      new Reply{owner, key, then});
}

void BusMirror::State::read(const Followed& followed) {
  const Key key(followed.path, followed.interface);
  if (!g_variant_is_object_path(followed.path.c_str())) return;
  ask(key, propertiesInterface, "GetAll", g_variant_new("(s)", followed.interface.c_str()),
      "(a{sv})", [](State& self, const Key& which, GVariant* answer) {
        if (answer) {
          const Variant dictionary(g_variant_get_child_value(answer, 0));
          self.known[which].clear();
          self.takeProperties(which, dictionary.get());
        } else {
          self.known.erase(which);
        }
      });
}

void BusMirror::State::takeProperties(const Key& key, GVariant* dictionary) {
  const bool isManaged = std::find(managed.begin(), managed.end(), key.second) != managed.end();
  if (!isManaged && !followed(key)) {
    known.erase(key);
    return;
  }
  if (known.size() >= mostObjects && !known.contains(key)) return;
  take(known[key], dictionary);
}

void BusMirror::State::takeObject(const char* path, GVariant* interfaces) {
  GVariantIter each;
  const char* interface = nullptr;
  GVariant* dictionary = nullptr;
  g_variant_iter_init(&each, interfaces);
  while (g_variant_iter_next(&each, "{&s@a{sv}}", &interface, &dictionary)) {
    const Variant properties(dictionary);
    if (std::find(managed.begin(), managed.end(), interface) == managed.end()) continue;
    takeProperties({path, interface}, properties.get());
  }
}

void BusMirror::State::readManager() {
  subscribe(managerInterface, "InterfacesAdded", manager.c_str(), nullptr,
            [](GDBusConnection*, const char*, const char*, const char*, const char*,
               GVariant* values, gpointer data) {
              if (!g_variant_is_of_type(values, G_VARIANT_TYPE("(oa{sa{sv}})"))) return;
              const char* path = nullptr;
              GVariant* interfaces = nullptr;
              g_variant_get(values, "(&o@a{sa{sv}})", &path, &interfaces);
              const Variant owned(interfaces);
              static_cast<State*>(data)->takeObject(path, interfaces);
              static_cast<State*>(data)->tell();
            });
  subscribe(managerInterface, "InterfacesRemoved", manager.c_str(), nullptr,
            [](GDBusConnection*, const char*, const char*, const char*, const char*,
               GVariant* values, gpointer data) {
              if (!g_variant_is_of_type(values, G_VARIANT_TYPE("(oas)"))) return;
              const char* path = nullptr;
              const char** interfaces = nullptr;
              g_variant_get(values, "(&o^a&s)", &path, &interfaces);
              for (const char** each = interfaces; *each; ++each) {
                static_cast<State*>(data)->known.erase({path, *each});
              }
              g_free(static_cast<gpointer>(interfaces));
              static_cast<State*>(data)->tell();
            });
  ask({manager, managerInterface}, managerInterface, "GetManagedObjects", nullptr,
      "(a{oa{sa{sv}}})", [](State& self, const Key&, GVariant* answer) {
        if (!answer) return;
        const Variant objects(g_variant_get_child_value(answer, 0));
        GVariantIter each;
        const char* path = nullptr;
        GVariant* interfaces = nullptr;
        g_variant_iter_init(&each, objects.get());
        while (g_variant_iter_next(&each, "{&o@a{sa{sv}}}", &path, &interfaces)) {
          const Variant owned(interfaces);
          self.takeObject(path, interfaces);
        }
      });
}

GVariant* BusMirror::State::value(const std::string& path, const char* interface,
                                  const char* property) const {
  const auto object = known.find({path, interface});
  if (object == known.end()) return nullptr;
  const auto found = object->second.find(std::string_view(property));
  return found == object->second.end() ? nullptr : found->second.get();
}

BusMirror::BusMirror(GDBusConnection* bus, std::string name, Changed changed, Start start)
    : state_(std::make_unique<State>(bus, std::move(name), std::move(changed))) {
  state_->watch = g_bus_watch_name_on_connection(
      bus, state_->name.c_str(),
      start == Start::Once ? G_BUS_NAME_WATCHER_FLAGS_AUTO_START : G_BUS_NAME_WATCHER_FLAGS_NONE,
      [](GDBusConnection*, const char*, const char* owner, gpointer data) {
        static_cast<State*>(data)->appear(owner);
      },
      [](GDBusConnection*, const char*, gpointer data) {
        static_cast<State*>(data)->leave();
        static_cast<State*>(data)->decided = true;
        static_cast<State*>(data)->tell();
      },
      state_.get(), nullptr);
}

BusMirror::~BusMirror() = default;

void BusMirror::follow(std::vector<Followed> wanted) {
  const std::set<Followed> before =
      std::exchange(state_->wanted, std::set<Followed>(std::make_move_iterator(wanted.begin()),
                                                       std::make_move_iterator(wanted.end())));
  for (const Followed& each : before) {
    if (!state_->wanted.contains(each)) state_->known.erase({each.path, each.interface});
  }
  for (const Followed& each : state_->wanted) {
    if (before.contains(each)) continue;
    if (state_->owner) state_->start(each);
  }
}

void BusMirror::followManager(std::string path, std::vector<std::string> interfaces) {
  state_->manager = std::move(path);
  state_->managed = std::move(interfaces);
}

void BusMirror::listen(std::string interface, std::string signal, SignalHandler handler) {
  state_->listeners.push_back(std::make_unique<State::Listener>(
      State::Listener{state_.get(), std::move(interface), std::move(signal), std::move(handler)}));
  if (state_->owner) state_->subscribe(*state_->listeners.back());
}

bool BusMirror::isThere() const {
  return state_->owner != nullptr;
}

bool BusMirror::isComplete() const {
  return state_->decided && state_->asked.empty() && state_->pending == 0;
}

std::optional<double> BusMirror::number(const std::string& path, const char* interface,
                                        const char* property) const {
  GVariant* const value = state_->value(path, interface, property);
  return value ? numberOf(value) : std::nullopt;
}

std::optional<bool> BusMirror::truth(const std::string& path, const char* interface,
                                     const char* property) const {
  GVariant* const value = state_->value(path, interface, property);
  if (!value || !g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN)) return std::nullopt;
  return g_variant_get_boolean(value) != FALSE;
}

std::optional<std::string> BusMirror::text(const std::string& path, const char* interface,
                                           const char* property) const {
  GVariant* const value = state_->value(path, interface, property);
  return value ? textOf(value) : std::nullopt;
}

std::optional<std::string> BusMirror::firstText(const std::string& path, const char* interface,
                                                const char* property) const {
  GVariant* const value = state_->value(path, interface, property);
  if (!value || !g_variant_is_of_type(value, G_VARIANT_TYPE_TUPLE)) return std::nullopt;
  if (g_variant_n_children(value) == 0) return std::nullopt;
  const Variant first(g_variant_get_child_value(value, 0));
  return textOf(first.get());
}

std::vector<std::string> BusMirror::texts(const std::string& path, const char* interface,
                                          const char* property) const {
  std::vector<std::string> list;
  GVariant* const value = state_->value(path, interface, property);
  if (!value || !g_variant_is_of_type(value, G_VARIANT_TYPE_ARRAY)) return list;
  for (gsize i = 0; i < g_variant_n_children(value); ++i) {
    const Variant element(g_variant_get_child_value(value, i));
    if (auto text = textOf(element.get())) list.push_back(std::move(*text));
  }
  return list;
}

std::vector<std::string> BusMirror::objectsWith(const char* interface) const {
  std::vector<std::string> paths;
  for (const auto& [key, properties] : state_->known) {
    if (key.second == interface) paths.push_back(key.first);
  }
  return paths;
}

void BusMirror::set(const std::string& path, const char* interface, const char* property,
                    GVariant* value) {
  call(path, propertiesInterface, "Set", g_variant_new("(ssv)", interface, property, value));
}

void BusMirror::call(const std::string& path, const char* interface, const char* method,
                     GVariant* arguments, const char* answerType, Answer answer) {
  if (!state_->owner || !g_variant_is_object_path(path.c_str())) {
    if (arguments) g_variant_unref(g_variant_ref_sink(arguments));
    return;
  }
  struct Called {
    std::weak_ptr<State::Owner> owner;
    Answer answer;
  };
  g_dbus_connection_call(
      state_->bus, state_->owner->name.c_str(), path.c_str(), interface, method, arguments,
      answerType ? G_VARIANT_TYPE(answerType) : nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START,
      patienceMilliseconds, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Called> called(static_cast<Called*>(data));
        GError* error = nullptr;
        const Variant value(
            g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), result, &error));
        if (called->answer) {
          if (called->owner.lock()) called->answer(value.get());
        } else if (error) {
          logAlways(LogNotice, "A call of a service failed: %s", error->message);
        }
        g_clear_error(&error);
      },
      new Called{state_->owner, std::move(answer)});
}

}  // namespace Tessel::Platform

// A private bus with mocked services. Main thread.
#include "tests/support/MockBus.h"

#include "tests/support/Waiting.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace test_support {

namespace {

constexpr const char* python = "/usr/bin/python3";
constexpr int patienceMilliseconds = 10000;

}  // namespace

bool MockBus::hasBus() {
  return std::filesystem::exists("/usr/bin/dbus-daemon");
}

bool MockBus::hasServices() {
  return hasBus() && std::filesystem::exists("/usr/lib/python3/dist-packages/dbusmock");
}

MockBus::MockBus() : bus_(g_test_dbus_new(G_TEST_DBUS_NONE)) {
  g_test_dbus_up(bus_);
  connection_ = connect();
}

MockBus::~MockBus() {
  services_.clear();
  g_object_unref(connection_);
  g_test_dbus_stop(bus_);
  g_object_unref(bus_);
}

GDBusConnection* MockBus::connect() const {
  const auto flags =
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  return g_dbus_connection_new_for_address_sync(address().c_str(), flags, nullptr, nullptr,
                                                nullptr);
}

bool MockBus::isOwned(const std::string& name) const {
  GVariant* const answer = g_dbus_connection_call_sync(
      connection_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "NameHasOwner", g_variant_new("(s)", name.c_str()), G_VARIANT_TYPE("(b)"),
      G_DBUS_CALL_FLAGS_NONE, patienceMilliseconds, nullptr, nullptr);
  gboolean owned = FALSE;
  if (answer) g_variant_get(answer, "(b)", &owned);
  if (answer) g_variant_unref(answer);
  return owned != FALSE;
}

void MockBus::start(const std::string& name, const std::vector<std::string>& arguments) {
  // Nobody reads what it would print.
  std::vector<std::string> words{"-m", "dbusmock", "--logfile", "/dev/null"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  // Mocks of services of either bus are on this one.
  services_[name] =
      std::make_unique<Program>(Program::Environment{{"DBUS_SYSTEM_BUS_ADDRESS", address()},
                                                     {"DBUS_SESSION_BUS_ADDRESS", address()}},
                                words, "python3", python);
  const bool isThere = Tessel::Platform::Testing::iterateUntil([&] { return isOwned(name); });
  EXPECT_TRUE(isThere) << name << ": " << services_[name]->errors();
}

void MockBus::stop(const std::string& name) {
  services_.erase(name);
}

std::string MockBus::call(const std::string& name, const std::string& path,
                          const std::string& method, const std::string& arguments) {
  const std::size_t end = method.rfind('.');
  GError* error = nullptr;
  GVariant* const values = g_variant_parse(nullptr, arguments.c_str(), nullptr, nullptr, &error);
  GVariant* const answer =
      values ? g_dbus_connection_call_sync(
                   connection_, name.c_str(), path.c_str(), method.substr(0, end).c_str(),
                   method.substr(end + 1).c_str(), values, nullptr, G_DBUS_CALL_FLAGS_NONE,
                   patienceMilliseconds, nullptr, &error)
             : nullptr;
  EXPECT_TRUE(answer) << method << arguments << ": " << (error ? error->message : "");
  g_clear_error(&error);
  if (!answer) return {};
  gchar* const text = g_variant_print(answer, FALSE);
  std::string result = text;
  g_free(text);
  g_variant_unref(answer);
  return result;
}

void MockBus::update(const std::string& name, const std::string& path, const std::string& interface,
                     const std::string& properties) {
  call(name, path, "org.freedesktop.DBus.Mock.UpdateProperties",
       "('" + interface + "', @a{sv} " + properties + ")");
}

std::string MockBus::property(const std::string& name, const std::string& path,
                              const std::string& interface, const std::string& property) {
  return call(name, path, "org.freedesktop.DBus.Properties.Get",
              "('" + interface + "', '" + property + "')");
}

}  // namespace test_support

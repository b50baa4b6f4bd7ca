// A private bus, and services on it that python3-dbusmock plays. Main thread.
#pragma once

#include "tests/support/Program.h"

#include <gio/gio.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test_support {

class MockBus {
 public:
  // Whether dbus-daemon is installed, which every use needs, and python3-dbusmock for services.
  static bool hasBus();
  static bool hasServices();

  MockBus();
  ~MockBus();
  MockBus(const MockBus&) = delete;
  MockBus& operator=(const MockBus&) = delete;

  std::string address() const { return g_test_dbus_get_bus_address(bus_); }
  GDBusConnection* connect() const;

  // Starts a service, by arguments of dbusmock, and waits until it has its name.
  void start(const std::string& name, const std::vector<std::string>& arguments);
  void stop(const std::string& name);

  // Calls a service with arguments in GVariant's text format. The answer as such a text; empty, and
  // a failure of the test, if there is none.
  std::string call(const std::string& name, const std::string& path, const std::string& method,
                   const std::string& arguments);
  // Sets properties, in that format, and has the service tell of them.
  void update(const std::string& name, const std::string& path, const std::string& interface,
              const std::string& properties);
  std::string property(const std::string& name, const std::string& path,
                       const std::string& interface, const std::string& property);

 private:
  bool isOwned(const std::string& name) const;

  GTestDBus* const bus_;
  GDBusConnection* connection_ = nullptr;
  std::map<std::string, std::unique_ptr<Program>> services_;
};

}  // namespace test_support

// The commands as methods on the session bus, and activation by the desktop
// (org.freedesktop.Application). Main thread.
//
// The bus lets nobody in but the user that it belongs to. Without a bus nothing happens, and
// nothing is waited for.
#pragma once

#include "platform/control/ControlCommands.h"

#include <memory>
#include <string>
#include <vector>

typedef struct _GDBusConnection GDBusConnection;
typedef struct _GDBusMethodInvocation GDBusMethodInvocation;
typedef struct _GCancellable GCancellable;
typedef struct _GVariant GVariant;

namespace Tessel::Platform {

class ControlBus {
 public:
  // The desktop starts the program by this name; its desktop entry and icon are called the same.
  static constexpr const char* applicationName = "net.pagehost.Pagehost";
  static constexpr const char* path = "/net/pagehost/Pagehost";
  static constexpr const char* interface = "net.pagehost.Control";

  // The name of one program on the bus, whatever others run.
  static std::string nameOf(int pid);
  // The description of the object in D-Bus's XML.
  static std::string introspection();

  // Looks for the bus, and takes these names if nobody has them. The handler outlives it.
  ControlBus(ControlHandler& handler, std::vector<std::string> names);
  ~ControlBus();
  ControlBus(const ControlBus&) = delete;
  ControlBus& operator=(const ControlBus&) = delete;

 private:
  // Calls at a time: each may wait for a page.
  static constexpr unsigned mostCalls = 16;

  void use(GDBusConnection* bus);
  void call(const char* interfaceName, const char* method, GVariant* parameters,
            GDBusMethodInvocation* invocation);
  void start(const ControlCommand& command, const std::vector<String>& texts,
             GDBusMethodInvocation* invocation);

  ControlHandler& handler_;
  const std::vector<std::string> names_;
  GCancellable* const cancellable_;
  GDBusConnection* bus_ = nullptr;  // referenced
  std::vector<unsigned> objects_;
  std::vector<unsigned> owned_;
  std::shared_ptr<unsigned> calls_ = std::make_shared<unsigned>(0);  // those that wait
};

}  // namespace Tessel::Platform

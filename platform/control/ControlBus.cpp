// The commands as methods on the session bus. Main thread.
#include "platform/control/ControlBus.h"

#include <gio/gio.h>
#include <gio/gunixfdlist.h>

#include <utility>

namespace Tessel::Platform {

namespace {

constexpr const char* applicationInterface = "org.freedesktop.Application";
constexpr const char* errorName = "net.pagehost.Error.Failed";

// As methods are written on D-Bus: "load" is Load.
std::string methodOf(const ControlCommand& command) {
  std::string name = command.name;
  name[0] = g_ascii_toupper(name[0]);
  return name;
}

const ControlCommand* commandOf(const char* method) {
  std::string name = method;
  name[0] = g_ascii_tolower(name[0]);
  return controlCommandNamed(name);
}

void appendArgument(std::string& xml, const std::string& name, const char* type,
                    const char* direction) {
  xml.append("      <arg name=\"").append(name).append("\" type=\"").append(type);
  xml.append("\" direction=\"").append(direction).append("\"/>\n");
}

// The first arguments of a call as texts, those of a list one by one.
std::vector<String> textsOf(GVariant* parameters, gsize count) {
  std::vector<String> texts;
  for (gsize i = 0; i < count; ++i) {
    GVariant* const value = g_variant_get_child_value(parameters, i);
    if (g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32)) {
      texts.push_back(String::fromUnsignedInteger(g_variant_get_uint32(value)));
    } else if (g_variant_is_of_type(value, G_VARIANT_TYPE_STRING)) {
      texts.emplace_back(g_variant_get_string(value, nullptr));
    } else {
      const char** const list = g_variant_get_strv(value, nullptr);
      for (const char** each = list; *each; ++each) texts.emplace_back(*each);
      g_free(static_cast<gpointer>(list));
    }
    g_variant_unref(value);
  }
  return texts;
}

void giveBack(GDBusMethodInvocation* invocation, ControlResult result, ControlAnswer& answer) {
  if (!answer.error.isEmpty()) {
    return g_dbus_method_invocation_return_dbus_error(invocation, errorName, answer.error.utf8());
  }
  switch (result) {
    case ControlResult::Nothing:
      return g_dbus_method_invocation_return_value(invocation, nullptr);
    case ControlResult::Json:
      return g_dbus_method_invocation_return_value(invocation,
                                                   g_variant_new("(s)", answer.json.utf8()));
    case ControlResult::File: {
      // The list takes the descriptor over.
      const int file = answer.file.release();
      GUnixFDList* const files = g_unix_fd_list_new_from_array(&file, 1);
      g_dbus_method_invocation_return_value_with_unix_fd_list(invocation, g_variant_new("(h)", 0),
                                                              files);
      g_object_unref(files);
    }
  }
}

}  // namespace

std::string ControlBus::nameOf(int pid) {
  return std::string(applicationName) + ".Process" + std::to_string(pid);
}

std::string ControlBus::introspection() {
  std::string xml = std::string("<node>\n  <interface name=\"") + interface + "\">\n";
  for (const ControlCommand& command : controlCommands()) {
    xml.append("    <method name=\"").append(methodOf(command)).append("\">\n");
    for (const ControlParameter& each : command.parameters) {
      appendArgument(xml, each.name, each.type, "in");
    }
    if (command.result == ControlResult::Json) appendArgument(xml, "json", "s", "out");
    if (command.result == ControlResult::File) appendArgument(xml, "file", "h", "out");
    xml.append("    </method>\n");
  }
  xml.append("  </interface>\n  <interface name=\"").append(applicationInterface).append(R"(">
    <method name="Activate">
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
    <method name="Open">
      <arg name="uris" type="as" direction="in"/>
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
    <method name="ActivateAction">
      <arg name="action_name" type="s" direction="in"/>
      <arg name="parameter" type="av" direction="in"/>
      <arg name="platform_data" type="a{sv}" direction="in"/>
    </method>
  </interface>
</node>
)");
  return xml;
}

ControlBus::ControlBus(ControlHandler& handler, std::vector<std::string> names)
    : handler_(handler), names_(std::move(names)), cancellable_(g_cancellable_new()) {
  g_bus_get(
      G_BUS_TYPE_SESSION, cancellable_,
      [](GObject*, GAsyncResult* result, gpointer self) {
        GError* error = nullptr;
        GDBusConnection* bus = g_bus_get_finish(result, &error);
        const bool gone = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED);
        g_clear_error(&error);
        if (bus && !gone) static_cast<ControlBus*>(self)->use(bus);
        g_clear_object(&bus);
      },
      this);
}

ControlBus::~ControlBus() {
  g_cancellable_cancel(cancellable_);
  g_object_unref(cancellable_);
  for (const unsigned id : owned_) g_bus_unown_name(id);
  for (const unsigned id : objects_) g_dbus_connection_unregister_object(bus_, id);
  g_clear_object(&bus_);
}

void ControlBus::use(GDBusConnection* bus) {
  static const GDBusInterfaceVTable functions{
      [](GDBusConnection*, const gchar*, const gchar*, const gchar* interfaceName,
         const gchar* method, GVariant* parameters, GDBusMethodInvocation* invocation,
         gpointer self) {
        static_cast<ControlBus*>(self)->call(interfaceName, method, parameters, invocation);
      },
      nullptr,
      nullptr,
      {}};
  bus_ = G_DBUS_CONNECTION(g_object_ref(bus));
  // The end of the session is not the program's.
  g_dbus_connection_set_exit_on_close(bus, FALSE);
  GDBusNodeInfo* const node = g_dbus_node_info_new_for_xml(introspection().c_str(), nullptr);
  for (GDBusInterfaceInfo** each = node->interfaces; *each; ++each) {
    const guint id =
        g_dbus_connection_register_object(bus, path, *each, &functions, this, nullptr, nullptr);
    if (id) objects_.push_back(id);
  }
  g_dbus_node_info_unref(node);
  for (const std::string& name : names_) {
    owned_.push_back(g_bus_own_name_on_connection(bus, name.c_str(),
                                                  G_BUS_NAME_OWNER_FLAGS_DO_NOT_QUEUE, nullptr,
                                                  nullptr, nullptr, nullptr));
  }
}

// GDBus has checked the method and the types of its parameters against the description.
void ControlBus::call(const char* interfaceName, const char* method, GVariant* parameters,
                      GDBusMethodInvocation* invocation) {
  if (std::string_view(interfaceName) != applicationInterface) {
    return start(*commandOf(method), textsOf(parameters, g_variant_n_children(parameters)),
                 invocation);
  }
  // There are no actions in the desktop entry.
  if (std::string_view(method) == "ActivateAction") {
    return g_dbus_method_invocation_return_value(invocation, nullptr);
  }
  // Without what the desktop says besides.
  const gsize count = g_variant_n_children(parameters) - 1;
  start(*controlCommandNamed("open"), textsOf(parameters, count), invocation);
}

void ControlBus::start(const ControlCommand& command, const std::vector<String>& texts,
                       GDBusMethodInvocation* invocation) {
  if (*calls_ >= mostCalls) {
    return g_dbus_method_invocation_return_error_literal(
        invocation, G_DBUS_ERROR, G_DBUS_ERROR_LIMITS_EXCEEDED, "Too many calls are waiting");
  }
  ++*calls_;
  carryOut(handler_, command.name, texts,
           [invocation, calls = calls_, result = command.result](ControlAnswer answer) {
             --*calls;
             giveBack(invocation, result, answer);
           });
}

}  // namespace Tessel::Platform

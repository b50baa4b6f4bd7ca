// What is read from services of the system bus. The numbers and names are those of the services'
// public D-Bus interfaces. Main thread.
#include "device/BusSources.h"

#include "device/DeviceObjects.h"
#include "platform/desktop/NavigatorJson.h"

#include <glib.h>

#include <algorithm>
#include <string_view>

namespace Device {

using Tessel::Platform::BusMirror;
using Tessel::Platform::String;
namespace NavigatorJson = Tessel::Platform::NavigatorJson;
using Followed = std::vector<BusMirror::Followed>;

namespace {

// Lists in an object are no longer than this.
constexpr std::size_t mostListed = 64;

struct Word {
  int number;
  const char* text;
};

template <std::size_t Count>
const char* wordFor(const Word (&words)[Count], double number) {
  for (const Word& word : words) {
    if (word.number == number) return word.text;
  }
  return "unknown";
}

void put(Values& values, Member member, std::optional<double> number) {
  if (number) values[member] = numberText(*number);
}
void put(Values& values, Member member, std::optional<bool> truth) {
  if (truth) values[member] = truthText(*truth);
}
void put(Values& values, Member member, const std::optional<std::string>& text) {
  if (text && !text->empty()) values[member] = plainText(*text);
}
template <std::size_t Count>
void put(Values& values, Member member, const Word (&words)[Count], std::optional<double> number) {
  if (number) values[member] = wordFor(words, *number);
}

std::optional<double> within(std::optional<double> number, double lowest, double highest) {
  return number && *number >= lowest && *number <= highest ? number : std::nullopt;
}

// A list as JSON, of the objects that the function writes.
template <typename Write>
String listOf(const std::vector<std::string>& paths, Write write) {
  return NavigatorJson::text([&](NavigatorJson::Writer& writer) {
    writer.StartArray();
    for (std::size_t i = 0; i < std::min(paths.size(), mostListed); ++i) write(writer, paths[i]);
    writer.EndArray();
  });
}

// UPower

constexpr const char* power = "/org/freedesktop/UPower";
constexpr const char* powerInterface = "org.freedesktop.UPower";
constexpr const char* battery = "/org/freedesktop/UPower/devices/DisplayDevice";
constexpr const char* batteryInterface = "org.freedesktop.UPower.Device";

constexpr Word powerStates[] = {{1, "charging"}, {2, "discharging"}, {3, "empty"},
                                {4, "full"},     {5, "waiting"},     {6, "waiting"}};
constexpr Word powerWarnings[] = {
    {1, "none"}, {2, "none"}, {3, "low"}, {4, "critical"}, {5, "action"}};

Followed powerFollowed(const BusMirror&) {
  return {{power, powerInterface}, {battery, batteryInterface}};
}

Values readPower(const BusMirror& mirror) {
  Values values;
  put(values, Member::PowerOnBattery, mirror.truth(power, powerInterface, "OnBattery"));
  if (mirror.truth(power, powerInterface, "LidIsPresent").value_or(false)) {
    put(values, Member::PowerLidClosed, mirror.truth(power, powerInterface, "LidIsClosed"));
  }
  const auto number = [&](const char* property) {
    return mirror.number(battery, batteryInterface, property);
  };
  if (!mirror.truth(battery, batteryInterface, "IsPresent").value_or(false)) return values;
  constexpr double longest = 1e7;
  put(values, Member::PowerLevel, within(number("Percentage"), 0, 100));
  put(values, Member::PowerState, powerStates, number("State"));
  put(values, Member::PowerWarning, powerWarnings, number("WarningLevel"));
  put(values, Member::PowerSecondsToEmpty, within(number("TimeToEmpty"), 1, longest));
  put(values, Member::PowerSecondsToFull, within(number("TimeToFull"), 1, longest));
  return values;
}

// NetworkManager

constexpr const char* network = "/org/freedesktop/NetworkManager";
constexpr const char* networkInterface = "org.freedesktop.NetworkManager";
constexpr const char* connectionInterface = "org.freedesktop.NetworkManager.Connection.Active";
constexpr const char* wirelessInterface = "org.freedesktop.NetworkManager.Device.Wireless";
constexpr const char* accessPointInterface = "org.freedesktop.NetworkManager.AccessPoint";

constexpr Word networkStates[] = {{10, "asleep"},     {20, "disconnected"}, {30, "disconnecting"},
                                  {40, "connecting"}, {50, "local"},        {60, "site"},
                                  {70, "online"}};
constexpr Word connectivities[] = {{1, "none"}, {2, "portal"}, {3, "limited"}, {4, "full"}};
struct {
  const char* theirs;
  const char* ours;
} constexpr networkTypes[] = {{"802-11-wireless", "wifi"},
                              {"802-3-ethernet", "ethernet"},
                              {"gsm", "mobile"},
                              {"cdma", "mobile"},
                              {"wireguard", "vpn"}};

// The way from the primary connection to the access point, as far as it is known.
struct NetworkPath {
  std::string connection;
  std::string device;
  std::string accessPoint;

  explicit NetworkPath(const BusMirror& mirror) {
    connection = mirror.text(network, networkInterface, "PrimaryConnection").value_or("");
    if (connection == "/") connection.clear();
    if (connection.empty()) return;
    if (mirror.text(connection, connectionInterface, "Type") != "802-11-wireless") return;
    const auto devices = mirror.texts(connection, connectionInterface, "Devices");
    if (devices.empty()) return;
    device = devices.front();
    accessPoint = mirror.text(device, wirelessInterface, "ActiveAccessPoint").value_or("");
    if (accessPoint == "/") accessPoint.clear();
  }
};

Followed networkFollowed(const BusMirror& mirror) {
  const NetworkPath path(mirror);
  Followed list{{network, networkInterface}};
  if (!path.connection.empty()) list.push_back({path.connection, connectionInterface});
  if (!path.device.empty()) list.push_back({path.device, wirelessInterface});
  if (!path.accessPoint.empty()) list.push_back({path.accessPoint, accessPointInterface});
  return list;
}

Values readNetwork(const BusMirror& mirror) {
  Values values;
  const auto number = [&](const char* property) {
    return mirror.number(network, networkInterface, property);
  };
  put(values, Member::NetworkState, networkStates, number("State"));
  put(values, Member::NetworkConnectivity, connectivities, number("Connectivity"));
  put(values, Member::NetworkWifi, mirror.truth(network, networkInterface, "WirelessEnabled"));
  // 1 and 2 are yes and no, 3 and 4 guesses of the same.
  if (const auto metered = within(number("Metered"), 1, 4)) {
    values[Member::NetworkMetered] = truthText(*metered == 1 || *metered == 3);
  }
  const NetworkPath path(mirror);
  if (path.connection.empty()) return values;
  put(values, Member::NetworkConnection, mirror.text(path.connection, connectionInterface, "Id"));
  auto type = mirror.text(path.connection, connectionInterface, "Type");
  for (const auto& [theirs, ours] : networkTypes) {
    if (type == theirs) type = ours;
  }
  put(values, Member::NetworkType, type);
  if (path.accessPoint.empty()) return values;
  put(values, Member::NetworkName, mirror.text(path.accessPoint, accessPointInterface, "Ssid"));
  put(values, Member::NetworkStrength,
      within(mirror.number(path.accessPoint, accessPointInterface, "Strength"), 0, 100));
  return values;
}

void setNetwork(BusMirror& mirror, Member, const String& value) {
  mirror.set(network, networkInterface, "WirelessEnabled",
             g_variant_new_boolean(truthOf(value).value_or(false)));
}

// BlueZ

constexpr const char* adapterInterface = "org.bluez.Adapter1";
constexpr const char* deviceInterface = "org.bluez.Device1";

Values readBluetooth(const BusMirror& mirror) {
  Values values;
  const auto adapters = mirror.objectsWith(adapterInterface);
  if (adapters.empty()) return values;
  put(values, Member::BluetoothPowered, mirror.truth(adapters[0], adapterInterface, "Powered"));
  put(values, Member::BluetoothName, mirror.text(adapters[0], adapterInterface, "Alias"));
  std::vector<std::string> devices = mirror.objectsWith(deviceInterface);
  std::erase_if(devices, [&](const std::string& path) {
    return !mirror.truth(path, deviceInterface, "Connected").value_or(false);
  });
  const auto text = [&](const std::string& path, const char* property) {
    return plainText(mirror.text(path, deviceInterface, property).value_or(""));
  };
  values[Member::BluetoothDevices] =
      listOf(devices, [&](NavigatorJson::Writer& writer, const std::string& path) {
        writer.StartObject();
        NavigatorJson::writeMember(writer, "address", text(path, "Address"));
        NavigatorJson::writeMember(writer, "name", text(path, "Alias"));
        NavigatorJson::writeMember(writer, "kind", text(path, "Icon"));
        writer.EndObject();
      });
  return values;
}

void setBluetooth(BusMirror& mirror, Member, const String& value) {
  const auto adapters = mirror.objectsWith(adapterInterface);
  if (adapters.empty()) return;
  mirror.set(adapters[0], adapterInterface, "Powered",
             g_variant_new_boolean(truthOf(value).value_or(false)));
}

// UDisks2

constexpr const char* blockInterface = "org.freedesktop.UDisks2.Block";
constexpr const char* fileSystemInterface = "org.freedesktop.UDisks2.Filesystem";
constexpr const char* driveInterface = "org.freedesktop.UDisks2.Drive";

Values readStorage(const BusMirror& mirror) {
  Values values;
  if (!mirror.isThere()) return values;
  std::vector<std::string> volumes = mirror.objectsWith(fileSystemInterface);
  std::erase_if(volumes, [&](const std::string& path) {
    return mirror.truth(path, blockInterface, "HintSystem").value_or(true) ||
           mirror.truth(path, blockInterface, "HintIgnore").value_or(false);
  });
  const auto text = [&](const std::string& path, const char* property) {
    return plainText(mirror.text(path, blockInterface, property).value_or(""));
  };
  values[Member::StorageVolumes] =
      listOf(volumes, [&](NavigatorJson::Writer& writer, const std::string& path) {
        const std::string drive = mirror.text(path, blockInterface, "Drive").value_or("");
        const auto places = mirror.texts(path, fileSystemInterface, "MountPoints");
        writer.StartObject();
        NavigatorJson::writeMember(writer, "device", text(path, "PreferredDevice"));
        NavigatorJson::writeMember(writer, "label", text(path, "IdLabel"));
        writer.Key("bytes");
        writer.Int64(static_cast<std::int64_t>(
            within(mirror.number(path, blockInterface, "Size"), 0, 9e18).value_or(0)));
        writer.Key("removable");
        writer.Bool(mirror.truth(drive, driveInterface, "Removable").value_or(false));
        NavigatorJson::writeMember(writer, "mounted",
                                   plainText(places.empty() ? std::string() : places.front()));
        writer.EndObject();
      });
  return values;
}

// logind

constexpr const char* logind = "/org/freedesktop/login1";
constexpr const char* logindInterface = "org.freedesktop.login1.Manager";
// The caller's own session, or the one of its user that is on show.
constexpr const char* session = "/org/freedesktop/login1/session/auto";
constexpr const char* sessionInterface = "org.freedesktop.login1.Session";

Followed sessionFollowed(const BusMirror&) {
  using enum BusMirror::Reading;
  return {{logind, logindInterface, AtAnySignal}, {session, sessionInterface, AtAnySignal}};
}

Values readSession(const BusMirror& mirror) {
  Values values;
  put(values, Member::SessionLocked, mirror.truth(session, sessionInterface, "LockedHint"));
  put(values, Member::SessionActive, mirror.truth(session, sessionInterface, "Active"));
  put(values, Member::SessionSeat, mirror.firstText(session, sessionInterface, "Seat"));
  if (mirror.truth(logind, logindInterface, "PreparingForShutdown").value_or(false)) {
    values[Member::SessionEnding] = "shutdown";
  } else if (mirror.truth(logind, logindInterface, "PreparingForSleep").value_or(false)) {
    values[Member::SessionEnding] = "sleep";
  }
  return values;
}

}  // namespace

std::span<const BusSource> busSources() {
  static const BusSource sources[] = {
      {Object::Power, "org.freedesktop.UPower", nullptr, {}, powerFollowed, readPower, nullptr},
      {Object::Network,
       "org.freedesktop.NetworkManager",
       nullptr,
       {},
       networkFollowed,
       readNetwork,
       setNetwork},
      {Object::Bluetooth,
       "org.bluez",
       "/",
       {adapterInterface, deviceInterface},
       nullptr,
       readBluetooth,
       setBluetooth},
      {Object::Storage,
       "org.freedesktop.UDisks2",
       "/org/freedesktop/UDisks2",
       {blockInterface, fileSystemInterface, driveInterface},
       nullptr,
       readStorage,
       nullptr},
      {Object::Session,
       "org.freedesktop.login1",
       nullptr,
       {},
       sessionFollowed,
       readSession,
       nullptr},
  };
  return sources;
}

void setBacklight(BusMirror& login, const std::string& name, unsigned steps) {
  login.call(session, sessionInterface, "SetBrightness",
             g_variant_new("(ssu)", "backlight", name.c_str(), steps));
}

}  // namespace Device

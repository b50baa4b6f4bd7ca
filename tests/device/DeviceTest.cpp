// pagehost-device as a process of its own, with each service that it reads mocked.
#include "tests/support/MockBus.h"
#include "tests/support/Processes.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <optional>

namespace {

using Tessel::Platform::Testing::iterateUntil;
using test_support::MockBus;
using test_support::Program;
using ::testing::HasSubstr;
using ::testing::Not;

class DeviceTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!MockBus::hasBus()) GTEST_SKIP() << "dbus-daemon is not installed";
    bus_.emplace();
    folder_.write("etc/none", "");
    std::filesystem::create_directories(folder_.path() / "run");
    ::chmod((folder_.path() / "run").c_str(), 0700);
    setZone("Europe/Vienna");
  }

  std::unique_ptr<Program> startProgram() const {
    const std::string path = folder_.path();
    return std::make_unique<Program>(
        Program::Environment{{"DBUS_SYSTEM_BUS_ADDRESS", bus_->address()},
                             {"DBUS_SESSION_BUS_ADDRESS", "disabled:"},
                             {"TESSEL_PPS_ROOT", path + "/pps"},
                             {"XDG_RUNTIME_DIR", path + "/run"},
                             {"XDG_CONFIG_HOME", path + "/config"},
                             {"HOME", path},
                             {"PULSE_SERVER", ""},
                             {"DISPLAY", ""}},
        std::vector<std::string>{"--root", path}, "pagehost-device", PAGEHOST_TEST_DEVICE);
  }
  void start(const std::string& configuration = "") {
    folder_.write("config/pagehost/device.conf", "[device]\n" + configuration);
    program_ = startProgram();
    ASSERT_TRUE(says("time", "zone::Europe/Vienna")) << program_->errors();
  }
  void setZone(const std::string& zone) const {
    std::filesystem::create_symlink("/usr/share/zoneinfo/" + zone, folder_.path() / "etc/new");
    std::filesystem::rename(folder_.path() / "etc/new", folder_.path() / "etc/localtime");
  }

  std::string object(const std::string& name) const { return folder_.read("pps/device/" + name); }
  // As another program does it.
  void write(const std::string& name, const std::string& text) const {
    folder_.write("pps/device/.new", text);
    std::filesystem::rename(folder_.path() / "pps/device/.new",
                            folder_.path() / "pps/device" / name);
  }
  // Until the object has the line, or, for an empty one, no member at all.
  bool says(const std::string& name, const std::string& line) {
    const bool good = iterateUntil([&] {
      const std::string text = object(name);
      return line.empty() ? text == "@" + name + "\n"
                          : text.find("\n" + line + "\n") != std::string::npos;
    });
    if (!good)
      ADD_FAILURE() << "instead of " << line << ":\n" << object(name) << program_->errors();
    return good;
  }
  // How often its threads were woken.
  long wakeUps() const {
    long sum = 0;
    const std::string tasks = "/proc/" + std::to_string(program_->pid()) + "/task";
    for (const auto& task : std::filesystem::directory_iterator(tasks)) {
      std::ifstream status(task.path() / "status");
      for (std::string line; std::getline(status, line);) {
        if (line.starts_with("voluntary_ctxt_switches:")) sum += std::stol(line.substr(24));
      }
    }
    return sum;
  }

  const test_support::TemporaryFolder folder_;
  std::optional<MockBus> bus_;
  std::unique_ptr<Program> program_;
};

class DeviceServicesTest : public DeviceTest {
 protected:
  void SetUp() override {
    if (!MockBus::hasServices()) GTEST_SKIP() << "python3-dbusmock is not installed";
    DeviceTest::SetUp();
  }
};

TEST_F(DeviceTest, WithoutServicesItSleepsAndSaysNothingAndItEndsCleanly) {
  write("power", "@power\nlevel:n:7\n");  // of an earlier run
  ASSERT_NO_FATAL_FAILURE(start());
  EXPECT_TRUE(says("power", ""));
  EXPECT_TRUE(says("audio", ""));
  // Once it has settled.
  bool sleeps = false;
  for (int i = 0; i < 3 && !sleeps; ++i) {
    const long before = wakeUps();
    iterateUntil([] { return false; }, std::chrono::milliseconds(1500));
    sleeps = wakeUps() == before;
  }
  EXPECT_TRUE(sleeps);
  EXPECT_EQ(program_->errors(), "");

  const auto second = startProgram();
  EXPECT_EQ(second->status(), 1);
  EXPECT_THAT(second->errors(), HasSubstr("Another pagehost-device"));

  setZone("Asia/Kathmandu");
  EXPECT_TRUE(says("time", "zone::Asia/Kathmandu"));
  EXPECT_TRUE(says("time", "offset:n:345"));
  setZone("No/Such");
  EXPECT_TRUE(iterateUntil([&] { return object("time").find("345") == std::string::npos; }));

  // A deleted object is made anew; without its folder there is nothing to keep.
  std::filesystem::remove(folder_.path() / "pps/device/power");
  EXPECT_TRUE(says("power", ""));
  ::kill(program_->pid(), SIGTERM);
  EXPECT_EQ(program_->status(), 0);
  EXPECT_EQ(object("time"), "@time\n");
  setZone("Europe/Vienna");
  ASSERT_NO_FATAL_FAILURE(start());
  // The program may be writing meanwhile.
  EXPECT_TRUE(iterateUntil([&] {
    std::error_code notEmpty;
    std::filesystem::remove_all(folder_.path() / "pps", notEmpty);
    return !std::filesystem::exists(folder_.path() / "pps");
  }));
  EXPECT_EQ(program_->status(), 1);
}

TEST_F(DeviceTest, AWrongConfigurationEndsIt) {
  for (const char* text : {"set-volume=perhaps\n", "set-everything=true\n", "set-volume\n"}) {
    folder_.write("config/pagehost/device.conf", std::string("[device]\n") + text);
    const auto program = startProgram();
    EXPECT_EQ(program->status(), 2) << text;
    EXPECT_THAT(program->errors(), HasSubstr("device.conf:2")) << text;
  }
}

TEST_F(DeviceServicesTest, PowerFollowsItsServiceThroughChangesAndRestarts) {
  const std::string upower = "org.freedesktop.UPower";
  const std::string battery = "/org/freedesktop/UPower/devices/DisplayDevice";
  const auto update = [&](const std::string& properties) {
    bus_->update(upower, battery, "org.freedesktop.UPower.Device", properties);
  };
  bus_->start(upower, {"--system", "--template", "upower"});
  update("{'IsPresent': <true>, 'Percentage': <81.5>, 'State': <uint32 2>}");
  ASSERT_NO_FATAL_FAILURE(start());
  EXPECT_TRUE(says("power", "level:n:81.5"));
  EXPECT_TRUE(says("power", "state::discharging"));
  EXPECT_TRUE(says("power", "lidClosed:b:false"));
  EXPECT_THAT(object("power"), Not(HasSubstr("secondsToEmpty"))) << "it is not known";
  update("{'Percentage': <81.0>, 'TimeToEmpty': <int64 3600>}");
  EXPECT_TRUE(says("power", "secondsToEmpty:n:3600"));
  bus_->update(upower, "/org/freedesktop/UPower", upower, "{'LidIsClosed': <true>}");
  EXPECT_TRUE(says("power", "lidClosed:b:true"));

  // What makes no sense is left out, and the rest goes on.
  update("{'Percentage': <'full'>, 'State': <uint32 99>, 'TimeToEmpty': <int64 -5>}");
  EXPECT_TRUE(says("power", "state::unknown"));
  EXPECT_THAT(object("power"), Not(HasSubstr("level")));
  EXPECT_THAT(object("power"), Not(HasSubstr("secondsToEmpty")));
  update("{'Percentage': <1e300>, 'State': <uint32 1>}");
  EXPECT_TRUE(says("power", "state::charging"));
  EXPECT_THAT(object("power"), Not(HasSubstr("level")));

  bus_->stop(upower);
  EXPECT_TRUE(says("power", ""));
  bus_->start(upower, {"--system", "--template", "upower"});
  EXPECT_TRUE(says("power", "onBattery:b:false"));
  EXPECT_EQ(program_->errors(), "");
}

TEST_F(DeviceServicesTest, TheNetworkIsFollowedToItsAccessPointAndWiFiIsSwitchedByWhoMay) {
  const std::string manager = "org.freedesktop.NetworkManager";
  const std::string mainPath = "/org/freedesktop/NetworkManager";
  const std::string mock = "org.freedesktop.DBus.Mock.";
  bus_->start(manager, {"--system", "--template", "networkmanager"});
  bus_->call(manager, "/org/freedesktop", mock + "AddWiFiDevice", "('mock', 'wlan0', uint32 100)");
  const std::string device = mainPath + "/Devices/mock";
  bus_->call(manager, "/org/freedesktop", mock + "AddAccessPoint",
             "('" + device +
                 "', 'ap', 'A\\nB', '00:11', uint32 2, uint32 2425, uint32 5400, "
                 "byte 82, uint32 256)");
  const std::string point = mainPath + "/AccessPoint/ap";
  bus_->call(manager, "/org/freedesktop", mock + "AddWiFiConnection",
             "('" + device + "', 'home', 'A\\nB', 'wpa-psk')");
  bus_->call(manager, "/org/freedesktop", mock + "AddActiveConnection",
             "(['" + device + "'], '/org/freedesktop/NetworkManager/Settings/home', '" + point +
                 "', 'active', uint32 2)");
  const std::string active = mainPath + "/ActiveConnection/active";
  bus_->update(manager, active, "org.freedesktop.NetworkManager.Connection.Active",
               "{'Type': <'802-11-wireless'>}");
  bus_->call(manager, device, mock + "AddProperties",
             "('org.freedesktop.NetworkManager.Device.Wireless', {'ActiveAccessPoint': "
             "<objectpath '" +
                 point + "'>})");
  bus_->call(manager, mainPath, mock + "AddProperties",
             "('" + manager + "', {'PrimaryConnection': <objectpath '/'>, 'Metered': <uint32 0>})");
  ASSERT_NO_FATAL_FAILURE(start());
  EXPECT_TRUE(says("network", "state::online"));
  EXPECT_TRUE(says("network", "wifi:b:true"));
  bus_->update(manager, mainPath, manager,
               "{'PrimaryConnection': <'" + active + "'>, 'Metered': <uint32 3>}");
  EXPECT_TRUE(says("network", "strength:n:82"));
  EXPECT_TRUE(says("network", "type::wifi"));
  EXPECT_TRUE(says("network", "metered:b:true"));
  EXPECT_TRUE(says("network", "ssid::AB")) << "no other line can be made by its name";
  bus_->update(manager, point, "org.freedesktop.NetworkManager.AccessPoint",
               "{'Strength': <byte 40>}");
  EXPECT_TRUE(says("network", "strength:n:40"));

  write("network", "@network\nwifi:b:false\nstate::wonderful\n");
  EXPECT_TRUE(says("network", "wifi:b:true"));
  EXPECT_TRUE(says("network", "state::online"));
  EXPECT_THAT(bus_->property(manager, mainPath, manager, "WirelessEnabled"), HasSubstr("true"));

  ::kill(program_->pid(), SIGTERM);
  EXPECT_EQ(program_->status(), 0);
  ASSERT_NO_FATAL_FAILURE(start("set-wifi=true\n"));
  EXPECT_TRUE(says("network", "wifi:b:true"));
  write("network", "@network\nwifi:b:maybe\n");
  EXPECT_TRUE(says("network", "wifi:b:true"));
  write("network", "@network\nwifi:b:false\n");
  EXPECT_TRUE(says("network", "state::online"));
  EXPECT_TRUE(says("network", "wifi:b:false"));
  EXPECT_TRUE(iterateUntil([&] {
    return bus_->property(manager, mainPath, manager, "WirelessEnabled").find("false") !=
           std::string::npos;
  }));
  bus_->stop(manager);
  EXPECT_TRUE(says("network", ""));
}

TEST_F(DeviceServicesTest, BluetoothAndStorageComeAndGo) {
  ASSERT_NO_FATAL_FAILURE(start("set-bluetooth=yes\n"));
  bus_->start("org.bluez", {"--system", "--template", "bluez5"});
  bus_->call("org.bluez", "/", "org.bluez.Mock.AddAdapter", "('hci0', 'panel')");
  EXPECT_TRUE(says("bluetooth", "powered:b:true"));
  bus_->call("org.bluez", "/", "org.bluez.Mock.AddDevice",
             "('hci0', '11:22:33:44:55:66', 'Speaker')");
  bus_->call("org.bluez", "/", "org.bluez.Mock.PairDevice",
             "('hci0', '11:22:33:44:55:66', @i 5898764)");
  bus_->call("org.bluez", "/", "org.bluez.Mock.ConnectDevice", "('hci0', '11:22:33:44:55:66')");
  EXPECT_TRUE(
      iterateUntil([&] { return object("bluetooth").find("Speaker") != std::string::npos; }));
  write("bluetooth", "@bluetooth\npowered:b:false\n");
  EXPECT_TRUE(iterateUntil([&] {
    return bus_->property("org.bluez", "/org/bluez/hci0", "org.bluez.Adapter1", "Powered")
               .find("false") != std::string::npos;
  }));
  EXPECT_TRUE(says("bluetooth", "powered:b:false"));
  bus_->call("org.bluez", "/", "org.bluez.Mock.RemoveAdapterWithDevices", "('hci0',)");
  EXPECT_TRUE(says("bluetooth", ""));

  const std::string mock = "org.freedesktop.DBus.Mock.";
  const std::string disks = "org.freedesktop.UDisks2";
  const std::string path = "/org/freedesktop/UDisks2";
  bus_->start(disks, {"--system", "--is-object-manager", disks, path, disks + ".Manager"});
  EXPECT_TRUE(says("storage", "volumes:json:[]"));
  const std::string stick = path + "/block_devices/sdb1";
  bus_->call(disks, path, mock + "AddObject",
             "('" + stick + "', '" + disks +
                 ".Block', {'HintSystem': <false>, 'IdLabel': <'Stick'>, 'Size': <uint64 4096>, "
                 "'PreferredDevice': <b'/dev/sdb1'>}, @a(ssss) [])");
  bus_->call(disks, stick, mock + "AddProperties",
             "('" + disks + ".Filesystem', {'MountPoints': <[b'/media/stick']>})");
  bus_->call(disks, path, mock + "EmitSignal",
             "('org.freedesktop.DBus.ObjectManager', 'InterfacesAdded', 'oa{sa{sv}}', "
             "[<objectpath '" +
                 stick + "'>, <{'" + disks +
                 ".Block': {'HintSystem': <false>, 'IdLabel': <'Stick'>, 'Size': <uint64 4096>, "
                 "'PreferredDevice': <b'/dev/sdb1'>}, '" +
                 disks + ".Filesystem': {'MountPoints': <[b'/media/stick']>}}>])");
  EXPECT_TRUE(says("storage", R"(volumes:json:[{"device":"/dev/sdb1","label":"Stick","bytes":4096,)"
                              R"("removable":false,"mounted":"/media/stick"}])"));
  bus_->update(disks, stick, disks + ".Filesystem", "{'MountPoints': <7>}");
  EXPECT_TRUE(
      iterateUntil([&] { return object("storage").find(R"("mounted":"")") != std::string::npos; }));
  bus_->call(disks, path, mock + "EmitSignal",
             "('org.freedesktop.DBus.ObjectManager', 'InterfacesRemoved', 'oas', "
             "[<objectpath '" +
                 stick + "'>, <['" + disks + ".Filesystem']>])");
  EXPECT_TRUE(says("storage", "volumes:json:[]"));
}

TEST_F(DeviceServicesTest, TheSessionIsToldAndBrightnessIsSetThroughIt) {
  const std::string login = "org.freedesktop.login1";
  const std::string path = "/org/freedesktop/login1";
  const std::string session = path + "/session/auto";
  const std::string mock = "org.freedesktop.DBus.Mock.";
  for (const auto& [file, text] : {std::pair{"brightness", "50\n"},
                                   {"max_brightness", "200\n"},
                                   {"actual_brightness", "50\n"}}) {
    folder_.write(std::string("sys/class/backlight/panel/") + file, text);
  }
  bus_->start(login, {"--system", "--template", "logind"});
  bus_->call(login, path, mock + "AddSession", "('auto', 'seat0', uint32 0, 'root', true)");
  bus_->call(login, session, mock + "AddMethod", "('', 'SetBrightness', 'ssu', '', '')");
  ASSERT_NO_FATAL_FAILURE(start("set-brightness=true\n"));
  EXPECT_TRUE(says("display", "brightness:n:25"));
  EXPECT_TRUE(says("session", "active:b:true"));
  EXPECT_TRUE(says("session", "seat::seat0"));
  bus_->update(login, session, login + ".Session", "{'LockedHint': <true>, 'Active': <false>}");
  EXPECT_TRUE(says("session", "locked:b:true"));
  EXPECT_TRUE(says("session", "active:b:false"));
  bus_->update(login, path, login + ".Manager", "{'PreparingForSleep': <true>}");
  bus_->call(login, path, mock + "EmitSignal",
             "('" + login + ".Manager', 'PrepareForSleep', 'b', [<true>])");
  EXPECT_TRUE(says("session", "ending::sleep"));

  write("display", "@display\nbrightness:n:50\n");
  EXPECT_TRUE(iterateUntil([&] {
    return bus_->call(login, session, mock + "GetMethodCalls", "('SetBrightness',)")
               .find("<'panel'>, <uint32 100>") != std::string::npos;
  }));
  EXPECT_TRUE(says("display", "brightness:n:25")) << "until the backlight has it";
  folder_.write("sys/class/backlight/panel/brightness", "100\n");
  EXPECT_TRUE(says("display", "brightness:n:50"));
  folder_.write("sys/class/backlight/panel/brightness", "bright\n");
  EXPECT_TRUE(says("display", ""));
}

TEST_F(DeviceTest, TheDefaultOutputOfTheSoundServerIsToldAndSet) {
  if (!std::filesystem::exists("/usr/bin/pulseaudio")) GTEST_SKIP() << "there is no PulseAudio";
  const std::string run = (folder_.path() / "run").string();
  ASSERT_NO_FATAL_FAILURE(start("set-volume=true\n"));
  const auto startServer = [&] {
    return std::make_unique<Program>(
        Program::Environment{{"HOME", folder_.path().string()},
                             {"XDG_RUNTIME_DIR", run},
                             {"XDG_CONFIG_HOME", folder_.path() / "config"},
                             {"DBUS_SESSION_BUS_ADDRESS", "disabled:"},
                             {"DBUS_SYSTEM_BUS_ADDRESS", "disabled:"},
                             {"DISPLAY", ""}},
        std::vector<std::string>{"-n", "--daemonize=no", "--exit-idle-time=-1", "--use-pid-file=no",
                                 "--disable-shm=yes", "-L", "module-null-sink sink_name=out", "-L",
                                 "module-native-protocol-unix"},
        "pulseaudio", "/usr/bin/pulseaudio");
  };
  auto server = startServer();
  EXPECT_TRUE(says("audio", "volume:n:100")) << server->errors();
  EXPECT_TRUE(says("audio", "muted:b:false"));
  write("audio", "@audio\nvolume:n:40\nmuted:b:true\n");
  EXPECT_TRUE(says("audio", "output::Null Output"));
  EXPECT_TRUE(says("audio", "volume:n:40"));
  EXPECT_TRUE(says("audio", "muted:b:true"));
  write("audio", "@audio\nvolume:n:1e99\nmuted::true\n");
  EXPECT_TRUE(says("audio", "volume:n:40"));
  EXPECT_TRUE(says("audio", "muted:b:true"));

  server.reset();
  EXPECT_TRUE(says("audio", ""));
  server = startServer();
  EXPECT_TRUE(says("audio", "volume:n:100")) << server->errors();
  EXPECT_EQ(program_->errors(), "");
}

}  // namespace

// The services around the navigator, each with a fake of its external counterpart.
#include "platform/desktop/DeviceBus.h"
#include "platform/desktop/LocaleHandler.h"
#include "platform/desktop/MemoryPressure.h"
#include "platform/desktop/RotationService.h"
#include "platform/desktop/WindowService.h"
#include "platform/graphics/Screen.h"
#include "platform/graphics/Window.h"
#include "platform/invocation/Invocation.h"
#include "platform/invocation/Viewers.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace {

using namespace Tessel::Platform;
using Graphics::ShownAs;
using Graphics::Window;
using Graphics::WindowType;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Testing::iterateUntil;
using ::testing::Not;

// Records all notifications.
class NavigatorTest : public testing::Test, public NavigatorListener, public LocaleListener {
 protected:
  NavigatorTest() {
    handler.addListener(this);
    LocaleHandler::instance().addListener(this);
  }
  ~NavigatorTest() override {
    handler.removeListener(this);
    LocaleHandler::instance().removeListener(this);
  }

  bool onRotateCheck(const String&, const String&) override { return agrees; }
  bool onRotate(const String& orientation, const String& degrees) override {
    heard.push_back(concat("rotate ", orientation, " ", degrees).toStdString());
    return false;
  }
  void onRotateDone(const String& way) override { heard.push_back("done " + way.toStdString()); }
  void onWindowActive() override { heard.emplace_back("active"); }
  void onWindowInactive() override { heard.emplace_back("inactive"); }
  void onWindowState(const String& state) override { heard.push_back(state.toStdString()); }
  void onWindowCoverEnter() override { heard.emplace_back("enter"); }
  void onWindowCoverExit() override { heard.emplace_back("leave"); }
  void onWindowLock() override { heard.emplace_back("lock"); }
  void onWindowUnlock() override { heard.emplace_back("unlock"); }
  void onIsDeviceLocked(const String& locked) override {
    heard.push_back("locked " + locked.toStdString());
  }
  void onLanguageChange(const String& text) override {
    heard.push_back("language " + text.toStdString());
  }
  void onRegionChange(const String& text) override {
    heard.push_back("region " + text.toStdString());
  }

  NavigatorHandler& handler = NavigatorHandler::instance();
  bool agrees = true;
  std::vector<std::string> heard;
};

TEST_F(NavigatorTest, StatesAreToldOnceAndForegroundIsWhatIsSeenAndHasTheKeyboard) {
  Window window{WindowType::Application, nullptr, {0, 0, 320, 240}, {}, {}, 0, false, String()};
  WindowService service{handler, window};
  service.activeChanged(true);
  service.activeChanged(true);
  EXPECT_TRUE(handler.isForeground());
  for (const ShownAs shown : {ShownAs::Normal, ShownAs::Fullscreen, ShownAs::Minimized,
                              ShownAs::Minimized, ShownAs::Covered}) {
    service.shownAsChanged(shown);
  }
  EXPECT_FALSE(handler.isForeground());
  service.shownAsChanged(ShownAs::Maximized);
  EXPECT_TRUE(handler.isForeground());
  service.activeChanged(false);
  EXPECT_FALSE(handler.isForeground());
  EXPECT_THAT(heard, ElementsAre("active", "fullscreen", "minimized", "enter", "covered",
                                 "maximized", "leave", "inactive"));
}

TEST_F(NavigatorTest, TheApplicationTurnsWithTheDeviceUnlessItIsLocked) {
  RotationService service(handler);
  service.deviceTurned("top_up");  // the current rotation
  service.deviceTurned("left_up");
  EXPECT_EQ(Graphics::Screen::primaryScreen().rotation(), 90);
  handler.notifyRotateComplete();
  handler.notifyRotateComplete();
  handler.rotate("sideways");
  EXPECT_THAT(heard, ElementsAre("rotate left_up 90", "done left_up"));
  heard.clear();

  handler.lockRotation();
  service.deviceTurned("right_up");
  EXPECT_THAT(heard, IsEmpty());
  handler.unlockRotation();
  handler.lockRotation("bottom_up");
  EXPECT_THAT(heard, ElementsAre("rotate right_up 270", "rotate bottom_up 180"));
  heard.clear();

  agrees = false;
  handler.rotate("top_up");
  EXPECT_THAT(heard, IsEmpty());
  agrees = true;
  handler.rotate("top_up");
}

TEST_F(NavigatorTest, MemoryIsShortOnceUntilThePressureIsOver) {
  EXPECT_EQ(MemoryPressure::shareOf("some avg10=12.50 avg60=0.10 avg300=0.00 total=7\nfull"), 12.5);
  EXPECT_LT(MemoryPressure::shareOf("full avg10=12.50"), 0);
  EXPECT_LT(MemoryPressure::shareOf(""), 0);

  const test_support::TemporaryFolder folder;
  const auto write = [&](const char* share) {
    folder.write("pressure", std::string("some avg10=") + share + " avg60=0.00 total=0\n");
  };
  int low = 0;
  write("40.00");
  const MemoryPressure pressure([&] { ++low; }, folder.path() / "pressure", 1);
  const MemoryPressure without([&] { ++low; }, "/no/such/file", 1);
  EXPECT_TRUE(iterateUntil([&] { return low == 1; }));
  // Many checks: neither reported again nor ended at first; ended later.
  for (const char* share : {"7.00", "1.00"}) {
    write(share);
    int looks = 0;
    EXPECT_TRUE(iterateUntil([&] { return ++looks > 20; }));
    EXPECT_EQ(low, 1);
  }
  write("40.00");
  EXPECT_TRUE(iterateUntil([&] { return low == 2; }));
}

// A private bus with a fake screen saver and fake sensors.
class DeviceBusTest : public NavigatorTest {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists("/usr/bin/dbus-daemon")) GTEST_SKIP() << "there is no bus";
    bus_ = g_test_dbus_new(G_TEST_DBUS_NONE);
    g_test_dbus_up(bus_);
    application_ = connect();
    desktop_ = connect();
  }
  void TearDown() override {
    if (!bus_) return;
    g_object_unref(desktop_);
    g_object_unref(application_);
    g_test_dbus_stop(bus_);
    g_object_unref(bus_);
  }

  GDBusConnection* connect() {
    const auto flags =
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
    return g_dbus_connection_new_for_address_sync(g_test_dbus_get_bus_address(bus_), flags, nullptr,
                                                  nullptr, nullptr);
  }
  static void askBus(GDBusConnection* connection, const char* method, GVariant* arguments) {
    GVariant* answer = g_dbus_connection_call_sync(
        connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", method,
        arguments, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    ASSERT_TRUE(answer);
    g_variant_unref(answer);
  }
  // Round trip: afterwards the bus has processed all subscriptions of the application.
  void settle() { askBus(application_, "GetId", nullptr); }
  void own(const char* name) { askBus(desktop_, "RequestName", g_variant_new("(su)", name, 0u)); }
  void serveScreenSaver() {
    own("org.freedesktop.ScreenSaver");
    GDBusNodeInfo* node = g_dbus_node_info_new_for_xml(
        "<node><interface name='org.freedesktop.ScreenSaver'><method name='GetActive'>"
        "<arg type='b' direction='out'/></method></interface></node>",
        nullptr);
    static const GDBusInterfaceVTable calls{
        [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
           GDBusMethodInvocation* call,
           gpointer) { g_dbus_method_invocation_return_value(call, g_variant_new("(b)", TRUE)); },
        nullptr,
        nullptr,
        {}};
    g_dbus_connection_register_object(desktop_, "/org/freedesktop/ScreenSaver", node->interfaces[0],
                                      &calls, this, nullptr, nullptr);
    g_dbus_node_info_unref(node);
  }
  void emit(const char* path, const char* interface, const char* signal, GVariant* values) {
    g_dbus_connection_emit_signal(desktop_, nullptr, path, interface, signal, values, nullptr);
  }
  void emitChange(const char* path, const char* interface, const char* name, GVariant* value) {
    GVariantBuilder changed;
    g_variant_builder_init(&changed, G_VARIANT_TYPE("a{sv}"));
    g_variant_builder_add(&changed, "{sv}", name, value);
    emit(path, "org.freedesktop.DBus.Properties", "PropertiesChanged",
         g_variant_new("(sa{sv}as)", interface, &changed, nullptr));
  }
  bool hears(std::size_t count) {
    return iterateUntil([&] { return heard.size() >= count; });
  }

  RotationService rotation{handler};
  GTestDBus* bus_ = nullptr;
  GDBusConnection* application_ = nullptr;
  GDBusConnection* desktop_ = nullptr;
};

TEST_F(DeviceBusTest, TheLockIsToldAndAskedFor) {
  {
    DeviceBus device(handler, rotation, application_, nullptr);
    settle();
    handler.isDeviceLocked();
    ASSERT_TRUE(hears(1));
    EXPECT_THAT(heard, ElementsAre("locked unknown")) << "nobody is there yet";
    heard.clear();
    serveScreenSaver();
    handler.isDeviceLocked();
    ASSERT_TRUE(hears(1));
    const char* saver = "org.freedesktop.ScreenSaver";
    const char* path = "/org/freedesktop/ScreenSaver";
    emit(path, saver, "ActiveChanged", g_variant_new("(s)", "not a truth value"));
    emit(path, saver, "ActiveChanged", g_variant_new("(b)", TRUE));
    emit(path, saver, "ActiveChanged", g_variant_new("(b)", TRUE));
    emit(path, saver, "ActiveChanged", g_variant_new("(b)", FALSE));
    ASSERT_TRUE(hears(3));
    EXPECT_THAT(heard, ElementsAre("locked true", "lock", "unlock"));
    heard.clear();
  }
  DeviceBus without(handler, rotation, nullptr, nullptr);
  handler.isDeviceLocked();
  EXPECT_THAT(heard, IsEmpty()) << "not from within the request";
  ASSERT_TRUE(hears(1));
  EXPECT_THAT(heard, ElementsAre("locked unknown"));
}

TEST_F(DeviceBusTest, SensorsAndTheLocaleServiceAreHeard) {
  LocaleHandler::instance().takeSettings({"LANG=fr_FR"});
  heard.clear();
  own("net.hadess.SensorProxy");
  own("org.freedesktop.locale1");
  DeviceBus device(handler, rotation, nullptr, application_);
  settle();
  emitChange("/net/hadess/SensorProxy", "net.hadess.SensorProxy", "AccelerometerOrientation",
             g_variant_new_string("bottom-up"));
  const char* settings[] = {"LANG=de_AT.UTF-8"};
  emitChange("/org/freedesktop/locale1", "org.freedesktop.locale1", "Locale",
             g_variant_new_strv(settings, 1));
  emitChange("/net/hadess/SensorProxy", "net.hadess.SensorProxy", "AccelerometerOrientation",
             g_variant_new_string("normal"));
  ASSERT_TRUE(hears(4));
  EXPECT_THAT(heard, ElementsAre("rotate bottom_up 180", "language de_AT", "region de_AT",
                                 "rotate top_up 0"));
}

TEST(InvocationTest, WishesThatNameNothingToOpenOrAProgramAreRefused) {
  const test_support::TemporaryFolder folder;
  folder.write("entry.desktop", "[Desktop Entry]\nType=Application\nExec=true\n");
  folder.write("text.txt", "text\n");
  const auto problem = [](const std::string& json) {
    InvokeWish wish;
    return readInvokeWish(json, wish);
  };
  const std::string path = folder.path();
  for (const std::string& json :
       {std::string(), std::string("[]"), std::string("{}"), std::string(R"({"uri":7})"),
        std::string(R"({"uri":"no address"})"), std::string(R"({"file":"relative.txt"})"),
        R"({"file":")" + path + R"(/none.txt"})", R"({"file":")" + path + R"(/entry.desktop"})",
        R"({"uri":"FILE://)" + path + R"(/entry.desktop"})", std::string(R"({"file":"/bin/sh"})"),
        std::string(R"({"type":"a"})") + std::string(70000, ' ')}) {
    EXPECT_FALSE(problem(json).isEmpty()) << json.substr(0, 100);
  }
  InvokeWish wish;
  EXPECT_EQ(readInvokeWish(R"({"file":")" + path + R"(/text.txt","target":"t"})", wish), "");
  EXPECT_EQ(wish.type, "text/plain");
  EXPECT_EQ(wish.uri, "file://" + path + "/text.txt");
  EXPECT_EQ(wish.target, "t");
  EXPECT_EQ(readInvokeWish(R"({"uri":"MailTo:a@b"})", wish), "");
  EXPECT_EQ(wish.type, "x-scheme-handler/mailto");
  InvokeTarget opened;
  EXPECT_NE(openWith({"phnone:a", "x-scheme-handler/phnone", ""}, opened), "");
}

TEST(ViewersTest, AViewerHasItsNameAndRequestAndNotTheChromeOfItsOpener) {
  const test_support::TemporaryFolder folder;
  folder.write("program", "#!/bin/sh\nenv >\"$1\"\n");
  std::filesystem::permissions(folder.path() / "program", std::filesystem::perms::owner_all);
  ::setenv("CHROME_URL", "file:///privileged", 1);
  String stopped;
  Viewers viewers([&](const String& viewer) { stopped = viewer; }, {}, folder.path() / "program");
  EXPECT_EQ(viewers.open("show", (folder.path() / "seen").string(), "{}"), "");
  ASSERT_TRUE(iterateUntil([&] { return stopped == String("show"); }));
  ::unsetenv("CHROME_URL");
  const std::string seen = folder.read("seen");
  EXPECT_THAT(seen, HasSubstr("PAGEHOST_VIEWER_NAME=show\n"));
  EXPECT_THAT(seen, HasSubstr("PAGEHOST_INVOKE_REQUEST={}\n"));
  EXPECT_THAT(seen, Not(HasSubstr("CHROME_URL")));
}

}  // namespace

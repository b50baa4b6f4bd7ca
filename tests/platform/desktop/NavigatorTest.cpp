// The services around the navigator, each with a fake of its external counterpart.
#include "platform/desktop/DeviceBus.h"
#include "platform/desktop/LocaleHandler.h"
#include "platform/desktop/MemoryPressure.h"
#include "platform/desktop/RotationService.h"
#include "platform/desktop/SessionService.h"
#include "platform/desktop/WindowService.h"
#include "platform/graphics/Screen.h"
#include "platform/graphics/Window.h"
#include "platform/invocation/Invocation.h"
#include "platform/invocation/Viewers.h"
#include "tests/support/MockBus.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/Waiting.h"

#include <gio/gio.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>

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
  service.seatChanged(false);
  EXPECT_FALSE(handler.isForeground());
  service.seatChanged(true);
  service.activeChanged(false);
  EXPECT_FALSE(handler.isForeground());
  EXPECT_THAT(heard, ElementsAre("active", "fullscreen", "minimized", "enter", "covered",
                                 "maximized", "leave", "enter", "leave", "inactive"));
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

// The services of the buses, mocked.
class DeviceBusTest : public NavigatorTest {
 protected:
  void SetUp() override {
    if (!test_support::MockBus::hasServices()) GTEST_SKIP() << "python3-dbusmock is not installed";
    bus_.emplace();
    application_ = bus_->connect();
  }
  void TearDown() override {
    if (application_) g_object_unref(application_);
  }

  void serveScreenSaver(const std::string& name, const std::string& path, bool locked) {
    bus_->start(name, {name, path, name});
    bus_->call(
        name, path, mock + "AddMethod",
        "('', 'GetActive', '', 'b', 'ret = " + std::string(locked ? "True" : "False") + "')");
  }
  void serveLogin(bool locked) {
    bus_->start(login, {"--system", "--template", "logind"});
    bus_->call(login, loginPath, mock + "AddSession", "('auto', 'seat0', uint32 0, 'root', true)");
    if (locked) setSession("{'LockedHint': <true>}");
  }
  void setSession(const std::string& properties) {
    bus_->update(login, session, login + ".Session", properties);
  }
  void emit(const std::string& name, const std::string& path, const std::string& interface,
            const std::string& signal, const std::string& value) {
    bus_->call(name, path, mock + "EmitSignal",
               "('" + interface + "', '" + signal + "', " + value + ")");
  }
  // The answer to the question whether it is locked.
  std::string locked() {
    heard.clear();
    handler.isDeviceLocked();
    EXPECT_THAT(heard, IsEmpty()) << "not from within the request";
    std::string answer;
    iterateUntil([&] {
      const auto found = std::find_if(heard.begin(), heard.end(), [](const std::string& each) {
        return each.starts_with("locked");
      });
      if (found != heard.end()) answer = *found;
      return !answer.empty();
    });
    return answer;
  }
  bool hears(std::size_t count) {
    return iterateUntil([&] { return heard.size() >= count; });
  }

  const std::string mock = "org.freedesktop.DBus.Mock.";
  const std::string login = "org.freedesktop.login1";
  const std::string loginPath = "/org/freedesktop/login1";
  const std::string session = loginPath + "/session/auto";
  RotationService rotation{handler};
  std::optional<test_support::MockBus> bus_;
  GDBusConnection* application_ = nullptr;
};

TEST_F(DeviceBusTest, TheLockScreenOfTheDesktopIsAskedAndHeard) {
  const std::string gnome = "org.gnome.ScreenSaver";
  const std::string path = "/org/gnome/ScreenSaver";
  {
    const SessionService service(handler, {}, application_, nullptr);
    EXPECT_EQ(locked(), "locked unknown") << "nobody is there yet";
    heard.clear();
    // This desktop has the common name as well, and does not say there whether it is locked.
    bus_->start("org.freedesktop.ScreenSaver",
                {"org.freedesktop.ScreenSaver", "/org/freedesktop/ScreenSaver",
                 "org.freedesktop.ScreenSaver"});
    serveScreenSaver(gnome, path, true);
    emit(gnome, path, gnome, "ActiveChanged", "'s', [<'no truth value'>]");
    emit(gnome, path, gnome, "ActiveChanged", "'b', [<true>]");
    emit(gnome, path, gnome, "ActiveChanged", "'b', [<true>]");
    ASSERT_TRUE(hears(1));
    EXPECT_THAT(heard, ElementsAre("lock"));
    EXPECT_EQ(locked(), "locked true");
    heard.clear();
    bus_->stop(gnome);
    ASSERT_TRUE(hears(1));
    EXPECT_THAT(heard, ElementsAre("unlock"));
    EXPECT_EQ(locked(), "locked unknown");
  }
  heard.clear();
  serveScreenSaver(gnome, path, true);
  const SessionService later(handler, {}, application_, nullptr);
  ASSERT_TRUE(hears(1)) << "the state at the start";
  EXPECT_THAT(heard, ElementsAre("lock"));
  heard.clear();
  const SessionService without(handler, {}, nullptr, nullptr);
  handler.removeService(const_cast<SessionService*>(&later));
  EXPECT_EQ(locked(), "locked unknown");
}

TEST_F(DeviceBusTest, WithoutALockScreenTheSessionSaysWhetherItIsLocked) {
  serveLogin(true);
  std::vector<bool> shown;
  const SessionService service(
      handler, [&](bool active) { shown.push_back(active); }, nullptr, application_);
  EXPECT_EQ(locked(), "locked true");
  setSession("{'LockedHint': <'perhaps'>}");
  EXPECT_TRUE(iterateUntil([&] { return locked() == "locked unknown"; }));
  setSession("{'LockedHint': <false>, 'Active': <false>}");
  EXPECT_TRUE(iterateUntil([&] { return shown.size() == 1; }));
  setSession("{'Active': <true>}");
  EXPECT_TRUE(iterateUntil([&] { return shown.size() == 2; }));
  EXPECT_THAT(shown, ElementsAre(false, true));

  // Nobody else does what the signals ask for, so the program also keeps it.
  EXPECT_EQ(locked(), "locked false");
  heard.clear();
  bus_->call(login, session, login + ".Session.Lock", "()");
  ASSERT_TRUE(hears(1));
  EXPECT_TRUE(iterateUntil([&] {
    return bus_->property(login, session, login + ".Session", "LockedHint").find("true") !=
           std::string::npos;
  }));
  bus_->call(login, session, login + ".Session.Unlock", "()");
  ASSERT_TRUE(hears(2));
  EXPECT_THAT(heard, ElementsAre("lock", "unlock"));
  EXPECT_TRUE(iterateUntil([&] { return locked() == "locked false"; })) << locked();

  bus_->stop(login);
  EXPECT_TRUE(iterateUntil([&] { return locked() == "locked unknown"; }));
  serveLogin(true);
  EXPECT_TRUE(iterateUntil([&] { return locked() == "locked true"; }));
}

TEST_F(DeviceBusTest, TheSystemsEndWaitsForAProgramThatAsksAndEndsIt) {
  struct Closing final : NavigatorService {
    void closeWindow() override { ++closed; }
    int closed = 0;
  } closing;
  serveLogin(false);
  handler.addService(&closing);
  {
    SessionService service(handler, {}, nullptr, application_);
    EXPECT_EQ(locked(), "locked false");
    const auto inhibitors = [&] {
      return bus_->call(login, loginPath, login + ".Manager.ListInhibitors", "()");
    };
    EXPECT_THAT(inhibitors(), Not(HasSubstr("pagehost")));
    handler.extendTerminate();
    handler.extendTerminate();
    EXPECT_TRUE(iterateUntil(
        [&] { return inhibitors().find("('shutdown', 'pagehost'") != std::string::npos; }));
    EXPECT_THAT(inhibitors(), HasSubstr("'delay'"));
    emit(login, loginPath, login + ".Manager", "PrepareForShutdown", "'b', [<false>]");
    emit(login, loginPath, login + ".Manager", "PrepareForShutdown", "'s', [<'now'>]");
    emit(login, loginPath, login + ".Manager", "PrepareForShutdown", "'b', [<true>]");
    EXPECT_TRUE(iterateUntil([&] { return closing.closed > 0; }));
    EXPECT_EQ(closing.closed, 1);
  }
  EXPECT_TRUE(iterateUntil([&] {
    return bus_->call(login, loginPath, login + ".Manager.ListInhibitors", "()").find("pagehost") ==
           std::string::npos;
  })) << "it does not wait for a program that has ended";
  handler.removeService(&closing);
}

TEST_F(DeviceBusTest, SensorsAndTheLocaleServiceAreHeard) {
  LocaleHandler::instance().takeSettings({"LANG=fr_FR"});
  heard.clear();
  const std::string sensor = "net.hadess.SensorProxy";
  const std::string locale = "org.freedesktop.locale1";
  bus_->start(sensor, {sensor, "/net/hadess/SensorProxy", sensor});
  bus_->call(sensor, "/net/hadess/SensorProxy", mock + "AddProperties",
             "('" + sensor + "', {'AccelerometerOrientation': <'undefined'>})");
  bus_->start(locale, {locale, "/org/freedesktop/locale1", locale});
  bus_->call(locale, "/org/freedesktop/locale1", mock + "AddProperties",
             "('" + locale + "', {'Locale': <['LANG=C']>})");
  const DeviceBus device(rotation, application_);
  // After a round trip the bus knows what the program listens to.
  GVariant* const answer = g_dbus_connection_call_sync(
      application_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
      "GetId", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
  ASSERT_TRUE(answer);
  g_variant_unref(answer);
  bus_->update(sensor, "/net/hadess/SensorProxy", sensor,
               "{'AccelerometerOrientation': <'bottom-up'>}");
  ASSERT_TRUE(hears(1));
  bus_->update(locale, "/org/freedesktop/locale1", locale, "{'Locale': <['LANG=de_AT.UTF-8']>}");
  ASSERT_TRUE(hears(3));
  bus_->update(sensor, "/net/hadess/SensorProxy", sensor,
               "{'AccelerometerOrientation': <'normal'>}");
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

// The application.* and invocation.* functions, and the chrome's functions for what surrounds the
// application. The modules register once per process, so every test has a process of its own.
#include "bindings/ApplicationBinding.h"
#include "bindings/InvocationBinding.h"
#include "platform/graphics/Screen.h"
#include "platform/navigator/FontInfo.h"
#include "platform/navigator/LocaleHandler.h"
#include "platform/navigator/NavigatorHandler.h"
#include "platform/navigator/Notifications.h"
#include "tests/support/ChromeFixture.h"

namespace {

using Tessel::Platform::FontInfo;
using Tessel::Platform::LocaleHandler;
using Tessel::Platform::NavigatorHandler;
using Tessel::Platform::NavigatorService;
using Tessel::Platform::Notification;
using Tessel::Platform::notifications;
using Tessel::Platform::raiseNotification;
using Tessel::Platform::String;
using Tessel::Platform::Graphics::Screen;
using test_support::inOwnProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

int focusSet = -1;

class NavigatorBindingsTest : public test_support::ChromeFixture {
 protected:
  // In a process of its own, with the modules.
  void withBinding(const std::function<void()>& body) {
    inOwnProcess([&] {
      NavigatorHandler::instance().setWatcher(
          [this](const char* name, const std::vector<String>& arguments) {
            std::string text = name;
            for (const String& argument : arguments) text += " " + argument.toStdString();
            requests.push_back(text);
          });
      const ApplicationBinding binding(root, [](int value) { focusSet = value; });
      const InvocationBinding invocation(root);
      body();
    });
  }

  // What chrome.internal was called with, as "application.name argument ...".
  std::vector<std::string> told() {
    std::vector<std::string> texts;
    for (const FunctionCall& posted : page->posted) {
      if (posted.path.size() != 4) continue;
      std::string text = posted.path[2].toStdString() + "." + posted.path[3].toStdString();
      for (const JavaScriptVariant& value : posted.arguments) {
        text += " " + (value.type() == JavaScriptVariant::Number
                           ? String::fromNumber(value.numberValue())
                           : value.stringValue())
                          .toStdString();
      }
      texts.push_back(text);
    }
    page->posted.clear();
    return texts;
  }

  std::vector<std::string> requests;
};

TEST_F(NavigatorBindingsTest, RequestsOfTheApplicationReachTheNavigator) {
  withBinding([this] {
    EXPECT_EQ(callNative({"application.adduri", "t", "u", "n", "i"}), "");
    callNative({"application.lockRotation"});
    callNative({"application.lockRotation", "left_up"});
    callNative({"application.setKeyboardTracking", "True"});
    callNative({"application.setKeyboardTracking", "true"});
    callNative({"application.requestExit", "what", "ever"});
    EXPECT_THAT(requests, ElementsAre("addURI t u n i", "lockRotation", "lockRotation left_up",
                                      "setKeyboardTracking false", "setKeyboardTracking true",
                                      "closeWindow"));
    EXPECT_THAT(errors(), IsEmpty());
    callNative({"application.setKeyboardFocus", "1x"});
    EXPECT_EQ(focusSet, 1);
    callNative({"application.setKeyboardFocus", "x"});
    EXPECT_EQ(focusSet, 0);
  });
}

TEST_F(NavigatorBindingsTest, WrongCountsAreReportedByTheHandlersOwnName) {
  withBinding([this] {
    struct {
      const char* function;
      const char* name;
      int required;
    } const counted[] = {{"adduri", "jsAddURI", 5},
                         {"newWallpaper", "jsNewWallpaper", 2},
                         {"rotate", "jsRotate", 2},
                         {"unlockRotation", "jsUnlockRotation", 1},
                         {"minimizeWindow", "jsMinimizeWindow", 1},
                         {"getenv", "jsGetenv", 2},
                         {"setenv", "jsSetenv", 3},
                         {"unsetenv", "jsUnsetenv", 2},
                         {"setKeyboardTracking", "jsSetKeyboardTracking", 2},
                         {"setSwipeStart", "jsSetSwipeStart", 1},
                         {"bindToNetworkDevice", "jsBindToNetworkDevice", 2},
                         {"updateCover", "jsUpdateCover", 2},
                         {"realpath", "jsRealpath", 2},
                         {"setKeyboardFocus", "jsSetKeyboardFocus", 2},
                         {"getRegisteredDomain", "jsGetRegisteredDomain", 2}};
    for (const auto& [function, name, required] : counted) {
      const std::string full = std::string("application.") + function;
      std::vector<const char*> arguments(static_cast<std::size_t>(required) + 1, "1");
      arguments[0] = full.c_str();
      EXPECT_EQ(callNative(arguments), "");
      EXPECT_THAT(errors(), ElementsAre(countError(name, required + 1, required)));
    }
    callNative({"application.lockRotation", "a", "b"});
    EXPECT_THAT(errors(),
                ElementsAre(countError("jsLockRotation", 3, 1) + " (2 with optional args)"));
    EXPECT_THAT(requests, IsEmpty());
  });
}

TEST_F(NavigatorBindingsTest, EnvironmentPathsAndDomainsAreAnswered) {
  withBinding([this] {
    EXPECT_EQ(callNative({"application.setenv", "PAGEHOST_T", "a=b"}), "0");
    EXPECT_EQ(callNative({"application.getenv", "PAGEHOST_T"}), "a=b");
    EXPECT_EQ(callNative({"application.unsetenv", "PAGEHOST_T"}), "0");
    EXPECT_EQ(callNative({"application.getenv", "PAGEHOST_T"}), "");
    EXPECT_EQ(callNative({"application.setenv", "a=b", "c"}), "-1");
    EXPECT_EQ(callNative({"application.unsetenv", ""}), "-1");
    EXPECT_EQ(callNative({"application.bindToNetworkDevice", "eth7"}), "");
    EXPECT_STREQ(::getenv("SOCK_SO_BINDTODEVICE"), "eth7");
    EXPECT_EQ(callNative({"application.realpath", "/proc/../dev/./null"}), "/dev/null");
    EXPECT_EQ(callNative({"application.realpath", "/no/such/file"}), "");
    EXPECT_EQ(callNative({"application.getRegisteredDomain", "www.Example.co.uk"}),
              "example.co.uk");
    for (const char* none : {"co.uk", "localhost", "127.0.0.1", "::1", "", "..", "\xff"}) {
      EXPECT_EQ(callNative({"application.getRegisteredDomain", none}), "") << none;
    }
  });
}

TEST_F(NavigatorBindingsTest, AnswersOfServicesAreResults) {
  struct : NavigatorService {
    bool isForeground() override { return foreground; }
    String coverSize() override { return size; }
    String invokeRequest() override { return R"({"uri":"a"})"; }
    bool foreground = false;
    String size;
  } service;
  withBinding([&] {
    NavigatorHandler::instance().addService(&service);
    EXPECT_EQ(callNative({"application.isForeground"}), "0");
    EXPECT_EQ(callNative({"application.coverSize"}), "");
    service.foreground = true;
    service.size = "{}";
    EXPECT_EQ(callNative({"application.isForeground"}), "1");
    EXPECT_EQ(callNative({"application.coverSize"}), "{}");
    EXPECT_EQ(callNative({"invocation.invokeRequest", "some", "thing"}), R"({"uri":"a"})");
  });
}

TEST_F(NavigatorBindingsTest, LocaleAndFontAreToldInTheChromesOwnTerms) {
  withBinding([this] {
    LocaleHandler::instance().onRegionChange("zh_Hant_TW");
    LocaleHandler::instance().onLanguageChange("eo");
    EXPECT_EQ(callNative({"application.systemRegion"}), "zh-Hant_TW");
    LocaleHandler::instance().onRegionChange("Mars");
    EXPECT_EQ(callNative({"application.systemRegion"}), "Mars");
    LocaleHandler::instance().onRegionChange("Mars");
    // 12.3 points on a screen of 100 by 200 pixels per inch: 25.625
    Screen::primaryScreen().setPixelsPerInch({100, 200});
    FontInfo::instance().onFontInfoChange("A Family", 12.3F);
    EXPECT_EQ(callNative({"application.systemFontFamily"}), "A Family");
    EXPECT_EQ(callNative({"application.systemFontSize"}), "26");
    EXPECT_THAT(
        told(),
        ElementsAre("application.onRegionChange zh-Hant_TW", "application.onLanguageChange eo",
                    "application.onRegionChange Mars", "application.onFontInfoChange A Family 26"));
  });
}

TEST_F(NavigatorBindingsTest, EveryNotificationCallsTheChromeOnceWithItsTexts) {
  withBinding([this] {
    for (const Notification& row : notifications()) {
      const std::string name = std::string(row.group) + "." + row.name;
      if (name == "application.onExit") continue;  // the end of everything
      EXPECT_FALSE(raiseNotification(row.name, std::vector<String>(row.count, "7")));
      std::string expected = name;
      for (unsigned i = 0; i < row.count; ++i) expected += " 7";
      if (name == "application.onFontInfoChange") expected = name + " 7 9";
      // The one that is a question.
      const bool isTold = name != "application.onRotateCheck";
      EXPECT_EQ(told(), isTold ? std::vector{expected} : std::vector<std::string>());
    }
    EXPECT_TRUE(NavigatorHandler::instance().onRotateCheck("a", "b"));
    EXPECT_FALSE(NavigatorHandler::instance().onRotate("a", "b"));
  });
}

TEST_F(NavigatorBindingsTest, TheEndIsToldAndThenComes) {
  withBinding([this] {
    NavigatorHandler::instance().onExit();
    // Waited for: afterwards there is no page to hear it.
    ASSERT_EQ(page->called.size(), 1u);
    EXPECT_THAT(page->called[0].path, ElementsAre("chrome", "internal", "application", "onExit"));
    EXPECT_TRUE(page->closed);
  });
}

TEST_F(NavigatorBindingsTest, WithoutAWebViewNotificationsAreDropped) {
  inOwnProcess([this] {
    const ApplicationBinding binding(nullptr, nullptr);
    NavigatorHandler::instance().onWindowActive();
    EXPECT_EQ(callNative({"application.setKeyboardFocus", "1"}), "");
    EXPECT_THAT(told(), IsEmpty());
  });
}

TEST_F(NavigatorBindingsTest, InvocationsReachTheNavigatorAndWrongCountsDoNot) {
  withBinding([this] {
    struct {
      std::string function;
      int count;  // 0 where nobody counts
    } const functions[] = {{"closeViewer", 2},       {"invoke", 3},
                           {"invokeViewer", 4},      {"queryTargets", 3},
                           {"setViewerPosition", 4}, {"setViewerVisibility", 3},
                           {"setViewerZOrder", 3},   {"viewerRelay", 3},
                           {"cardPeek", 2},          {"cardClose", 2},
                           {"cardResize", 2},        {"getInvokeTargetFilters", 3},
                           {"cardChildClose", 0},    {"setInvokeTargetFilters", 3},
                           {"invokeRequest", 0}};
    for (const auto& [function, count] : functions) {
      const std::string full = "invocation." + function;
      std::vector<const char*> arguments(count ? static_cast<std::size_t>(count) : 3, "7");
      arguments[0] = full.c_str();
      EXPECT_EQ(callNative(arguments), "");
      EXPECT_THAT(errors(), IsEmpty());
      ASSERT_EQ(requests.size(), 1u) << function;
      EXPECT_EQ(requests.back().substr(0, function.size()), function);
      requests.clear();
      if (!count) continue;
      arguments.push_back("7");
      callNative(arguments);
      std::string name = "js" + function;
      name[2] = static_cast<char>(name[2] - 'a' + 'A');
      EXPECT_THAT(errors(), ElementsAre(countError(name.c_str(), count + 1, count)));
      EXPECT_THAT(requests, IsEmpty());
    }
  });
}

TEST_F(NavigatorBindingsTest, NumbersAndTruthValuesAreReadAsFarAsTheyGo) {
  withBinding([this] {
    callNative({"invocation.setViewerPosition", "v", "12px", "left"});
    callNative({"invocation.setViewerVisibility", "v", "TRUE"});
    callNative({"invocation.setViewerVisibility", "v", "true"});
    callNative({"invocation.setViewerZOrder", "v", "-1"});
    EXPECT_THAT(requests, ElementsAre("setViewerPosition v 12 0", "setViewerVisibility v false",
                                      "setViewerVisibility v true", "setViewerZOrder v -1"));
  });
}

}  // namespace

// The invocation.* functions and the chrome's functions for their answers. The module registers
// once per process, so every test has a process of its own.
#include "bindings/InvocationBinding.h"
#include "platform/navigator/NavigatorHandler.h"
#include "platform/navigator/Notifications.h"
#include "tests/support/ChromeFixture.h"

namespace {

using Tessel::Platform::NavigatorHandler;
using Tessel::Platform::NavigatorService;
using Tessel::Platform::Notification;
using Tessel::Platform::notifications;
using Tessel::Platform::raiseNotification;
using Tessel::Platform::String;
using test_support::inOwnProcess;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class InvocationBindingTest : public test_support::ChromeFixture {
 protected:
  void withBinding(const std::function<void()>& body) {
    inOwnProcess([&] {
      NavigatorHandler::instance().setWatcher(
          [this](const char* name, const std::vector<String>& arguments) {
            std::string text = name;
            for (const String& argument : arguments) text += " " + argument.toStdString();
            requests.push_back(text);
          });
      const InvocationBinding binding(root);
      body();
    });
  }

  std::vector<std::string> requests;
};

TEST_F(InvocationBindingTest, RequestsReachTheNavigatorAndWrongCountsDoNot) {
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

TEST_F(InvocationBindingTest, NumbersAndTruthValuesAreReadAsFarAsTheyGo) {
  withBinding([this] {
    callNative({"invocation.setViewerPosition", "v", "12px", "left"});
    callNative({"invocation.setViewerVisibility", "v", "TRUE"});
    callNative({"invocation.setViewerVisibility", "v", "true"});
    callNative({"invocation.setViewerZOrder", "v", "-1"});
    EXPECT_THAT(requests, ElementsAre("setViewerPosition v 12 0", "setViewerVisibility v false",
                                      "setViewerVisibility v true", "setViewerZOrder v -1"));
  });
}

TEST_F(InvocationBindingTest, TheRequestOfThisProgramIsAResult) {
  struct : NavigatorService {
    String invokeRequest() override { return R"({"uri":"a"})"; }
  } service;
  withBinding([&] {
    NavigatorHandler::instance().addService(&service);
    EXPECT_EQ(callNative({"invocation.invokeRequest", "some", "thing"}), R"({"uri":"a"})");
  });
}

TEST_F(InvocationBindingTest, EveryAnswerCallsTheChromeOnceWithItsTexts) {
  withBinding([this] {
    for (const Notification& row : notifications()) {
      page->posted.clear();
      const std::vector<String> arguments(row.count, "7");
      EXPECT_FALSE(raiseNotification(row.name, arguments));
      if (row.group == std::string("application")) {
        EXPECT_THAT(page->posted, IsEmpty()) << row.name;
        continue;
      }
      ASSERT_EQ(page->posted.size(), 1u) << row.name;
      EXPECT_THAT(page->posted[0].path, ElementsAre("chrome", "internal", "invocation", row.name));
      EXPECT_EQ(page->posted[0].arguments,
                std::vector<JavaScriptVariant>(row.count, JavaScriptVariant("7")));
    }
  });
}

}  // namespace

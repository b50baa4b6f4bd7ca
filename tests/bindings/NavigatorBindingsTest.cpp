// The application.* and invocation.* functions, and the chrome's functions for its environment. The
// modules register once per process, so every test runs in a separate process.
#include "bindings/ApplicationBinding.h"
#include "bindings/InvocationBinding.h"
#include "platform/desktop/NavigatorHandler.h"
#include "tests/support/ChromeFixture.h"

namespace {

using Tessel::Platform::NavigatorHandler;
using Tessel::Platform::String;
using test_support::inOwnProcess;
using ::testing::ElementsAre;

class NavigatorBindingsTest : public test_support::ChromeFixture {
 protected:
  // In a separate process, with the modules.
  void withBinding(const std::function<void()>& body) {
    inOwnProcess([&] {
      NavigatorHandler::instance().setWatcher(
          [this](const char* name, const std::vector<String>& arguments) {
            std::string text = name;
            for (const String& argument : arguments) text += " " + argument.toStdString();
            requests.push_back(text);
          });
      const ApplicationBinding binding(root, [](int) {});
      const InvocationBinding invocation(root);
      body();
    });
  }

  std::vector<std::string> requests;
};

TEST_F(NavigatorBindingsTest, EnvironmentPathsDomainsAndTurningAreAnswered) {
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
    // Rotation is accepted, and carried out by the chrome.
    EXPECT_TRUE(NavigatorHandler::instance().onRotateCheck("a", "b"));
    EXPECT_FALSE(NavigatorHandler::instance().onRotate("a", "b"));
  });
}

TEST_F(NavigatorBindingsTest, NumbersAndTruthValuesAreReadAsFarAsTheyGo) {
  withBinding([this] {
    callNative({"invocation.cardChildClose", "nobody", "counts"});
    callNative({"invocation.setViewerPosition", "v", "12px", "left"});
    callNative({"invocation.setViewerVisibility", "v", "TRUE"});
    callNative({"invocation.setViewerVisibility", "v", "true"});
    callNative({"invocation.setViewerZOrder", "v", "-1"});
    EXPECT_THAT(requests, ElementsAre("cardChildClose", "setViewerPosition v 12 0",
                                      "setViewerVisibility v false", "setViewerVisibility v true",
                                      "setViewerZOrder v -1"));
  });
}

}  // namespace

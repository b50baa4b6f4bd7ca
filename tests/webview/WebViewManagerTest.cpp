// The owner of all web views, and its reports to the chrome.
#include "platform/os/Settings.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/StandardErrorPipe.h"
#include "webview/WebViewManager.h"

#include <future>
#include <thread>

namespace {

using Tessel::Platform::concat;
using Tessel::Platform::executableMessage;
using Tessel::Platform::GuardedPointer;
using Tessel::Platform::Settings;
using test_support::exitStatusOf;
using test_support::inOwnProcess;
using test_support::turnLoop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WebViewManagerTest : public test_support::ChromeFixture {
 protected:
  void deleteWebView(unsigned int handle) {
    EXPECT_EQ(callNative({"webview.delete", std::to_string(handle).c_str()}), "");
  }
  std::string send(unsigned int handle, EventType event) {
    return manager.sendEvent(handle, event, "{}").toStdString();
  }
};

TEST_F(WebViewManagerTest, ChromeIsNotToldAboutItsOwnScripts) {
  const auto post = [&](unsigned int handle, EventType event) {
    manager.postEvent(handle, event, "{}", 5);
  };
  for (const EventType event : {EventType::JavaScriptResult, EventType::JavaScriptFunctionResult,
                                EventType::JavaScriptCallback}) {
    post(1, event);
    EXPECT_THAT(events(), IsEmpty()) << nameOf(event).utf8();
    post(77, event);
    EXPECT_THAT(events(), ElementsAre(concat("77 ", nameOf(event), " {}").toStdString()));
  }
  post(1, EventType::Focus);
  EXPECT_EQ(page->posted.at(0).arguments.at(3), JavaScriptVariant(5));
  EXPECT_THAT(events(), ElementsAre("1 Focus {}"));
}

TEST_F(WebViewManagerTest, SentEventsAreAnsweredByTheChromeOnAnyThreadAndNotFiltered) {
  std::thread::id answeredOn;
  page->answer = [&](const FunctionCall& call) {
    answeredOn = std::this_thread::get_id();
    return JavaScriptVariant(call.arguments[1]);
  };
  EXPECT_EQ(send(1, EventType::JavaScriptCallback), "JavaScriptCallback");
  EXPECT_EQ(answeredOn, std::this_thread::get_id());
  EXPECT_EQ(std::async(std::launch::async, [&] { return send(9, EventType::OpenWindow); }).get(),
            "OpenWindow");
  EXPECT_NE(answeredOn, std::this_thread::get_id());
}

TEST_F(WebViewManagerTest, AWindowOfItsOwnGoesWhenItIsClosed) {
  WebView* const own = manager.createOwnWebView(manager.rootWebView()->windowGroup());
  ASSERT_TRUE(own);
  const unsigned int handle = own->handle();
  own->destroy();
  turnLoop();
  EXPECT_EQ(manager.webViewForHandle(handle), nullptr) << "the chrome does not know it";
}

TEST_F(WebViewManagerTest, WebViewMayBeDeletedInsideItsOwnEvent) {
  const unsigned int handle = createWebView();
  const auto itsPage = pageOf(handle);
  const GuardedPointer<WebView> view(&webView(handle));
  webView(handle).setWebEventEnabled(Event::JavaScriptCallback, true);
  page->answer = [&](const FunctionCall&) {
    deleteWebView(handle);
    EXPECT_FALSE(view) << "it is gone for everybody else";
    EXPECT_FALSE(itsPage->closed) << "but not while it handles its event";
    return JavaScriptVariant("{\"setResult\":\"last words\"}");
  };
  EXPECT_EQ(itsPage->raise(Callback({"f"})).result(), "last words");
  EXPECT_TRUE(itsPage->closed);
}

TEST_F(WebViewManagerTest, LoopEndsWithTheLastWebViewUnlessAnotherOneCameMeanwhile) {
  inOwnProcess([this] {
    Settings::instance().setChromeProcess(true);
    const unsigned int other = createWebView();
    manager.destroyWebView(1);
    turnLoop();
    // The deferred creation runs before the check for remaining web views.
    const unsigned int next = manager.createWebView(group, WebViewManager::inThisProcess);
    manager.destroyWebView(other);
    client.dispatchMessage(executableMessage([&] {
      EXPECT_NE(manager.webViewForHandle(next), nullptr);
      manager.destroyWebView(next);
    }));
    EXPECT_EQ(exitStatusOf(client), 0);
    EXPECT_EQ(manager.webViewForHandle(next), nullptr) << "the loop ended too early";
  });
}

TEST_F(WebViewManagerTest, ShutdownEndsEveryWebViewAndThenTheLoop) {
  inOwnProcess([this] {
    Settings::instance().setChromeProcess(true);
    const unsigned int first = createWebView();
    const unsigned int second = createWebView();
    // Even one that would not report its end.
    webView(second).setAllWebEventsEnabled(false);
    // Its end was reported, but it was not deleted.
    const unsigned int ended = createWebView();
    webView(ended).destroy();
    turnLoop();
    // Its creation is still pending at the shutdown.
    const unsigned int unmade = manager.createWebView(group, WebViewManager::inThisProcess);
    manager.shutdown();
    EXPECT_EQ(manager.createWebView(group, WebViewManager::inThisProcess), 0u);
    EXPECT_NE(manager.webViewForHandle(first), nullptr) << "its end has yet to be reported";
    EXPECT_EQ(exitStatusOf(client), 0);
    for (const unsigned int handle : {1u, first, second, ended, unmade}) {
      EXPECT_EQ(manager.webViewForHandle(handle), nullptr) << handle;
    }
  });
}

}  // namespace

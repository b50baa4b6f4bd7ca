// Web views on pages without an engine.
#include "engine/OrvWebView.h"
#include "tests/support/ChromeFixture.h"

namespace {

using Tessel::Platform::String;
using test_support::FakePage;
using test_support::FakePageFactory;
using test_support::turnLoop;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Event = OrvWebEvent;
using Changed = OrvWebPropertyChangedEvent;

class TracingView final : public OrvWebView {
 public:
  std::vector<int> events;      // types
  std::vector<int> properties;  // of the changes among them

 private:
  void handleWebEvent(OrvWebEvent* event) override {
    events.push_back(event->type());
    if (event->type() == Event::PropertyChanged) {
      properties.push_back(static_cast<Changed*>(event)->property());
    }
  }
};

class OrvWebViewTest : public ::testing::Test {
 protected:
  OrvWebViewTest() { test_support::topLevelWindow("views"); }

  // Gives the view its page; what is raised from then on is new.
  std::shared_ptr<FakePage> open(TracingView& opened) {
    EXPECT_TRUE(opened.initialize("views", 90));
    turnLoop();
    opened.events.clear();
    opened.properties.clear();
    return FakePageFactory::instance().pageOf(opened);
  }

  Tessel::Platform::MainMessageClient client{0, -1};
  FakePageFactory& pages = FakePageFactory::instance();
  TracingView view;
};

TEST_F(OrvWebViewTest, WithoutAGroupThereIsNoPageAndWithOneThereIsOne) {
  EXPECT_FALSE(view.initialize("no such group", 0));
  view.loadURL("local:///");
  view.setDefaultFontSize(20);
  EXPECT_THAT(view.historyList(), IsEmpty());
  EXPECT_EQ(view.executeJavaScriptFunctionSync({"f"}, {}), JavaScriptVariant());
  turnLoop();
  EXPECT_THAT(view.events, ElementsAre(Event::PropertyChanged));

  const auto page = open(view);
  EXPECT_FALSE(view.initialize("views", 0)) << "it has its page already";
  view.destroy();
  view.destroy();
  EXPECT_TRUE(page->closed);
  EXPECT_THAT(view.events, IsEmpty());
  turnLoop();
  EXPECT_THAT(view.events, ElementsAre(Event::Destroyed)) << "once";
}

TEST_F(OrvWebViewTest, ViewDeletedBeforeItsLaterEventHearsNothing) {
  auto shortLived = std::make_unique<TracingView>();
  ASSERT_TRUE(shortLived->initialize("views", 0));
  const auto page = pages.pageOf(*shortLived);
  shortLived.reset();
  EXPECT_TRUE(page->closed);
  turnLoop();
}

TEST_F(OrvWebViewTest, OnlyEnabledEventsAreRaised) {
  EXPECT_TRUE(view.isAllWebEventsEnabled());
  const auto page = open(view);
  view.setWebEventEnabled(Event::Focus, false);
  EXPECT_FALSE(view.isAllWebEventsEnabled());
  EXPECT_TRUE(view.isAnyWebEventsEnabled());
  EXPECT_FALSE(page->client.wants(Event::Focus));
  page->raise(Event(Event::Focus));
  page->raise(Event(Event::TypeMax));
  EXPECT_THAT(view.events, ElementsAre(Event::TypeMax));

  view.setAllWebEventsEnabled(false);
  EXPECT_FALSE(view.isAnyWebEventsEnabled());
  view.destroy();
  turnLoop();
  EXPECT_THAT(view.events, ElementsAre(Event::TypeMax));
}

TEST_F(OrvWebViewTest, PropertyChangeNeedsItsPropertyAndTheEventEnabled) {
  const auto page = open(view);
  view.setPropertyChangedEventEnabled(Changed::Title, false);
  EXPECT_FALSE(view.isAllPropertyChangedEventsEnabled());
  page->client.update<&PageState::title>(String("a"));
  EXPECT_EQ(view.title(), "a") << "the value is kept all the same";
  page->client.update<&PageState::location>(String("local:///a"));
  page->client.update<&PageState::location>(String("local:///a"));
  EXPECT_THAT(view.properties, ElementsAre(Changed::Location));

  view.setPropertyChangedEventEnabled(Changed::Title, true);
  view.setWebEventEnabled(Event::PropertyChanged, false);
  page->client.update<&PageState::title>(String("b"));
  EXPECT_THAT(view.properties, ElementsAre(Changed::Location));
  view.setWebEventEnabled(Event::PropertyChanged, true);
  page->client.update<&PageState::title>(String("c"));
  EXPECT_THAT(view.properties, ElementsAre(Changed::Location, Changed::Title));
}

TEST_F(OrvWebViewTest, SettingIsToldToThePageAndReportedOnceAndOnlyWhenItChanges) {
  view.setUserAgent("before");
  EXPECT_THAT(view.properties, ElementsAre(Changed::UserAgent));
  const auto page = open(view);
  EXPECT_EQ(page->client.settings().userAgent, "before");
  view.setLoadImages(false);
  view.setLoadImages(false);
  view.setUserAgent("before");
  view.setDevicePixelRatio(2);
  // No property stands for this one.
  view.setEnableDiskCache(!view.isEnableDiskCache());
  EXPECT_THAT(view.properties, ElementsAre(Changed::LoadImages, Changed::DevicePixelRatio));
  EXPECT_THAT(page->changedSettings,
              ElementsAre(WebViewSetting::isLoadImages, WebViewSetting::devicePixelRatio,
                          WebViewSetting::isEnableDiskCache));
}

}  // namespace

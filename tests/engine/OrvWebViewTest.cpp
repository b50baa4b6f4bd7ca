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

class TracingView final : public OrvWebView {
 public:
  std::vector<int> events;  // types

 private:
  void handleWebEvent(OrvWebEvent* event) override { events.push_back(event->type()); }
};

class OrvWebViewTest : public ::testing::Test {
 protected:
  OrvWebViewTest() { test_support::topLevelWindow("views"); }

  // Creates the view's page; records events from then on.
  std::shared_ptr<FakePage> open(TracingView& opened) {
    EXPECT_TRUE(opened.initialize("views", 90));
    turnLoop();
    opened.events.clear();
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

}  // namespace

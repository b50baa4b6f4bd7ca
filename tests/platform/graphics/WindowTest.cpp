// Windows, their groups and handles, in the in-memory window system.
#include "platform/graphics/MemoryWindowSystem.h"
#include "platform/graphics/Window.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <vector>

namespace Tessel::Platform::Graphics {
namespace {

class TestWindow final : public Window {
 public:
  TestWindow(WindowType type, Window* parent, const char* group)
      : Window(type, parent, {0, 0, 80, 60}, {}, {}, 0, false, group) {}

  void addChildWindow(Window* child) override { children.push_back(child); }
  void removeChildWindow(Window* child) override { std::erase(children, child); }

  std::vector<Window*> children;
};

class WindowTest : public testing::Test {
 protected:
  WindowTest() {
    auto system = std::make_unique<MemoryWindowSystem>();
    system_ = system.get();
    WindowSystem::install(std::move(system));
  }

  static std::unique_ptr<TestWindow> topLevel(const char* group = "") {
    return std::make_unique<TestWindow>(WindowType::Application, nullptr, group);
  }
  static std::unique_ptr<TestWindow> child(Window* parent, const char* group = "") {
    return std::make_unique<TestWindow>(WindowType::Child, parent, group);
  }

  MemoryWindowSystem* system_ = nullptr;
};

TEST_F(WindowTest, AChildJoinsTheGroupOfItsParentOrOfTheName) {
  const auto top = topLevel("main");
  const auto other = topLevel();
  const auto byParent = child(top.get(), "ignored");
  const auto byName = child(nullptr, "main");
  const auto grandchild = child(byParent.get());
  for (const auto* window : {byParent.get(), byName.get(), grandchild.get()}) {
    EXPECT_EQ(window->windowGroup(), String("main"));
    EXPECT_TRUE(window->hasBuffer());
  }
  EXPECT_EQ(top->children, (std::vector<Window*>{byParent.get(), byName.get(), grandchild.get()}));
  EXPECT_TRUE(byParent->children.empty()) << "the top-level window is told";
  EXPECT_FALSE(other->windowGroup().isEmpty());
  EXPECT_EQ(Window::topLevelOf("main"), top.get());
  EXPECT_EQ(Window::topLevelOf(other->windowGroup()), other.get());
  EXPECT_NE(top->identifier(), byParent->identifier());

  const auto lost = child(nullptr, "nobody's");
  EXPECT_FALSE(lost->hasBuffer());
  EXPECT_FALSE(Window::fromPlatformHandle(lost->platformHandle()));
  lost->setVisible(false);
  lost->post({});
  clearBuffer(*lost, {});
  EXPECT_EQ(lost->surfaceSize(), IntSize());
}

TEST_F(WindowTest, ChildrenOutliveTheirTopLevelWindowUnseen) {
  auto top = topLevel("main");
  const auto orphan = child(top.get());
  top.reset();
  EXPECT_FALSE(Window::topLevelOf("main"));
  EXPECT_FALSE(orphan->hasBuffer());
  orphan->setZOrder(3);
  EXPECT_EQ(orphan->state().zOrder, 3);
  EXPECT_EQ(Window::fromPlatformHandle(orphan->platformHandle()), orphan.get());
  EXPECT_FALSE(child(orphan.get())->hasBuffer()) << "there is no window to be in";
  EXPECT_FALSE(setGroupKeyboardFocus(orphan->platformHandle(), 1));
  EXPECT_EQ(errno, ENODEV);

  const auto next = topLevel("main");
  EXPECT_FALSE(orphan->hasBuffer()) << "a new window of that name has children of its own";
}

TEST_F(WindowTest, AWindowWithoutRoomDoesNothing) {
  system_->full = true;
  const auto top = topLevel("main");
  EXPECT_FALSE(top->hasBuffer());
  EXPECT_EQ(Window::topLevelOf("main"), top.get());
  top->setGlobalAlpha(1);
  top->post({});
  EXPECT_FALSE(setGroupKeyboardFocus(top->platformHandle(), 1));
  EXPECT_EQ(errno, ENODEV);
  system_->full = false;
  EXPECT_FALSE(child(top.get())->hasBuffer()) << "it would be a top-level window of its own";
}

}  // namespace
}  // namespace Tessel::Platform::Graphics

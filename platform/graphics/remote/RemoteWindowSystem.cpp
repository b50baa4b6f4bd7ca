// The window system of a child process whose windows the application shows.
#include "platform/graphics/remote/RemoteWindowSystem.h"

#include "platform/base/Log.h"
#include "platform/graphics/Window.h"
#include "platform/graphics/gtk/ToolkitEnds.h"
#include "platform/graphics/gtk/WidgetHost.h"
#include "platform/graphics/remote/InputEvents.h"
#include "platform/graphics/remote/OffscreenView.h"
#include "platform/graphics/remote/PopUps.h"
#include "platform/graphics/remote/WindowConnection.h"

#include <gdk/gdkx.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <optional>

namespace Tessel::Platform::Graphics {

using namespace Remote;

// The connection and the receivers of its records.
class RemoteWindowSystem::Connected final : public WindowConnection::Client,
                                            public std::enable_shared_from_this<Connected> {
 public:
  explicit Connected(UniqueFd socket) : connection(std::move(socket), *this, GDK_PRIORITY_EVENTS) {}
  ~Connected() override { g_clear_object(&applicationWindow); }

  WindowConnection connection;
  OffscreenViews views{connection};
  StandIn* standIn = nullptr;
  std::map<int, Child*> children;
  std::optional<IntSize> size;  // of the application's window, once it is known
  GdkWindow* applicationWindow = nullptr;

 private:
  const char* receive(std::span<const char> bytes, UniqueFd file) override;
  void received() override { deliverMotion(); }
  void closed(const char* why) override {
    logAlways(LogNotice, "The window connection to the application is closed%s%s", why ? ": " : "",
              why ? why : "");
  }
  void receiveTopLevel(const TopLevelRecord& record);
  void receiveInput(const InputRecord& record);
  void deliverMotion();
  Child* find(int window) const;

  // Coalesced: only the last of a run counts.
  std::optional<InputRecord> motion_;
};

class RemoteWindowSystem::StandIn final : public WindowSurface {
 public:
  StandIn(std::shared_ptr<Connected> connected, Window& owner)
      : connected_(std::move(connected)), owner_(owner) {
    connected_->standIn = this;
  }
  ~StandIn() override { connected_->standIn = nullptr; }

  Connected& connected() const { return *connected_; }

  // The application controls its own window.
  void update(const WindowState&) override {}
  void clear(Color) override {}
  void post(const IntRect&) override {}
  IntSize size() const override {
    const IntRect& rect = owner_.state().rect;
    return connected_->size.value_or(IntSize{rect.width, rect.height});
  }
  void requestKeyboardFocus() override {
    connected_->connection.send(KeyboardRequestRecord{{KeyboardRequestRecord::recordType, 0}});
  }
  void resized() {
    if (WindowListener* listener = owner_.listener()) listener->windowResized(size());
  }

 private:
  std::shared_ptr<Connected> connected_;
  Window& owner_;
};

class RemoteWindowSystem::Child final : public WindowSurface, public WidgetHost {
 public:
  Child(std::shared_ptr<Connected> connected, Window& owner)
      : connected_(std::move(connected)),
        owner_(owner),
        handle_(owner.platformHandle()),
        state_(owner.state()) {
    connected_->children.emplace(handle_, this);
  }

  ~Child() override {
    connected_->children.erase(handle_);
    connected_->connection.send(WindowGoneRecord{{WindowGoneRecord::recordType, handle_}});
  }

  void show(GtkWidget* widget) override {
    view_.reset();
    view_ = std::make_unique<OffscreenView>(connected_->views, handle_, widget);
    tell();
    arrange();
    view_->setFocused(focused_);
  }

  void place(const WindowState& state) override {
    ++placement_;
    update(state);
  }
  bool isMovedByOthers() const override { return true; }
  void update(const WindowState& state) override {
    state_ = state;
    tell();
    arrange();
  }

  IntSize size() const override {
    if (!coversParent()) return {state_.rect.width, state_.rect.height};
    return connected_->standIn ? connected_->standIn->size() : IntSize();
  }

  void clear(Color color) override { cleared_ = color; }
  void post(const IntRect&) override {
    if (!cleared_) return;
    connected_->connection.send(FillRecord{{FillRecord::recordType, handle_}, *cleared_});
  }

  void requestKeyboardFocus() override {
    connected_->connection.send(
        KeyboardRequestRecord{{KeyboardRequestRecord::recordType, handle_}});
  }

  void applicationResized() { arrange(); }

  void place(const PlacementRecord& record) {
    // Ignore answers to an older rectangle.
    if (record.placement == placement_) {
      owner_.windowPlaced(record.rect, record.fillsParent != 0);
      state_ = owner_.state();
    }
    fillsScreen_ = record.fillsScreen != 0;
    mapped_ = record.mapped != 0;
    seen_ = record.seen != 0;
    arrange();
  }

  void frameShown(std::uint32_t frame) {
    if (view_) view_->frameShown(frame);
  }

  // This may be deleted by the call.
  void deliver(const InputRecord& record) {
    if (record.event == GDK_FOCUS_CHANGE) {
      focused_ = record.flag != 0;
      if (view_) view_->setFocused(focused_);
    } else if (view_) {
      view_->deliver(record);
    }
  }

 private:
  bool coversParent() const { return state_.fillsParent || fillsScreen_; }

  void tell() {
    const auto within = [](int value, int limit) { return std::clamp(value, -limit, limit); };
    WindowRecord record{};
    record.header = {WindowRecord::recordType, handle_};
    record.pid = getpid();
    record.placement = placement_;
    record.rect = {within(state_.rect.x, maximumPlace), within(state_.rect.y, maximumPlace),
                   std::clamp(state_.rect.width, 0, maximumSide),
                   std::clamp(state_.rect.height, 0, maximumSide)};
    record.fillsParent = state_.fillsParent;
    record.fullScreen = static_cast<std::int32_t>(state_.fullScreen);
    record.zOrder = state_.zOrder;
    record.visible = state_.visible;
    record.globalAlpha = state_.globalAlpha;
    record.sensitivity = static_cast<std::int32_t>(state_.sensitivity);
    record.transparency = state_.transparency;
    record.orientation = state_.orientation;
    record.hasContent = view_ != nullptr;
    if (std::memcmp(&record, &told_, sizeof record) == 0) return;
    told_ = record;
    connected_->connection.send(record);
  }

  void arrange() {
    if (!view_) return;
    view_->setCanFocus(state_.sensitivity != Sensitivity::NoFocus);
    view_->resize(size());
    const IntPoint place = coversParent() ? IntPoint() : IntPoint{state_.rect.x, state_.rect.y};
    view_->setPlace(connected_->applicationWindow, place);
    view_->setShown(mapped_, seen_);
  }

  std::shared_ptr<Connected> connected_;
  Window& owner_;
  const int handle_;
  WindowState state_;
  WindowRecord told_{};
  std::uint32_t placement_ = 0;
  bool fillsScreen_ = false;  // in the application
  bool mapped_ = false;
  bool seen_ = false;
  bool focused_ = false;
  std::optional<Color> cleared_;
  std::unique_ptr<OffscreenView> view_;
};

RemoteWindowSystem::Child* RemoteWindowSystem::Connected::find(int window) const {
  const auto found = children.find(window);
  return found == children.end() ? nullptr : found->second;
}

const char* RemoteWindowSystem::Connected::receive(std::span<const char> bytes, UniqueFd) {
  constexpr const char* malformed = "a record is malformed";
  // An input handler may destroy the window system.
  const auto self = shared_from_this();
  RecordHeader header{};
  if (bytes.size() < sizeof header) return malformed;
  std::memcpy(&header, bytes.data(), sizeof header);
  // Unknown windows have just been destroyed on this side.
  switch (header.type) {
    case RecordType::TopLevel: {
      TopLevelRecord record;
      if (!readRecord(bytes, record) || !isSize(record.size.width, record.size.height)) {
        return malformed;
      }
      receiveTopLevel(record);
      return nullptr;
    }
    case RecordType::Placement: {
      PlacementRecord record;
      if (!readRecord(bytes, record) || !isRect(record.rect)) return malformed;
      if (Child* child = find(header.window)) child->place(record);
      return nullptr;
    }
    case RecordType::FrameShown: {
      FrameShownRecord record;
      if (!readRecord(bytes, record)) return malformed;
      if (Child* child = find(header.window)) child->frameShown(record.number);
      return nullptr;
    }
    case RecordType::Input: {
      InputRecord record;
      if (!readRecord(bytes, record)) return malformed;
      receiveInput(record);
      return nullptr;
    }
    default:
      return malformed;
  }
}

void RemoteWindowSystem::Connected::receiveTopLevel(const TopLevelRecord& record) {
  g_clear_object(&applicationWindow);
  if (record.systemWindow != 0) {
    applicationWindow = gdk_x11_window_foreign_new_for_display(
        gdk_display_get_default(), static_cast<XID>(record.systemWindow));
  }
  const bool resized = size != record.size;
  size = record.size;
  // Layout does not call code that could create or destroy windows.
  for (auto& [handle, child] : children) child->applicationResized();
  if (resized && standIn) standIn->resized();
}

void RemoteWindowSystem::Connected::receiveInput(const InputRecord& record) {
  const std::uint64_t key = coalescingKey(record);
  if (key == 0 || (motion_ && coalescingKey(*motion_) != key)) deliverMotion();
  if (key != 0) {
    motion_ = record;
  } else if (Child* child = find(record.header.window)) {
    child->deliver(record);
  }
}

void RemoteWindowSystem::Connected::deliverMotion() {
  if (!motion_) return;
  const auto self = shared_from_this();
  const InputRecord record = *motion_;
  motion_.reset();
  if (Child* child = find(record.header.window)) child->deliver(record);
}

RemoteWindowSystem::RemoteWindowSystem(UniqueFd connection)
    : connected_(std::make_shared<Connected>(std::move(connection))) {}

RemoteWindowSystem::~RemoteWindowSystem() = default;

std::unique_ptr<RemoteWindowSystem> RemoteWindowSystem::create(UniqueFd connection) {
  gdk_set_allowed_backends("x11");
  // This input method queries the display about the focused window, which the display does not know
  // if it is off screen.
  if (g_strcmp0(g_getenv("GTK_IM_MODULE"), "xim") == 0) g_unsetenv("GTK_IM_MODULE");
  if (!gtk_init_check(nullptr, nullptr)) return nullptr;
  tellOfLostDisplay();
  preparePopUps();
  return std::unique_ptr<RemoteWindowSystem>(new RemoteWindowSystem(std::move(connection)));
}

std::unique_ptr<WindowSurface> RemoteWindowSystem::createSurface(Window& window,
                                                                 WindowSurface* parent) {
  if (!parent) {
    if (connected_->standIn) return nullptr;
    return std::make_unique<StandIn>(connected_, window);
  }
  auto* standIn = dynamic_cast<StandIn*>(parent);
  if (!standIn || connected_->children.size() >= maximumWindows) return nullptr;
  return std::make_unique<Child>(connected_, window);
}

void RemoteWindowSystem::flush(bool wait) {
  GdkDisplay* display = gdk_display_get_default();
  if (wait) {
    gdk_display_sync(display);
  } else {
    gdk_display_flush(display);
  }
}

}  // namespace Tessel::Platform::Graphics

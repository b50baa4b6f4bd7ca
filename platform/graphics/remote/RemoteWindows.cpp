// The windows that one child process has, shown inside a top-level window of the application.
#include "platform/graphics/remote/RemoteWindows.h"

#include "platform/base/Log.h"
#include "platform/graphics/gtk/GtkWindowSystem.h"
#include "platform/graphics/gtk/WidgetHost.h"
#include "platform/graphics/remote/Cursors.h"
#include "platform/graphics/remote/InputEvents.h"
#include "platform/graphics/remote/MirrorView.h"
#include "platform/graphics/remote/WindowConnection.h"

#include <gdk/gdkx.h>

#include <algorithm>
#include <map>

namespace Tessel::Platform::Graphics {

using namespace Remote;

namespace {

constexpr const char* malformed = "a record is malformed";

WindowState stateOf(const WindowRecord& record) {
  WindowState state;
  state.rect = record.rect;
  state.fillsParent = record.fillsParent != 0;
  state.fullScreen = static_cast<FullScreen>(record.fullScreen);
  state.zOrder = record.zOrder;
  state.visible = record.visible != 0;
  state.globalAlpha = record.globalAlpha;
  state.sensitivity = static_cast<Sensitivity>(record.sensitivity);
  state.transparency = record.transparency;
  state.orientation = record.orientation;
  return state;
}

bool isSound(const WindowRecord& record) {
  const auto truth = [](int value) { return value == 0 || value == 1; };
  return isRect(record.rect) && truth(record.fillsParent) && record.fullScreen >= 0 &&
         record.fullScreen <= static_cast<int>(FullScreen::Filling) && truth(record.visible) &&
         truth(record.hasContent) && record.globalAlpha >= 0 && record.globalAlpha <= 255 &&
         record.sensitivity >= static_cast<int>(Sensitivity::Test) &&
         record.sensitivity <= static_cast<int>(Sensitivity::Fullscreen);
}

bool isSound(const FrameRecord& record) {
  const IntSize size{record.width, record.height};
  if (!isSize(size.width, size.height) || !isScale(record.scale) ||
      FrameFile::bytesFor(size) > maximumFrameBytes || (record.buffer & ~1) != 0 ||
      (record.newFile & ~1) != 0 || record.rectCount > FrameRecord::maximumRects) {
    return false;
  }
  return std::all_of(record.rects.begin(), record.rects.begin() + record.rectCount, isRect);
}

}  // namespace

class RemoteWindows::Connected final : public WindowConnection::Client, public MirrorView::Client {
 public:
  Connected(UniqueFd connection, unsigned groupId, Window& topLevel);
  ~Connected() override { removeAll(); }

  bool isOpen() const { return open_; }

 private:
  struct Mirror {
    GuardedPointer<Window> window;
    WindowState told;  // by the child
    std::uint32_t placement = 0;
    PlacementRecord placed{};  // as the child knows
    std::unique_ptr<MirrorView> view;
  };

  const char* receive(std::span<const char> bytes, UniqueFd file) override;
  void received() override {}
  void closed(const char* why) override;
  void mirrorPlaced(int window) override;
  void mirrorShown(int window, std::uint32_t frame) override;
  void mirrorInput(const InputRecord& record) override;

  const char* receiveWindow(const WindowRecord& record);
  const char* receiveGone(const WindowGoneRecord& record);
  const char* receiveFill(const FillRecord& record);
  const char* receiveCursor(const CursorRecord& record);
  const char* receiveFrame(const FrameRecord& record, UniqueFd file);
  void requestKeyboard(int window);
  void apply(Mirror& mirror, const WindowState& state, bool isPlaced);
  void sendTopLevel();
  Mirror* find(int window);
  static void remove(Mirror& mirror);
  void removeAll();

  const unsigned groupId_;
  GuardedPointer<Window> topLevel_;
  GtkWidget* widget_;  // of the top-level window; null where there are none
  std::map<int, Mirror> mirrors_;
  TopLevelRecord toldTopLevel_{};
  bool open_ = true;
  WindowConnection connection_;
};

// Same priority as painting, so that a busy child does not starve it.
RemoteWindows::Connected::Connected(UniqueFd connection, unsigned groupId, Window& topLevel)
    : groupId_(groupId),
      topLevel_(&topLevel),
      widget_(GtkWindowSystem::topLevelWidget(topLevel)),
      connection_(std::move(connection), *this, GDK_PRIORITY_REDRAW) {
  if (widget_) {
    g_object_ref(widget_);
    const auto changed = [](GtkWidget*, gpointer, gpointer data) {
      static_cast<Connected*>(data)->sendTopLevel();
    };
    const auto realized = [](GtkWidget*, gpointer data) {
      static_cast<Connected*>(data)->sendTopLevel();
    };
    g_signal_connect(widget_, "size-allocate", G_CALLBACK(+changed), this);
    g_signal_connect_after(widget_, "realize", G_CALLBACK(+realized), this);
  }
  sendTopLevel();
}

void RemoteWindows::Connected::removeAll() {
  open_ = false;
  if (widget_) g_signal_handlers_disconnect_by_data(widget_, this);
  g_clear_object(&widget_);
  for (auto& [handle, mirror] : mirrors_) remove(mirror);
  mirrors_.clear();
}

void RemoteWindows::Connected::remove(Mirror& mirror) {
  mirror.view.reset();
  // A native function may be inside one of its operations.
  deleteGuardedObject(mirror.window.get());
}

void RemoteWindows::Connected::closed(const char* why) {
  if (why) {
    logAlways(LogError, "The windows of process group %u are removed: %s", groupId_, why);
  }
  removeAll();
}

void RemoteWindows::Connected::sendTopLevel() {
  Window* topLevel = topLevel_.get();
  if (!topLevel) return;
  TopLevelRecord record{};
  record.header = {TopLevelRecord::recordType, 0};
  record.size = topLevel->surfaceSize();
  GdkWindow* window = widget_ ? gtk_widget_get_window(widget_) : nullptr;
  if (window && GDK_IS_X11_WINDOW(window)) record.systemWindow = gdk_x11_window_get_xid(window);
  if (record.size == toldTopLevel_.size && record.systemWindow == toldTopLevel_.systemWindow) {
    return;
  }
  toldTopLevel_ = record;
  connection_.send(record);
}

RemoteWindows::Connected::Mirror* RemoteWindows::Connected::find(int window) {
  const auto found = mirrors_.find(window);
  return found == mirrors_.end() ? nullptr : &found->second;
}

void RemoteWindows::Connected::mirrorPlaced(int handle) {
  Mirror* mirror = find(handle);
  if (!mirror || !mirror->window || !mirror->view) return;
  const WindowState& state = mirror->window->state();
  const IntSize size = mirror->window->surfaceSize();
  PlacementRecord record{};
  record.header = {PlacementRecord::recordType, handle};
  record.placement = mirror->placement;
  record.rect = {0, 0, size.width, size.height};
  if (!state.fillsParent) record.rect = state.rect;
  record.fillsParent = state.fillsParent;
  record.fillsScreen = state.fullScreen == FullScreen::Filling;
  record.mapped = mirror->view->isMapped();
  record.seen = mirror->view->isSeen();
  if (std::memcmp(&record, &mirror->placed, sizeof record) == 0) return;
  mirror->placed = record;
  connection_.send(record);
}

void RemoteWindows::Connected::mirrorShown(int handle, std::uint32_t frame) {
  connection_.send(FrameShownRecord{{FrameShownRecord::recordType, handle}, frame});
}

void RemoteWindows::Connected::mirrorInput(const InputRecord& record) {
  connection_.send(record, -1, coalescingKey(record));
}

const char* RemoteWindows::Connected::receive(std::span<const char> bytes, UniqueFd file) {
  RecordHeader header{};
  if (bytes.size() < sizeof header) return malformed;
  std::memcpy(&header, bytes.data(), sizeof header);
  if (file && header.type != RecordType::Frame) return malformed;
  // Dispatches the bytes by the type in their header.
  const auto pass = [&](auto record, auto handler) {
    return readRecord(bytes, record) ? handler(record) : malformed;
  };
  switch (header.type) {
    case RecordType::Window:
      return pass(WindowRecord{}, [&](const auto& record) { return receiveWindow(record); });
    case RecordType::WindowGone:
      return pass(WindowGoneRecord{}, [&](const auto& record) { return receiveGone(record); });
    case RecordType::Fill:
      return pass(FillRecord{}, [&](const auto& record) { return receiveFill(record); });
    case RecordType::Frame:
      return pass(FrameRecord{},
                  [&](const auto& record) { return receiveFrame(record, std::move(file)); });
    case RecordType::Cursor:
      return pass(CursorRecord{}, [&](const auto& record) { return receiveCursor(record); });
    case RecordType::KeyboardRequest:
      return pass(KeyboardRequestRecord{}, [&](const auto& record) {
        requestKeyboard(record.header.window);
        return static_cast<const char*>(nullptr);
      });
    default:
      return "there is no such record";
  }
}

const char* RemoteWindows::Connected::receiveGone(const WindowGoneRecord& record) {
  const auto gone = mirrors_.find(record.header.window);
  if (gone == mirrors_.end()) return malformed;
  remove(gone->second);
  mirrors_.erase(gone);
  return nullptr;
}

const char* RemoteWindows::Connected::receiveFill(const FillRecord& record) {
  const Mirror* mirror = find(record.header.window);
  if (!mirror) return malformed;
  if (Window* window = mirror->window.get()) {
    clearBuffer(*window, record.color);
    const IntSize size = window->surfaceSize();
    window->post({0, 0, size.width, size.height});
  }
  return nullptr;
}

const char* RemoteWindows::Connected::receiveCursor(const CursorRecord& record) {
  const Mirror* mirror = find(record.header.window);
  if (!mirror) return malformed;
  if (const char* fault = faultOf(record)) return fault;
  if (mirror->view) mirror->view->setCursor(record);
  return nullptr;
}

const char* RemoteWindows::Connected::receiveWindow(const WindowRecord& record) {
  if (!isSound(record)) return malformed;
  const int handle = record.header.window;
  const WindowState state = stateOf(record);
  Mirror* mirror = find(handle);
  if (!mirror) {
    if (mirrors_.size() >= maximumWindows) return "it has too many windows";
    if (!Window::isHandleOf(groupId_, handle) || Window::fromPlatformHandle(handle)) {
      return "a window has a handle of another process";
    }
    // It cannot be shown any more; the window still exists in the child.
    if (!topLevel_) return nullptr;
    mirror = &mirrors_[handle];
    mirror->window = new Window(*topLevel_.get(), handle, record.pid, state);
    mirror->told = state;
  } else {
    apply(*mirror, state, record.placement != mirror->placement);
  }
  mirror->placement = record.placement;
  if (record.hasContent && !mirror->view && mirror->window) {
    if (WidgetHost* host = WidgetHost::of(*mirror->window.get())) {
      mirror->view = std::make_unique<MirrorView>(handle, *this);
      host->show(mirror->view->widget());
    }
  }
  mirrorPlaced(handle);
  return nullptr;
}

// Only what the child has changed: the application may have changed the rest in between.
void RemoteWindows::Connected::apply(Mirror& mirror, const WindowState& state, bool isPlaced) {
  const WindowState told = std::exchange(mirror.told, state);
  Window* window = mirror.window.get();
  if (!window) return;
  if (isPlaced && !state.fillsParent) window->setWindowRectangle(state.rect);
  if (state.fullScreen != told.fullScreen) window->setFullScreen(state.fullScreen);
  if (state.zOrder != told.zOrder) window->setZOrder(state.zOrder);
  if (state.visible != told.visible) window->setVisible(state.visible);
  if (state.globalAlpha != told.globalAlpha) window->setGlobalAlpha(state.globalAlpha);
  if (state.sensitivity != told.sensitivity) window->setSensitivity(state.sensitivity);
  if (state.transparency != told.transparency) window->setTransparency(state.transparency);
  if (state.orientation != told.orientation) window->setOrientation(state.orientation);
}

const char* RemoteWindows::Connected::receiveFrame(const FrameRecord& record, UniqueFd file) {
  Mirror* mirror = find(record.header.window);
  if (!mirror || !isSound(record) || (file ? 1 : 0) != record.newFile) return malformed;
  // Without a display nothing is shown, but records are validated all the same.
  FrameFile opened;
  const IntSize size{record.width, record.height};
  if (file) {
    opened = FrameFile::open(std::move(file), size);
    if (!opened) return "a frame's file is not what it should be";
    std::size_t bytes = opened.bytes();
    for (const auto& [handle, other] : mirrors_) {
      if (&other != mirror && other.view) bytes += other.view->file().bytes();
    }
    if (bytes > maximumFramesBytes) return "its frames are too large";
  }
  if (!mirror->view) return nullptr;
  if (opened) mirror->view->useFile(std::move(opened));
  if (!mirror->view->file() || mirror->view->file().size() != size) return malformed;
  mirror->view->showFrame(record.number, record.buffer, record.scale,
                          {record.rects.data(), record.rectCount}, record.newFile != 0);
  return nullptr;
}

void RemoteWindows::Connected::requestKeyboard(int handle) {
  Window* window = topLevel_.get();
  if (handle != 0) {
    const Mirror* mirror = find(handle);
    window = mirror ? mirror->window.get() : nullptr;
  }
  if (window && window->surface()) window->surface()->requestKeyboardFocus();
}

RemoteWindows::RemoteWindows(UniqueFd connection, unsigned groupId, Window& topLevel)
    : connected_(std::make_unique<Connected>(std::move(connection), groupId, topLevel)) {}

RemoteWindows::~RemoteWindows() = default;

bool RemoteWindows::isConnected() const {
  return connected_->isOpen();
}

}  // namespace Tessel::Platform::Graphics

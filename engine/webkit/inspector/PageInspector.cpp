// The engine's inspector of one page, for a remote front end. Main thread.
#include "engine/webkit/inspector/PageInspector.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/inspector/EngineInspector.h"
#include "engine/webkit/inspector/TargetProtocol.h"
#include "platform/base/Log.h"

#include <libsoup/soup.h>

#include <deque>
#include <string>
#include <vector>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::String;

namespace {

// The longest message of the engine: a picture of the page, a snapshot of its memory.
constexpr guint64 longestMessage = 32u << 20;
// The bytes a front end may send before the session is established.
constexpr std::size_t mostUnsent = 8u << 20;
// The socket of a page that is not inspected yet sends a message at once; milliseconds to wait.
constexpr guint patience = 2000;
// A page that has just been made may not be in the engine's list yet.
constexpr guint listAgain = 300;
constexpr int mostLists = 20;

}  // namespace

// From the search for the page's socket to its end.
class PageInspector::Session : public std::enable_shared_from_this<Session> {
 public:
  Session(PageContext& page, WebKitWebView* view) : page_(page), view_(view) {}
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void begin();
  void send(const String& message);

 private:
  using Weak = std::weak_ptr<Session>;

  EngineInspector& engine() { return page_.services().inspector; }
  void list();
  void tryNext();
  void connectTo(const std::string& path);
  void drop();
  void wait(guint milliseconds, void (Session::*then)());
  void received(const std::string& message);
  void flush();
  void transmit(const std::string& message);
  void giveUp(const char* why);

  static void onConnected(GObject* session, GAsyncResult* result, gpointer weak);
  static void onMessage(SoupWebsocketConnection*, SoupWebsocketDataType, GBytes* bytes,
                        Session* self);
  static void onClosed(SoupWebsocketConnection*, Session* self);

  PageContext& page_;
  WebKitWebView* const view_;
  GCancellable* const cancellable_ = g_cancellable_new();
  int lists_ = 0;
  std::deque<std::string> candidates_;
  std::string path_;    // that is tried or in use
  bool found_ = false;  // in use
  guint timer_ = 0;
  void (Session::*then_)() = nullptr;
  std::unique_ptr<EngineInspector::Passage> passage_;
  SoupWebsocketConnection* socket_ = nullptr;
  TargetProtocol protocol_;
  std::vector<String> unsent_;
  std::size_t unsentBytes_ = 0;
};

PageInspector::Session::~Session() {
  drop();
  g_cancellable_cancel(cancellable_);
  g_object_unref(cancellable_);
}

void PageInspector::Session::drop() {
  if (timer_ != 0) g_source_remove(std::exchange(timer_, 0));
  if (socket_) {
    g_signal_handlers_disconnect_by_data(socket_, this);
    if (soup_websocket_connection_get_state(socket_) == SOUP_WEBSOCKET_STATE_OPEN) {
      soup_websocket_connection_close(socket_, SOUP_WEBSOCKET_CLOSE_NORMAL, nullptr);
    }
    // Closing the connection ends the engine's session.
    g_io_stream_close(soup_websocket_connection_get_io_stream(socket_), nullptr, nullptr);
    g_clear_object(&socket_);
  }
  passage_.reset();
}

void PageInspector::Session::wait(guint milliseconds, void (Session::*then)()) {
  then_ = then;
  timer_ = g_timeout_add(
      milliseconds,
      [](gpointer data) -> gboolean {
        const auto self = static_cast<Session*>(data)->shared_from_this();
        self->timer_ = 0;
        (self.get()->*self->then_)();
        return G_SOURCE_REMOVE;
      },
      this);
}

void PageInspector::Session::begin() {
  if (!engine().isThere()) return giveUp("the engine's inspector server is not reachable");
  const std::string known = engine().pathOf(view_);
  known.empty() ? list() : connectTo(known);
}

void PageInspector::Session::list() {
  if (++lists_ > mostLists) return giveUp("the engine does not list the page");
  engine().list(cancellable_, [weak = weak_from_this()](const std::vector<std::string>& paths) {
    const auto self = weak.lock();
    if (!self) return;
    // The newest page is the most likely match.
    self->candidates_.assign(paths.rbegin(), paths.rend());
    self->tryNext();
  });
}

void PageInspector::Session::tryNext() {
  drop();
  while (!candidates_.empty()) {
    const std::string path = std::move(candidates_.front());
    candidates_.pop_front();
    if (!engine().isForeign(path, view_)) return connectTo(path);
  }
  wait(listAgain, &Session::list);
}

void PageInspector::Session::connectTo(const std::string& path) {
  path_ = path;
  passage_ = std::make_unique<EngineInspector::Passage>(engine());
  SoupSession* const session = passage_->session();
  if (!session) return giveUp("there are too many connections");
  SoupMessage* const message = soup_message_new("GET", passage_->address("ws", path).c_str());
  soup_session_websocket_connect_async(session, message, nullptr, nullptr, G_PRIORITY_DEFAULT,
                                       cancellable_, onConnected, new Weak(weak_from_this()));
  g_object_unref(message);
}

void PageInspector::Session::onConnected(GObject* session, GAsyncResult* result, gpointer data) {
  const std::unique_ptr<Weak> weak(static_cast<Weak*>(data));
  SoupWebsocketConnection* const socket =
      soup_session_websocket_connect_finish(SOUP_SESSION(session), result, nullptr);
  const auto self = weak->lock();
  if (!self) {
    if (socket) g_object_unref(socket);
    return;
  }
  if (!socket) return self->tryNext();
  self->socket_ = socket;
  soup_websocket_connection_set_max_incoming_payload_size(socket, longestMessage);
  g_signal_connect(socket, "message", G_CALLBACK(onMessage), self.get());
  g_signal_connect(socket, "closed", G_CALLBACK(onClosed), self.get());
  self->wait(patience, &Session::tryNext);
}

void PageInspector::Session::onMessage(SoupWebsocketConnection*, SoupWebsocketDataType,
                                       GBytes* bytes, Session* session) {
  gsize size = 0;
  const auto* text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  const auto self = session->shared_from_this();
  self->received({text, size});
}

void PageInspector::Session::received(const std::string& message) {
  if (!found_) {
    const std::string target = "page-" + std::to_string(webkit_web_view_get_page_id(view_));
    if (TargetProtocol::createdTarget(message) != target) return tryNext();
    found_ = true;
    g_source_remove(std::exchange(timer_, 0));
    engine().claim(path_, view_);
  }
  const auto page = page_.shared_from_this();
  if (auto text = protocol_.toFrontEnd(message)) {
    OrvWebInspectorMessageEvent event;
    event.message = String(std::move(*text));
    page->raise(event);
  }
  flush();
}

// Sends the messages that were queued before the session was established.
void PageInspector::Session::flush() {
  if (!socket_) return;
  for (const std::string& held : protocol_.takeHeld()) transmit(held);
  unsentBytes_ = 0;
  for (const String& message : std::exchange(unsent_, {})) send(message);
}

void PageInspector::Session::send(const String& message) {
  if (g_cancellable_is_cancelled(cancellable_)) return;
  if (!found_) {
    unsentBytes_ += message.length();
    if (unsentBytes_ > mostUnsent) return giveUp("too many unsent bytes");
    unsent_.push_back(message);
    return;
  }
  if (const auto wrapped = protocol_.toEngine(message.view())) transmit(*wrapped);
}

void PageInspector::Session::transmit(const std::string& message) {
  if (!socket_ || soup_websocket_connection_get_state(socket_) != SOUP_WEBSOCKET_STATE_OPEN) return;
  GBytes* const bytes = g_bytes_new(message.data(), message.size());
  soup_websocket_connection_send_message(socket_, SOUP_WEBSOCKET_DATA_TEXT, bytes);
  g_bytes_unref(bytes);
}

void PageInspector::Session::onClosed(SoupWebsocketConnection*, Session* session) {
  const auto self = session->shared_from_this();
  if (self->found_) return self->giveUp("the engine has ended the session");
  self->tryNext();
}

void PageInspector::Session::giveUp(const char* why) {
  logAlways(LogError, "The inspector session of a page has ended: %s.", why);
  drop();
  found_ = false;
  candidates_.clear();
  unsent_.clear();
  g_cancellable_cancel(cancellable_);
}

PageInspector::PageInspector(PageContext& page, WebKitWebView* view) : page_(page), view_(view) {}

PageInspector::~PageInspector() {
  end();
  page_.services().inspector.release(view_);
}

void PageInspector::end() {
  session_.reset();
}

void PageInspector::message(const String& text, bool connected) {
  if (!page_.client() || !page_.client()->settings().isEnableWebInspector) return end();
  if (!text.isEmpty()) {
    // Held: an answer may end it.
    if (const auto session = session_) session->send(text);
    return;
  }
  end();
  if (!connected) return;
  session_ = std::make_shared<Session>(page_, view_);
  session_->begin();
}

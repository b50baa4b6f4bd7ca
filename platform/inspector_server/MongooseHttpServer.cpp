// The HTTP server through which a developer's browser inspects the application's pages. Main
// thread, but for what the header allows on any thread.
#include "platform/inspector_server/MongooseHttpServer.h"

#include "platform/base/Log.h"
#include "platform/base/RandomKey.h"
#include "platform/base/UniqueFd.h"
#include "platform/inspector_server/LoopbackPeer.h"
#include "platform/inspector_server/MeteredStream.h"
#include "platform/inspector_server/PageList.h"
#include "platform/loop/MessageClient.h"
#include "platform/sockets/AcceptSource.h"

#include <libsoup/soup.h>
#include <unistd.h>

#include <atomic>
#include <optional>
#include <set>
#include <utility>

namespace Tessel::Platform {

namespace {

// Idle connections are closed after so many seconds.
constexpr guint idleLimit = 30;
// Overhead of framing per message, and of control frames before its end.
constexpr std::size_t frameAllowance = 512u << 10;
constexpr std::size_t longestFrameHeader = 14;

const char* header(SoupServerMessage* message, const char* name) {
  const char* value =
      soup_message_headers_get_one(soup_server_message_get_request_headers(message), name);
  return value ? value : "";
}

void respond(SoupServerMessage* message, guint status, const char* type, const std::string& text) {
  SoupMessageHeaders* headers = soup_server_message_get_response_headers(message);
  soup_message_headers_replace(headers, "Cache-Control", "no-store");
  soup_message_headers_replace(headers, "X-Content-Type-Options", "nosniff");
  soup_message_headers_replace(headers, "X-Frame-Options", "DENY");
  soup_message_headers_replace(headers, "Referrer-Policy", "no-referrer");
  soup_server_message_set_status(message, status, nullptr);
  soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, text.data(), text.size());
}

void refuse(SoupServerMessage* message, guint status, const std::string& text) {
  // Whatever it still sends is discarded.
  soup_message_headers_replace(soup_server_message_get_response_headers(message), "Connection",
                               "close");
  respond(message, status, "text/plain; charset=utf-8", text);
}

GSocket* socketOf(GIOStream* stream) {
  // The library takes over the stream it is given.
  GIOStream* base = nullptr;
  if (!G_IS_SOCKET_CONNECTION(stream)) {
    if (!g_object_class_find_property(G_OBJECT_GET_CLASS(stream), "base-iostream")) return nullptr;
    g_object_get(stream, "base-iostream", &base, nullptr);
    stream = base;
  }
  GSocket* const socket = G_IS_SOCKET_CONNECTION(stream)
                              ? g_socket_connection_get_socket(G_SOCKET_CONNECTION(stream))
                              : nullptr;
  // Owned by its wrapper.
  if (base) g_object_unref(base);
  return socket;
}

bool hasBody(SoupServerMessage* message) {
  SoupMessageHeaders* headers = soup_server_message_get_request_headers(message);
  const SoupEncoding encoding = soup_message_headers_get_encoding(headers);
  return encoding == SOUP_ENCODING_CHUNKED ||
         (encoding == SOUP_ENCODING_CONTENT_LENGTH &&
          soup_message_headers_get_content_length(headers) != 0);
}

}  // namespace

class MongooseHttpServer::Impl {
 public:
  void start();
  void stop();
  void setClient(MongooseClient* client);
  void send(const std::string& message, const GuardedPointer<WebSocketConnection>& connection);
  void close(const GuardedPointer<WebSocketConnection>& connection, bool tellClient,
             const char* reason);
  // Runs the function on the main thread; synchronously if already there.
  template <typename Work>
  static void onMainThread(Work work);

  std::atomic<bool> running = false;
  std::atomic<int> port = 0;
  bool preventOverride = false;
  std::string frontEnd;

 private:
  // A front end. Deleted once the WebSocket library has reported its close, or immediately if it is
  // cut off.
  struct FrontEnd final : WebSocketConnection {
    FrontEnd(Impl& itsServer, unsigned int itsHandle, GIOStream* stream, GUri* uri);
    ~FrontEnd() override;

    Impl& server;
    const unsigned int handle;
    const std::shared_ptr<StreamMeter> meter = std::make_shared<StreamMeter>();
    SoupWebsocketConnection* socket = nullptr;
    std::uint64_t queued = 0;  // total bytes, including the maximum overhead of framing
    bool ending = false;       // no longer reported to the client
  };
  struct Upgrade;

  bool listen(guint16 wanted);
  void accept(UniqueFd fd);
  void incoming(GSocketConnection* connection);
  bool isAllowed(GSocketAddress* remote, GSocketAddress* local);
  bool isInspectable(unsigned int handle) const;
  ServerAddresses addressesFor(SoupServerMessage* message) const;
  void answer(SoupServerMessage* message, const std::string& path);
  void answerInspect(SoupServerMessage* message, std::string_view handle);
  void answerFrontEndFile(SoupServerMessage* message, const std::string& name) const;
  void upgrade(SoupServerMessage* message, unsigned int handle);
  void connected(SoupServerMessage* message, unsigned int handle);
  void ended(FrontEnd& frontEnd);

  static void onHeaders(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*,
                        gpointer self);
  static void onRequest(SoupServer*, SoupServerMessage* message, const char* path, GHashTable*,
                        gpointer self);
  static void onMessage(SoupWebsocketConnection*, SoupWebsocketDataType type, GBytes* message,
                        FrontEnd* frontEnd);
  static void onClosed(SoupWebsocketConnection*, FrontEnd* frontEnd);

  MongooseClient* client_ = nullptr;
  SoupServer* server_ = nullptr;
  // Exists while the server is running.
  GSocket* listener_ = nullptr;
  std::optional<AcceptSource> accepting_;
  // The last reference to a connection may be released on a thread of the library.
  std::atomic<std::size_t> connections_ = 0;
  std::string token_;
  std::set<uid_t> refused_;
};

template <typename Work>
void MongooseHttpServer::Impl::onMainThread(Work work) {
  MainMessageClient* const main = MainMessageClient::instance();
  if (main && !main->isCurrentThread()) {
    main->dispatchMessage(executableMessage(std::move(work)));
  } else {
    work();
  }
}

MongooseHttpServer::Impl::FrontEnd::FrontEnd(Impl& itsServer, unsigned int itsHandle,
                                             GIOStream* stream, GUri* uri)
    : server(itsServer), handle(itsHandle) {
  meter->mostUnfinished = longestMessage + frameAllowance;
  GIOStream* const metered = meteredStream(stream, meter);
  socket = soup_websocket_connection_new(metered, uri, SOUP_WEBSOCKET_CONNECTION_SERVER, nullptr,
                                         nullptr, nullptr);
  g_object_unref(metered);
  soup_websocket_connection_set_max_incoming_payload_size(socket, longestMessage);
  g_signal_connect(socket, "message", G_CALLBACK(onMessage), this);
  g_signal_connect(socket, "closed", G_CALLBACK(onClosed), this);
}

MongooseHttpServer::Impl::FrontEnd::~FrontEnd() {
  g_signal_handlers_disconnect_by_data(socket, this);
  g_io_stream_close(soup_websocket_connection_get_io_stream(socket), nullptr, nullptr);
  g_object_unref(socket);
}

void MongooseHttpServer::Impl::start() {
  if (running) return;
  token_ = randomToken();
  if (token_.empty()) {
    logAlways(LogError,
              "The web inspector cannot be started: the kernel provides no random numbers.");
    return;
  }
  if (!server_) {
    server_ = soup_server_new(nullptr, nullptr);
    soup_server_add_early_handler(server_, nullptr, onHeaders, this, nullptr);
    soup_server_add_handler(server_, nullptr, onRequest, this, nullptr);
  }
  if (!listen(static_cast<guint16>(port.load())) && !listen(0)) return;
  running = true;
  logAlways(LogNotice, "The web inspector is at http://127.0.0.1:%d/", port.load());
}

bool MongooseHttpServer::Impl::listen(guint16 wanted) {
  GSocketAddress* const address = g_inet_socket_address_new_from_string("127.0.0.1", wanted);
  GError* error = nullptr;
  GSocket* const socket =
      g_socket_new(G_SOCKET_FAMILY_IPV4, G_SOCKET_TYPE_STREAM, G_SOCKET_PROTOCOL_TCP, &error);
  const bool listens =
      socket && g_socket_bind(socket, address, TRUE, &error) && g_socket_listen(socket, &error);
  g_object_unref(address);
  GSocketAddress* const effective = listens ? g_socket_get_local_address(socket, &error) : nullptr;
  if (!effective) {
    logAlways(LogError, "The web inspector cannot listen at port %d: %s", wanted, error->message);
    g_error_free(error);
    if (socket) g_object_unref(socket);
    return false;
  }
  port = g_inet_socket_address_get_port(G_INET_SOCKET_ADDRESS(effective));
  g_object_unref(effective);
  g_socket_set_blocking(socket, FALSE);
  listener_ = socket;
  accepting_.emplace(g_socket_get_fd(socket), [this](UniqueFd fd) { accept(std::move(fd)); });
  return true;
}

void MongooseHttpServer::Impl::stop() {
  if (!running) return;
  running = false;
  accepting_.reset();
  g_clear_object(&listener_);
}

void MongooseHttpServer::Impl::setClient(MongooseClient* client) {
  if (client == client_ || (preventOverride && client_)) return;
  if (MongooseClient* const previous = std::exchange(client_, nullptr)) {
    previous->disconnectAllPages();
  }
  client_ = client;
}

// Otherwise another user of the machine could take over the pages.
bool MongooseHttpServer::Impl::isAllowed(GSocketAddress* remote, GSocketAddress* local) {
  sockaddr_in peer{};
  sockaddr_in own{};
  if (!g_socket_address_to_native(remote, &peer, sizeof peer, nullptr) ||
      !g_socket_address_to_native(local, &own, sizeof own, nullptr)) {
    return false;
  }
  const auto user = userOfPeer(peer, own);
  if (user == ::geteuid() || user == 0) return true;
  if (user && refused_.insert(*user).second) {
    logAlways(LogError, "The web inspector refuses user %u: only its own user may connect.", *user);
  }
  return false;
}

void MongooseHttpServer::Impl::accept(UniqueFd fd) {
  // Releasing it closes it.
  if (connections_ >= mostConnections) return;
  GSocket* const socket = g_socket_new_from_fd(fd.get(), nullptr);
  if (!socket) return;
  static_cast<void>(fd.release());
  GSocketConnection* const connection = g_socket_connection_factory_create_connection(socket);
  g_object_unref(socket);
  incoming(connection);
  g_object_unref(connection);
}

void MongooseHttpServer::Impl::incoming(GSocketConnection* connection) {
  g_socket_set_timeout(g_socket_connection_get_socket(connection), idleLimit);
  GSocketAddress* const local = g_socket_connection_get_local_address(connection, nullptr);
  GSocketAddress* const remote = g_socket_connection_get_remote_address(connection, nullptr);
  if (local && remote && isAllowed(remote, local)) {
    ++connections_;
    g_object_weak_ref(
        G_OBJECT(connection),
        [](gpointer data, GObject*) { --static_cast<Impl*>(data)->connections_; }, this);
    soup_server_accept_iostream(server_, G_IO_STREAM(connection), local, remote, nullptr);
  }
  if (local) g_object_unref(local);
  if (remote) g_object_unref(remote);
}

// Rejects requests before their body is read.
void MongooseHttpServer::Impl::onHeaders(SoupServer*, SoupServerMessage* message, const char*,
                                         GHashTable*, gpointer data) {
  const auto* self = static_cast<Impl*>(data);
  soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
  // On a connection from before the server was stopped.
  if (!self->running) return refuse(message, SOUP_STATUS_SERVICE_UNAVAILABLE, "Stopped.");
  if (!isLocalHost(header(message, "Host"))) {
    return refuse(message, SOUP_STATUS_FORBIDDEN,
                  "Name this server by 127.0.0.1 or localhost, not by another name.");
  }
  const char* method = soup_server_message_get_method(message);
  if (method != SOUP_METHOD_GET && method != SOUP_METHOD_HEAD) {
    return refuse(message, SOUP_STATUS_METHOD_NOT_ALLOWED, "There is only something to get here.");
  }
  if (hasBody(message)) {
    refuse(message, SOUP_STATUS_REQUEST_ENTITY_TOO_LARGE, "Nothing is taken here.");
  }
}

void MongooseHttpServer::Impl::onRequest(SoupServer*, SoupServerMessage* message, const char* path,
                                         GHashTable*, gpointer data) {
  // The client may run nested loops in which the server is stopped.
  g_object_ref(message);
  static_cast<Impl*>(data)->answer(message, path);
  g_object_unref(message);
}

ServerAddresses MongooseHttpServer::Impl::addressesFor(SoupServerMessage* message) const {
  return {header(message, "Host"), token_, !frontEnd.empty()};
}

void MongooseHttpServer::Impl::answer(SoupServerMessage* message, const std::string& path) {
  constexpr std::string_view inspect = "/inspect/";
  constexpr std::string_view files = "/front-end/";
  if (path == "/" || path == "/json") {
    std::vector<InspectablePage> pages;
    if (client_) client_->inspectablePages(pages);
    const ServerAddresses addresses = addressesFor(message);
    if (path == "/json") {
      return respond(message, SOUP_STATUS_OK, "application/json; charset=utf-8",
                     pageListJson(pages, addresses));
    }
    soup_message_headers_replace(soup_server_message_get_response_headers(message),
                                 "Content-Security-Policy",
                                 "default-src 'none'; style-src 'unsafe-inline'");
    return respond(message, SOUP_STATUS_OK, "text/html; charset=utf-8",
                   pageListHtml(pages, addresses));
  }
  if (path.starts_with(inspect)) return answerInspect(message, path.substr(inspect.size()));
  if (path.starts_with(files)) return answerFrontEndFile(message, path.substr(files.size()));
  const SocketPath socket = socketPathFrom(path);
  if (socket.handle == 0 || !sameToken(socket.token, token_)) {
    return refuse(message, SOUP_STATUS_NOT_FOUND, "There is nothing here.");
  }
  // Reject pages of other local origins as well.
  const std::string origin = header(message, "Origin");
  if (!origin.empty() && origin != std::string("http://") + header(message, "Host")) {
    return refuse(message, SOUP_STATUS_FORBIDDEN, "This is not for pages of other servers.");
  }
  upgrade(message, socket.handle);
}

bool MongooseHttpServer::Impl::isInspectable(unsigned int handle) const {
  if (!client_ || handle == 0) return false;
  for (std::size_t i = 0;; ++i) {
    const unsigned int candidate = client_->inspectablePageAt(i);
    if (candidate == handle || candidate == 0) return candidate == handle;
  }
}

void MongooseHttpServer::Impl::answerInspect(SoupServerMessage* message, std::string_view text) {
  const unsigned int handle = handleFrom(text);
  if (!isInspectable(handle)) {
    return refuse(message, SOUP_STATUS_NOT_FOUND, client_ ? client_->pageNotFoundText() : "");
  }
  if (frontEnd.empty()) return refuse(message, SOUP_STATUS_NOT_FOUND, "There is no front end.");
  const std::string socket = addressesFor(message).socketOf(handle);
  constexpr std::string_view scheme = "ws://";
  const std::string place =
      "/front-end/Main.html?ws=" + socket.substr(scheme.size()) + std::string(frontEndKind);
  respond(message, SOUP_STATUS_OK, "text/plain", "");
  soup_server_message_set_redirect(message, SOUP_STATUS_FOUND, place.c_str());
}

void MongooseHttpServer::Impl::answerFrontEndFile(SoupServerMessage* message,
                                                  const std::string& name) const {
  // Resource names are compared literally, so that no path leaves their folder.
  GBytes* const file = frontEnd.empty()
                           ? nullptr
                           : g_resources_lookup_data((frontEnd + name).c_str(),
                                                     G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr);
  if (!file) return refuse(message, SOUP_STATUS_NOT_FOUND, "There is no such file.");
  gsize size = 0;
  const auto* content = static_cast<const char*>(g_bytes_get_data(file, &size));
  gchar* const kind = g_content_type_guess(name.c_str(), nullptr, 0, nullptr);
  gchar* const type = g_content_type_get_mime_type(kind);
  respond(message, SOUP_STATUS_OK, type ? type : "application/octet-stream", {content, size});
  g_free(type);
  g_free(kind);
  g_bytes_unref(file);
}

struct MongooseHttpServer::Impl::Upgrade {
  Impl* server;
  unsigned int handle;
};

void MongooseHttpServer::Impl::upgrade(SoupServerMessage* message, unsigned int handle) {
  if (!isInspectable(handle)) {
    return refuse(message, SOUP_STATUS_NOT_FOUND, client_ ? client_->pageNotFoundText() : "");
  }
  // Without permessage-deflate: a small frame must not expand to a large one.
  if (!soup_websocket_server_process_handshake(message, nullptr, nullptr, nullptr, nullptr)) return;
  g_signal_connect_data(
      message, "wrote-informational", G_CALLBACK(+[](SoupServerMessage* upgraded, Upgrade* which) {
        which->server->connected(upgraded, which->handle);
      }),
      new Upgrade{this, handle},
      [](gpointer data, GClosure*) { delete static_cast<Upgrade*>(data); },
      static_cast<GConnectFlags>(0));
}

void MongooseHttpServer::Impl::connected(SoupServerMessage* message, unsigned int handle) {
  GUri* const uri = g_uri_ref(soup_server_message_get_uri(message));
  GIOStream* const stream = soup_server_message_steal_connection(message);
  // A front end may be idle indefinitely.
  if (GSocket* const socket = socketOf(stream)) g_socket_set_timeout(socket, 0);
  auto* const frontEnd = new FrontEnd(*this, handle, stream, uri);
  g_object_unref(stream);
  g_uri_unref(uri);
  // It may have lost its page in the meantime.
  if (!isInspectable(handle)) return close(frontEnd, false, "The page has gone.");
  client_->setPageConnection(handle, frontEnd);
}

void MongooseHttpServer::Impl::onMessage(SoupWebsocketConnection*, SoupWebsocketDataType type,
                                         GBytes* bytes, FrontEnd* frontEnd) {
  frontEnd->meter->unfinished = 0;
  if (frontEnd->ending) return;
  Impl& server = frontEnd->server;
  if (type != SOUP_WEBSOCKET_DATA_TEXT) {
    return server.close(frontEnd, true, "Messages are text.");
  }
  gsize size = 0;
  const auto* text = static_cast<const char*>(g_bytes_get_data(bytes, &size));
  if (server.client_) server.client_->handleFrontEndMessage(frontEnd->handle, {text, size});
}

void MongooseHttpServer::Impl::onClosed(SoupWebsocketConnection*, FrontEnd* frontEnd) {
  frontEnd->server.ended(*frontEnd);
  deleteGuardedObject(frontEnd);
}

// It closed by itself, or the client must be told as if it had.
void MongooseHttpServer::Impl::ended(FrontEnd& frontEnd) {
  if (std::exchange(frontEnd.ending, true)) return;
  if (client_) client_->setPageConnection(frontEnd.handle, nullptr);
}

void MongooseHttpServer::Impl::send(const std::string& message,
                                    const GuardedPointer<WebSocketConnection>& connection) {
  const GuardedPin<WebSocketConnection> pin(connection);
  if (!pin) return;
  auto* const frontEnd = static_cast<FrontEnd*>(pin.get());
  if (frontEnd->ending ||
      soup_websocket_connection_get_state(frontEnd->socket) != SOUP_WEBSOCKET_STATE_OPEN) {
    return;
  }
  if (!g_utf8_validate_len(message.data(), message.size(), nullptr)) return;
  const std::uint64_t size = message.size() + longestFrameHeader;
  const std::uint64_t waiting =
      frontEnd->queued - std::min(frontEnd->queued, frontEnd->meter->written);
  if (waiting + size > longestQueue) {
    logAlways(LogError, "A web inspector front end does not read and is disconnected.");
    ended(*frontEnd);
    deleteGuardedObject(frontEnd);
    return;
  }
  // Once everything is sent, unused framing overhead is released.
  if (waiting <= longestFrameHeader) frontEnd->queued = frontEnd->meter->written;
  frontEnd->queued += size;
  GBytes* const bytes = g_bytes_new(message.data(), message.size());
  soup_websocket_connection_send_message(frontEnd->socket, SOUP_WEBSOCKET_DATA_TEXT, bytes);
  g_bytes_unref(bytes);
}

void MongooseHttpServer::Impl::close(const GuardedPointer<WebSocketConnection>& connection,
                                     bool tellClient, const char* reason) {
  const GuardedPin<WebSocketConnection> pin(connection);
  if (!pin) return;
  auto* const frontEnd = static_cast<FrontEnd*>(pin.get());
  if (tellClient) ended(*frontEnd);
  frontEnd->ending = true;
  if (soup_websocket_connection_get_state(frontEnd->socket) == SOUP_WEBSOCKET_STATE_OPEN) {
    soup_websocket_connection_close(frontEnd->socket, SOUP_WEBSOCKET_CLOSE_GOING_AWAY, reason);
  }
}

MongooseHttpServer* MongooseHttpServer::instance() {
  static auto* server = new MongooseHttpServer;
  return server;
}

MongooseHttpServer::MongooseHttpServer() : impl_(new Impl) {}

void MongooseHttpServer::start() {
  impl_->start();
}

void MongooseHttpServer::stop() {
  impl_->stop();
}

bool MongooseHttpServer::isRunning() const {
  return impl_->running;
}

int MongooseHttpServer::port() const {
  return impl_->port;
}

void MongooseHttpServer::setClient(MongooseClient* client) {
  impl_->setClient(client);
}

void MongooseHttpServer::setPreventClientOverride(bool prevent) {
  impl_->preventOverride = prevent;
}

void MongooseHttpServer::setFrontEnd(const std::string& resourceFolder) {
  const bool isThere =
      g_resources_get_info((resourceFolder + "Main.html").c_str(), G_RESOURCE_LOOKUP_FLAGS_NONE,
                           nullptr, nullptr, nullptr) != FALSE;
  impl_->frontEnd = isThere ? resourceFolder : std::string();
}

void MongooseHttpServer::sendWebSocketMessageToFrontEnd(
    const std::string& message, const GuardedPointer<WebSocketConnection>& connection) {
  Impl::onMainThread([impl = impl_, message, connection] { impl->send(message, connection); });
}

void MongooseHttpServer::closeWebSocketConnection(
    const GuardedPointer<WebSocketConnection>& connection, bool tellClient) {
  Impl::onMainThread([impl = impl_, connection, tellClient] {
    impl->close(connection, tellClient, "The inspector was closed, or opened in another place.");
  });
}

}  // namespace Tessel::Platform

// The inspector's server: requests, and WebSocket frames of an authorised front end.
#include "platform/inspector_server/MongooseHttpServer.h"
#include "platform/loop/MessageClient.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/support/HttpPeer.h"

using namespace Tessel::Platform;

namespace {

class OnePage final : public MongooseClient {
 public:
  void inspectablePages(std::vector<InspectablePage>& pages) override {
    pages.push_back({7, "<title>", "http://page.example/"});
  }
  void setPageConnection(unsigned int handle,
                         const GuardedPointer<WebSocketConnection>& connection) override {
    fuzz::require(handle == 7);
    connection_ = connection;
  }
  void handleFrontEndMessage(unsigned int handle, const std::string& message) override {
    fuzz::require(handle == 7 && g_utf8_validate_len(message.data(), message.size(), nullptr));
    MongooseHttpServer::instance()->sendWebSocketMessageToFrontEnd(message, connection_);
  }
  void disconnectAllPages() override {}
  unsigned int inspectablePageAt(std::size_t index) override { return index == 0 ? 7 : 0; }
  std::string pageNotFoundText() override { return "none"; }

 private:
  GuardedPointer<WebSocketConnection> connection_;
};

void settle() {
  for (int quiet = 0; quiet < 3;) quiet = g_main_context_iteration(nullptr, FALSE) ? 0 : quiet + 1;
}

// A connection that ends with a reset, so that no port remains in TIME_WAIT.
class Peer {
 public:
  explicit Peer(int port) : socket_(test_support::connectTo(port)) {
    const linger reset{1, 0};
    fuzz::require(::setsockopt(socket_.get(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset) == 0);
    settle();
  }
  std::string exchange(const std::string& bytes) {
    ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    settle();
    char answer[65536];
    const ssize_t count = ::recv(socket_.get(), answer, sizeof answer, MSG_DONTWAIT);
    return {answer, static_cast<std::size_t>(std::max<ssize_t>(count, 0))};
  }

 private:
  UniqueFd socket_;
};

struct Served {
  Served() {
    server.setClient(new OnePage);
    server.start();
    host = "Host: 127.0.0.1:" + std::to_string(server.port()) + "\r\n";
    const std::string list = Peer(server.port()).exchange("GET /json HTTP/1.1\r\n" + host + "\r\n");
    const auto start = list.find("/socket/");
    fuzz::require(start != list.npos);
    path = list.substr(start, list.find('"', start) - start);
  }
  MainMessageClient main{0, -1};
  MongooseHttpServer& server = *MongooseHttpServer::instance();
  std::string host;
  std::string path;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static auto* const served = new Served;
  fuzz::Input input(data, size);
  Peer peer(served->server.port());
  if (input.ConsumeBool()) {
    const std::string answer = peer.exchange(
        test_support::upgradeRequest(served->server.port(), served->path,
                                     input.ConsumeBool() ? input.ConsumeRandomLengthString() : ""));
  } else if (input.ConsumeBool()) {
    peer.exchange(input.ConsumeRandomLengthString() + " HTTP/1.1\r\n" + served->host);
  }
  for (int pieces = 0; pieces < 8 && input.remaining_bytes() > 0; ++pieces) {
    peer.exchange(input.ConsumeRandomLengthString());
  }
  return 0;
}

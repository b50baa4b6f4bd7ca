// The server that a developer's browser finds the application's pages at: a list of them, and a
// WebSocket each, over which an inspector's front end talks to its page. It knows neither pages nor
// inspectors: a client does.
//
// Only this user and root reach it, from this machine, at a port of its own, and only who names it
// by an address of this machine: a page whose name was made to lead here is refused. The way to a
// page holds a token that is made anew at each start.
//
// Main thread, on the default main context, but for what says otherwise.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/loop/GuardedPointer.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Tessel::Platform {

// A front end that has connected; the server's.
class WebSocketConnection : public GuardedPointerBase {};

// A page as the list shows it. UTF-8.
struct InspectablePage {
  unsigned int handle = 0;
  std::string title;
  std::string url;
};

// Who knows the pages. The server calls it on the main thread.
class MongooseClient {
 public:
  virtual ~MongooseClient() = default;

  // Appends the pages of the list.
  virtual void inspectablePages(std::vector<InspectablePage>& pages) = 0;
  // A front end has connected to a page; null: it has gone.
  virtual void setPageConnection(unsigned int handle,
                                 const GuardedPointer<WebSocketConnection>& connection) = 0;
  virtual void handleFrontEndMessage(unsigned int handle, const std::string& message) = 0;
  // Another client takes over.
  virtual void disconnectAllPages() = 0;
  // The handle at that position of the list; 0 beyond its end.
  virtual unsigned int inspectablePageAt(std::size_t index) = 0;
  // What to say to who asks for another page.
  virtual std::string pageNotFoundText() = 0;
};

class MongooseHttpServer {
 public:
  // The longest message of a front end; a longer one ends its connection.
  static constexpr std::size_t longestMessage = 4u << 20;
  // So much may wait for a front end that does not read; more ends its connection.
  static constexpr std::size_t longestQueue = 64u << 20;
  // Connections at a time, of front ends and others.
  static constexpr std::size_t mostConnections = 64;

  // Made at first use and never destroyed; it does nothing before it is started. Any thread.
  static MongooseHttpServer* instance();

  // Begins to listen, at the port it had before if that is free; logs why when it cannot.
  // Starting twice is fine.
  void start();
  // Takes no new connections. Front ends that are connected stay.
  void stop();
  // Any thread.
  bool isRunning() const;
  // 0 before the first start. Any thread.
  int port() const;

  // Not owned; null takes it away. Ignored, once override was prevented.
  void setClient(MongooseClient* client);
  void setPreventClientOverride(bool prevent);
  // The folder, among the resources of this process, with the front end that the list leads to; it
  // begins with Main.html. Empty: the list only names the sockets.
  void setFrontEnd(const std::string& resourceFolder);

  // Queues a message, UTF-8; what is none, and what is for a connection that has gone, is dropped.
  // Any thread; the messages of one thread come in order.
  void sendWebSocketMessageToFrontEnd(const std::string& message,
                                      const GuardedPointer<WebSocketConnection>& connection);
  // Whether the client is told, as if the front end had gone by itself. Any thread.
  void closeWebSocketConnection(const GuardedPointer<WebSocketConnection>& connection,
                                bool tellClient);

 private:
  class Impl;

  MongooseHttpServer();

  Impl* const impl_;
};

}  // namespace Tessel::Platform

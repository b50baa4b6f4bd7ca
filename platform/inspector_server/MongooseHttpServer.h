// The HTTP server through which a developer's browser inspects the application's pages: a list of
// pages, and a WebSocket per page, over which an inspector front end talks to it. It knows neither
// pages nor inspectors; its client does.
//
// Only this user and root can connect, from this machine, at a port of its own, and only with a
// Host header that is an address of this machine (protection against DNS rebinding). The path of a
// page contains a token that is generated at each start.
//
// Main thread, on the default main context, unless stated otherwise.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/loop/GuardedPointer.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace Tessel::Platform {

// A connected front end; owned by the server.
class WebSocketConnection : public GuardedPointerBase {};

// A page as the list shows it. UTF-8.
struct InspectablePage {
  unsigned int handle = 0;
  std::string title;
  std::string url;
};

// Provides the pages. The server calls it on the main thread.
class MongooseClient {
 public:
  virtual ~MongooseClient() = default;

  // Appends the listed pages.
  virtual void inspectablePages(std::vector<InspectablePage>& pages) = 0;
  // A front end has connected to a page; null: it is gone.
  virtual void setPageConnection(unsigned int handle,
                                 const GuardedPointer<WebSocketConnection>& connection) = 0;
  virtual void handleFrontEndMessage(unsigned int handle, const std::string& message) = 0;
  // Replaced by another client.
  virtual void disconnectAllPages() = 0;
  // The handle at that index of the list; 0 if out of range.
  virtual unsigned int inspectablePageAt(std::size_t index) = 0;
  // The response to a request for another page.
  virtual std::string pageNotFoundText() = 0;
};

class MongooseHttpServer {
 public:
  // Maximum size of a front end's message; a larger one closes its connection.
  static constexpr std::size_t longestMessage = 4u << 20;
  // Maximum data queued for a front end that does not read; more closes its connection.
  static constexpr std::size_t longestQueue = 64u << 20;
  // Maximum concurrent connections, front ends and others.
  static constexpr std::size_t mostConnections = 64;

  // Created on first use, never destroyed; does nothing before it is started. Any thread.
  static MongooseHttpServer* instance();

  // Starts to listen, at the previous port if it is free; logs the reason on failure. May be called
  // again.
  void start();
  // Stops accepting connections. Connected front ends stay.
  void stop();
  // Any thread.
  bool isRunning() const;
  // 0 before the first start. Any thread.
  int port() const;

  // Not owned; null removes it. Ignored once override was prevented.
  void setClient(MongooseClient* client);
  void setPreventClientOverride(bool prevent);
  // The folder, among the resources of this process, of the front end that the list links to; its
  // start page is Main.html. Empty: the list only shows the sockets.
  void setFrontEnd(const std::string& resourceFolder);

  // Queues a UTF-8 message; invalid ones, and those for a closed connection, are dropped. Any
  // thread; the order is kept per thread.
  void sendWebSocketMessageToFrontEnd(const std::string& message,
                                      const GuardedPointer<WebSocketConnection>& connection);
  // Whether the client is notified, as if the front end had closed by itself. Any thread.
  void closeWebSocketConnection(const GuardedPointer<WebSocketConnection>& connection,
                                bool tellClient);

 private:
  class Impl;

  MongooseHttpServer();

  Impl* const impl_;
};

}  // namespace Tessel::Platform

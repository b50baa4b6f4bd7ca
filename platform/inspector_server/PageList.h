// The list of pages as the server shows it, and what it lets in. Any thread: plain functions.
#pragma once

#include "platform/inspector_server/MongooseHttpServer.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Platform {

// Where things are, as the one who asks names this server.
struct ServerAddresses {
  std::string host;   // with the port
  std::string token;  // in the path of every socket
  bool hasFrontEnd = false;

  std::string socketOf(unsigned int handle) const;    // ws://...
  std::string frontEndOf(unsigned int handle) const;  // http://...; "" without a front end
};

// The list for people and for programs, UTF-8.
std::string pageListHtml(const std::vector<InspectablePage>& pages,
                         const ServerAddresses& addresses);
std::string pageListJson(const std::vector<InspectablePage>& pages,
                         const ServerAddresses& addresses);

// Whether a Host header, with or without a port, names this machine by an address that no name
// server can give to somebody else's page.
bool isLocalHost(std::string_view host);

// What the engine's front end finds at the end of a socket's path: what it is that it inspects.
inline constexpr std::string_view frontEndKind = "/WebPage";

// "/socket/TOKEN/7", also with the kind behind it: the token and the handle. The handle is 0 for
// every other path.
struct SocketPath {
  std::string_view token;
  unsigned int handle = 0;
};
SocketPath socketPathFrom(std::string_view path);
// The decimal number that is all of the text; 0 for everything else.
unsigned int handleFrom(std::string_view text);

}  // namespace Tessel::Platform

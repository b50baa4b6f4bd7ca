// The page list of the server, and its access checks. Any thread: plain functions.
#pragma once

#include "platform/inspector_server/MongooseHttpServer.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Platform {

// URLs, as seen by the requester.
struct ServerAddresses {
  std::string host;   // with the port
  std::string token;  // part of every socket path
  bool hasFrontEnd = false;

  std::string socketOf(unsigned int handle) const;    // ws://...
  std::string frontEndOf(unsigned int handle) const;  // http://...; "" without a front end
};

// The list as HTML and as JSON, UTF-8.
std::string pageListHtml(const std::vector<InspectablePage>& pages,
                         const ServerAddresses& addresses);
std::string pageListJson(const std::vector<InspectablePage>& pages,
                         const ServerAddresses& addresses);

// Whether a Host header, with or without a port, is an address of this machine that no name server
// can assign to somebody else's page.
bool isLocalHost(std::string_view host);

// What the engine's front end expects at a socket path: the type of the inspected target.
inline constexpr std::string_view frontEndKind = "/WebPage";

// Parses "/socket/TOKEN/7", also with the target type appended: token and handle. The handle is 0
// for any other path.
struct SocketPath {
  std::string_view token;
  unsigned int handle = 0;
};
SocketPath socketPathFrom(std::string_view path);
// Parses a text that is a decimal number as a whole; 0 otherwise.
unsigned int handleFrom(std::string_view text);

}  // namespace Tessel::Platform

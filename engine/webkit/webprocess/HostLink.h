// The module's end of the page link: requests that block the page, and the program's calls, which
// are served meanwhile. Web process, main thread only.
#pragma once

#include "engine/webkit/link/LinkSocket.h"
#include "platform/base/FdSource.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

// Executes the program's requests.
class HostLinkDelegate {
 public:
  virtual ~HostLinkDelegate() = default;
  virtual JavaScriptVariant callFunction(std::uint64_t page, const FunctionCall& call) = 0;
  virtual void act(std::uint64_t page, const link_protocol::ActionCall& call) = 0;
  virtual void setupChanged(std::uint64_t page, const link_protocol::PageSetup& setup) = 0;
  // Whether the process shall be suspended, except for the program's requests.
  virtual bool isDeferred() const { return false; }
};

class HostLink {
 public:
  // Null when there is no listener at the address.
  static std::unique_ptr<HostLink> connect(const std::string& address, const std::string& token,
                                           HostLinkDelegate& delegate);
  ~HostLink();
  HostLink(const HostLink&) = delete;
  HostLink& operator=(const HostLink&) = delete;

  // Sends a request and waits for its answer, running the program's calls of our pages meanwhile;
  // posted calls wait until no request is open. Nothing when the program has gone, and at once,
  // with a report, when the request is too large.
  std::optional<std::string> ask(link_protocol::FrameKind kind, std::uint64_t page,
                                 std::string_view payload);
  void tell(link_protocol::FrameKind kind, std::uint64_t page, std::string_view payload);
  // Sends a report of the module about a page. One that is too large is replaced by a report of
  // that; false then.
  bool report(std::uint64_t page, const link_protocol::PageReport& report);
  // Serves the program, and does nothing else, for as long as the delegate is deferred and the
  // program is there.
  void suspend();
  // Whether the program has reported an error to the chrome since the last call, while a request
  // was open: the request has failed.
  bool takeErrorPosted() { return std::exchange(errorPosted_, false); }

 private:
  HostLink(link_protocol::LinkSocket socket, HostLinkDelegate& delegate);

  void serveArrived();
  void serveAside(const link_protocol::Frame& frame);
  void runPosts();
  void serveCall(const link_protocol::Frame& frame);
  void breakLink();
  // False when it is too large for the link, which lives.
  bool send(link_protocol::FrameKind kind, std::uint32_t id, std::uint64_t page,
            std::string_view payload);
  void reportOversized(std::uint64_t page, const Tessel::Platform::String& what, std::size_t size);

  link_protocol::LinkSocket socket_;
  HostLinkDelegate& delegate_;
  Tessel::Platform::FdSource source_;
  bool later_ = false;  // there is something to serve that the socket does not signal
  bool broken_ = false;
  bool suspended_ = false;
  bool errorPosted_ = false;
  std::uint32_t lastId_ = 0;
  unsigned int openRequests_ = 0;
  std::deque<link_protocol::Frame> arrived_;  // in order, not yet looked at
  std::deque<link_protocol::Frame> posts_;    // wait until no request is open
  // Answers to outer requests that came while an inner one was open.
  std::deque<link_protocol::Frame> earlyAnswers_;
};

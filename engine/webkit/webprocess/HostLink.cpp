// The module's end of the page link. Web process, main thread only.
#include "engine/webkit/webprocess/HostLink.h"

#include "platform/base/UniqueFd.h"
#include "platform/sockets/LocalSocket.h"
#include "platform/sockets/Peer.h"

#include <algorithm>

using link_protocol::decode;
using link_protocol::encode;
using link_protocol::Frame;
using link_protocol::FrameKind;
using link_protocol::LinkSocket;
using link_protocol::PageReport;
using link_protocol::ReportKind;
using Tessel::Platform::FdSource;
using Tessel::Platform::isTrustedPeer;
using Tessel::Platform::peerOf;
using Tessel::Platform::SendOutcome;
using Tessel::Platform::String;
using Tessel::Platform::UniqueFd;

namespace {

bool isPost(const Frame& frame) {
  return frame.kind == FrameKind::PostFunction || frame.kind == FrameKind::PostAction;
}

// Whether it calls chrome.native.error.
bool isErrorReport(const Frame& frame) {
  link_protocol::PostedCall post;
  if (frame.kind != FrameKind::PostFunction || !decode(frame.payload, post)) return false;
  const auto& path = post.call.path;
  return path.size() == 3 && path[1] == "native" && path[2] == "error";
}

}  // namespace

std::unique_ptr<HostLink> HostLink::connect(const std::string& address, const std::string& token,
                                            HostLinkDelegate& delegate) {
  UniqueFd socket = Tessel::Platform::connectLocal(address, SOCK_STREAM);
  // Nothing is sent to a listener that is not the program.
  if (!socket || !isTrustedPeer(peerOf(socket.get()))) return nullptr;
  std::unique_ptr<HostLink> link(new HostLink(LinkSocket(std::move(socket)), delegate));
  link->tell(FrameKind::Hello, 0, token);
  return link;
}

HostLink::HostLink(LinkSocket socket, HostLinkDelegate& delegate)
    : socket_(std::move(socket)), delegate_(delegate) {
  source_.watch(
      socket_.fd(), [this] { return later_ ? FdSource::atOnce : short{POLLIN}; },
      [this](short) {
        later_ = false;
        const bool alive = socket_.receive(arrived_, LinkSocket::Mode::Poll);
        serveArrived();
        suspend();
        if (!alive) breakLink();
      });
}

HostLink::~HostLink() {
  breakLink();
}

void HostLink::breakLink() {
  broken_ = true;
  source_.stop();
}

// From the main loop: no request is open, so everything may run, in order.
void HostLink::serveArrived() {
  runPosts();
  while (!arrived_.empty()) {
    Frame frame = std::move(arrived_.front());
    arrived_.pop_front();
    if (isPost(frame)) {
      posts_.push_back(std::move(frame));
      runPosts();
    } else if (frame.kind == FrameKind::CallFunction) {
      serveCall(frame);
    } else {
      serveAside(frame);
    }
  }
}

void HostLink::suspend() {
  // An open request goes first; its end schedules this again.
  if (suspended_ || openRequests_ > 0) return;
  suspended_ = true;
  while (!broken_ && delegate_.isDeferred()) {
    if (arrived_.empty() && !socket_.receive(arrived_, LinkSocket::Mode::Wait)) breakLink();
    serveArrived();
  }
  suspended_ = false;
}

void HostLink::runPosts() {
  while (!posts_.empty()) {
    const Frame frame = std::move(posts_.front());
    posts_.pop_front();
    if (frame.kind == FrameKind::PostAction) {
      link_protocol::ActionCall action;
      if (decode(frame.payload, action)) delegate_.act(frame.page, action);
      continue;
    }
    link_protocol::PostedCall post;
    if (!decode(frame.payload, post)) continue;
    const JavaScriptVariant value = delegate_.callFunction(frame.page, post.call);
    if (post.resultId.isEmpty()) continue;
    if (!report(frame.page, {ReportKind::functionResult, {post.resultId, value}})) {
      report(frame.page, {ReportKind::functionResult, {post.resultId, JavaScriptVariant()}});
    }
  }
}

void HostLink::serveCall(const Frame& frame) {
  // A call that is waited for does not overtake what was posted before it.
  runPosts();
  FunctionCall call;
  JavaScriptVariant value;
  if (decode(frame.payload, call)) value = delegate_.callFunction(frame.page, call);
  const std::string answer = encode(value);
  if (send(FrameKind::Answer, frame.id, frame.page, answer)) return;
  send(FrameKind::Answer, frame.id, frame.page, encode(JavaScriptVariant()));
  reportOversized(frame.page, call.path.empty() ? String() : call.path.back(), answer.size());
}

// Handles frames that run no script of a page, and so need not wait.
void HostLink::serveAside(const Frame& frame) {
  link_protocol::PageSetup setup;
  if (frame.kind == FrameKind::SetupChanged && decode(frame.payload, setup)) {
    delegate_.setupChanged(frame.page, setup);
  } else if (frame.kind == FrameKind::Ping) {
    report(frame.page, {ReportKind::alive, {}});
  }
}

std::optional<std::string> HostLink::ask(FrameKind kind, std::uint64_t page,
                                         std::string_view payload) {
  const std::uint32_t id = ++lastId_;
  if (broken_) return std::nullopt;
  if (!send(kind, id, page, payload)) {
    reportOversized(page, kind == FrameKind::Dialog ? "dialog" : "question", payload.size());
    return std::nullopt;
  }

  ++openRequests_;
  std::optional<std::string> answer;
  while (!answer) {
    const auto early = std::find_if(earlyAnswers_.begin(), earlyAnswers_.end(),
                                    [&](const Frame& frame) { return frame.id == id; });
    if (early != earlyAnswers_.end()) {
      answer = std::move(early->payload);
      earlyAnswers_.erase(early);
      break;
    }
    if (arrived_.empty()) {
      if (broken_) break;
      if (!socket_.receive(arrived_, LinkSocket::Mode::Wait)) breakLink();
      continue;
    }
    Frame frame = std::move(arrived_.front());
    arrived_.pop_front();
    switch (frame.kind) {
      case FrameKind::Answer:
        if (frame.id == id) {
          answer = std::move(frame.payload);
        } else {
          earlyAnswers_.push_back(std::move(frame));
        }
        break;
      case FrameKind::CallFunction:
        serveCall(frame);
        break;
      case FrameKind::PostFunction:
      case FrameKind::PostAction:
        // Reports that come while something else is asked are not of a native call.
        errorPosted_ = errorPosted_ || (kind == FrameKind::NativeCall && isErrorReport(frame));
        posts_.push_back(std::move(frame));
        break;
      default:
        serveAside(frame);
        break;
    }
  }
  // Frames that were read after the answer are queued here: the socket will not signal them again.
  if (--openRequests_ == 0) {
    later_ = !arrived_.empty() || !posts_.empty() || delegate_.isDeferred();
  }
  return answer;
}

void HostLink::tell(FrameKind kind, std::uint64_t page, std::string_view payload) {
  send(kind, 0, page, payload);
}

bool HostLink::report(std::uint64_t page, const PageReport& report) {
  const std::string payload = encode(report);
  if (send(FrameKind::Report, 0, page, payload)) return true;
  reportOversized(page, nameOf(report.kind), payload.size());
  return false;
}

void HostLink::reportOversized(std::uint64_t page, const String& what, std::size_t size) {
  send(FrameKind::Report, 0, page,
       encode(PageReport{ReportKind::oversized, {what, static_cast<double>(size)}}));
}

bool HostLink::send(FrameKind kind, std::uint32_t id, std::uint64_t page,
                    std::string_view payload) {
  if (broken_) return true;
  const SendOutcome outcome = socket_.send(kind, id, page, payload);
  if (outcome == SendOutcome::TooLarge) return false;
  // Everything is flushed, so there is always room.
  if (outcome != SendOutcome::Sent || !socket_.flushAll()) breakLink();
  return true;
}

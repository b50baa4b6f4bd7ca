// The socket that the modules of web processes connect to. Main thread.
#include "engine/webkit/link/LinkListener.h"

#include "engine/webkit/link/Frame.h"
#include "platform/base/Log.h"
#include "platform/base/RandomKey.h"
#include "platform/os/Folders.h"
#include "platform/sockets/Peer.h"

#include <glib.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

using link_protocol::FrameHeader;
using link_protocol::FrameKind;
using Tessel::Platform::FdSource;
using Tessel::Platform::LocalListener;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::UniqueFd;

namespace {

constexpr const char* namePrefix = "pages-";
constexpr std::size_t tokenLength = 32;
// Limits how often refused connections are logged.
constexpr gint64 complaintInterval = G_USEC_PER_SEC;

}  // namespace

// A connection that has not sent a complete greeting yet.
struct LinkListener::Unidentified {
  Unidentified(LinkListener& itsListener, UniqueFd itsSocket, pid_t itsPid)
      : listener(itsListener), socket(std::move(itsSocket)), pid(itsPid) {
    source.watch(
        socket.get(), POLLIN,
        [this](short found) { found ? listener.readGreeting(*this) : listener.forget(*this); },
        {.limit = listener.greetingLimit_});
  }

  LinkListener& listener;
  UniqueFd socket;
  const pid_t pid;
  FdSource source;
  // Reads the greeting only: the bytes after it are left to the link.
  std::array<char, sizeof(FrameHeader) + tokenLength> greeting{};
  std::size_t received = 0;
};

LinkListener::LinkListener(const std::string& parent, Welcome welcome,
                           std::chrono::milliseconds greetingLimit)
    : welcome_(std::move(welcome)), greetingLimit_(greetingLimit) {
  Tessel::Platform::removeStaleFiles(parent, namePrefix);
  std::string pattern = parent + "/" + namePrefix + std::to_string(::getpid()) + "-XXXXXX";
  if (!::mkdtemp(pattern.data())) return;
  folder_ = pattern;
  address_ = folder_ + "/link";
  listener_ = LocalListener(address_, SOCK_STREAM);
  if (isListening()) {
    accepting_.emplace(
        listener_.fd(), [this](UniqueFd socket) { accept(std::move(socket)); },
        "No web process can connect for now");
  }
  Tessel::Platform::removeAtExit(address_);
  Tessel::Platform::removeAtExit(folder_);
}

LinkListener::~LinkListener() {
  unidentified_.clear();
  accepting_.reset();
  listener_ = {};
  if (!folder_.empty()) ::rmdir(folder_.c_str());
}

std::string LinkListener::issueToken() {
  std::string token = Tessel::Platform::randomToken();
  if (token.empty()) return token;
  if (tokens_.size() == mostTokens) tokens_.erase(tokens_.begin());
  return tokens_.emplace_back(std::move(token));
}

void LinkListener::forget(const Unidentified& stranger) {
  unidentified_.remove_if([&](const Unidentified& each) { return &each == &stranger; });
}

void LinkListener::complain(pid_t peer, const char* why) {
  const gint64 now = g_get_monotonic_time();
  if (complained_ != 0 && now - complained_ < complaintInterval) return;
  complained_ = now;
  logAlways(LogError, "Process %d is refused as a web process: %s.", static_cast<int>(peer), why);
}

void LinkListener::accept(UniqueFd socket) {
  const auto peer = Tessel::Platform::peerOf(socket.get());
  if (!Tessel::Platform::isTrustedPeer(peer)) {
    return complain(peer ? peer->pid : 0, "it is another user's");
  }
  if (unidentified_.size() == mostUnidentified) unidentified_.pop_front();
  unidentified_.emplace_back(*this, std::move(socket), peer->pid);
}

void LinkListener::readGreeting(Unidentified& stranger) {
  const ssize_t count = ::recv(stranger.socket.get(), stranger.greeting.data() + stranger.received,
                               stranger.greeting.size() - stranger.received, MSG_DONTWAIT);
  if (count < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (count <= 0) return forget(stranger);
  stranger.received += static_cast<std::size_t>(count);
  if (stranger.received < stranger.greeting.size()) return;
  FrameHeader header;
  std::memcpy(&header, stranger.greeting.data(), sizeof header);
  const std::string_view shown(stranger.greeting.data() + sizeof header, tokenLength);
  const auto issued = std::ranges::find_if(
      tokens_, [&](const std::string& token) { return Tessel::Platform::sameToken(token, shown); });
  if (header.kind != static_cast<std::uint32_t>(FrameKind::Hello) || header.size != tokenLength ||
      issued == tokens_.end()) {
    complain(stranger.pid, "it shows no token that is valid");
    return forget(stranger);
  }
  const std::string token = std::move(*issued);
  tokens_.erase(issued);
  UniqueFd socket = std::move(stranger.socket);
  const pid_t pid = stranger.pid;
  forget(stranger);
  welcome_(std::move(socket), pid, token);
}

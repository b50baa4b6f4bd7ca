// Where the modules of web processes connect. Main thread.
#include "engine/webkit/WebProcessLinks.h"

#include "platform/Folders.h"
#include "platform/Log.h"
#include "platform/RandomKey.h"

#include <glib-unix.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::randomKey;
using Tessel::Platform::removeSocketsOfTheDead;
using Tessel::Platform::String;
using Tessel::Platform::UniqueFd;

namespace {

std::string randomText() {
  std::array<char, 17> text{};
  std::uint64_t key = 0;
  if (!randomKey(&key)) return std::string();
  std::snprintf(text.data(), text.size(), "%016llx", static_cast<unsigned long long>(key));
  return text.data();
}

constexpr const char* namePrefix = "pages-";

UniqueFd listenAt(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) {
    errno = ENAMETOOLONG;
    return UniqueFd();
  }
  std::memcpy(address.sun_path, path.c_str(), path.size());
  UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (listener.get() < 0 ||
      ::bind(listener.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener.get(), SOMAXCONN) != 0) {
    return UniqueFd();
  }
  return listener;
}

}  // namespace

WebProcessLinks::WebProcessLinks(const std::string& folder)
    : address_(folder + "/" + namePrefix + std::to_string(::getpid()) + "-" + randomText()),
      token_(randomText() + randomText()) {
  removeSocketsOfTheDead(folder, namePrefix);
  if (token_.empty()) {
    errno = EAGAIN;
    return;
  }
  listener_ = listenAt(address_);
  if (isListening()) {
    listenerSource_ = g_unix_fd_add(listener_.get(), G_IO_IN, onConnection, this);
  }
}

WebProcessLinks::~WebProcessLinks() {
  if (listenerSource_ != 0) g_source_remove(listenerSource_);
  if (isListening()) ::unlink(address_.c_str());
  while (!links_.empty()) {
    const auto link = links_.begin()->second;
    link->close();
  }
}

gboolean WebProcessLinks::onConnection(gint fd, GIOCondition, gpointer data) {
  auto* self = static_cast<WebProcessLinks*>(data);
  UniqueFd socket(::accept4(fd, nullptr, nullptr, SOCK_CLOEXEC));
  if (socket.get() < 0) return G_SOURCE_CONTINUE;
  ucred peer{};
  socklen_t size = sizeof peer;
  if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0 ||
      (peer.uid != ::geteuid() && peer.uid != 0)) {
    logAlways(LogError, "Process %d of user %u wanted to be a web process; refused.",
              static_cast<int>(peer.pid), peer.uid);
    return G_SOURCE_CONTINUE;
  }
  auto link = PageLink::open(std::move(socket), peer.pid, self->token_, *self);
  self->links_.emplace(link.get(), link);
  return G_SOURCE_CONTINUE;
}

void WebProcessLinks::registerPage(std::uint64_t number, const std::shared_ptr<LinkedPage>& page) {
  pages_[number] = {page, nullptr};
}

void WebProcessLinks::forgetPage(std::uint64_t number) {
  pages_.erase(number);
}

std::shared_ptr<LinkedPage> WebProcessLinks::pageBehind(const PageLink& link,
                                                        std::uint64_t number) const {
  const auto found = pages_.find(number);
  const bool there = found != pages_.end() && found->second.link == &link;
  return there ? found->second.page.lock() : nullptr;
}

bool WebProcessLinks::pageCreated(const std::shared_ptr<PageLink>& link, std::uint64_t page,
                                  link_protocol::PageSetup& setup) {
  const auto found = pages_.find(page);
  if (found == pages_.end()) return false;
  // A web process that was taken over must not speak for the page of another one.
  if (found->second.link && found->second.link != link.get()) return false;
  const auto ours = found->second.page.lock();
  if (!ours) return false;
  found->second.link = link.get();
  ours->linkReady(link);
  setup = ours->setup();
  return true;
}

String WebProcessLinks::nativeCall(const PageLink& link, std::uint64_t page,
                                   const link_protocol::NativeArguments& arguments) {
  const auto ours = pageBehind(link, page);
  // The module only offers the call where it is allowed; this is for the web process that was
  // taken over.
  if (!ours || !ours->setup().callbackObject) return String();
  return ours->nativeCall(arguments);
}

link_protocol::DialogAnswer WebProcessLinks::dialog(const PageLink& link, std::uint64_t page,
                                                    const link_protocol::DialogQuestion& question) {
  const auto ours = pageBehind(link, page);
  return ours && ours->setup().drivesApplication ? ours->dialog(question)
                                                 : link_protocol::DialogAnswer();
}

String WebProcessLinks::report(const PageLink& link, std::uint64_t page,
                               const FunctionCall& report) {
  const auto ours = pageBehind(link, page);
  return ours ? ours->report(report) : String();
}

void WebProcessLinks::linkClosed(PageLink& link) {
  for (auto& [number, registered] : pages_) {
    if (registered.link == &link) registered.link = nullptr;
  }
  links_.erase(&link);
}

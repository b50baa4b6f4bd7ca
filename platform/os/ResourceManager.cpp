// Serving paths over Unix sockets.
#include "platform/os/ResourceManager.h"

#include "platform/base/Log.h"
#include "platform/sockets/Accept.h"
#include "platform/sockets/Peer.h"
#include "platform/sockets/Transfer.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

namespace Tessel::Platform {

namespace {

constexpr int changeableFlags = O_APPEND | O_NONBLOCK;

// Whether a server answers there. One whose queue is full does.
bool isServed(const std::string& path) {
  const UniqueFd probe = connectLocal(path, SOCK_SEQPACKET, {});
  // If the check fails, do not assume that there is no server.
  return probe || errno == EAGAIN || isShortOfDescriptors(errno);
}

// Held by a server from before it checks for another one until it serves. Not a lock of the folder
// itself, which every user with read access could take and keep. Empty, with errno set, if another
// server holds it.
UniqueFd lockBeside(const std::string& path) {
  UniqueFd lock(::open((path + ".lock").c_str(),
                       O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  if (!lock) return lock;
  struct stat status {};
  int error = 0;
  if (::fstat(lock.get(), &status) != 0) {
    error = errno;
  } else if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid() ||
             (status.st_mode & 077) != 0) {
    error = EPERM;  // created by another user, who could hold the lock
  } else if (::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
    error = errno == EWOULDBLOCK ? EADDRINUSE : errno;
  }
  if (error != 0) lock.reset();
  errno = error;
  return lock;
}

// What the mode allows the client, as read and write bits of one class.
mode_t allowed(const PathAttributes& attributes, const ClientInfo& client) {
  if (client.uid == 0) return S_IROTH | S_IWOTH;
  if (client.uid == attributes.uid) return (attributes.mode >> 6) & 07;
  if (client.gid == attributes.gid) return (attributes.mode >> 3) & 07;
  return attributes.mode & 07;
}

}  // namespace

bool OpenContext::canRead() const {
  return open && (flags & O_ACCMODE) != O_WRONLY;
}

bool OpenContext::canWrite() const {
  return open && (flags & O_ACCMODE) != O_RDONLY;
}

void iofunc_func_init(ConnectFunctions& connect, IoFunctions& io) {
  connect.open = iofunc_open_default;
  io.devctl = iofunc_devctl_default;
}

void iofunc_attr_init(PathAttributes& attributes, mode_t mode, uid_t uid, gid_t gid) {
  attributes = {mode, uid, gid};
}

ClientInfo iofunc_client_info(const OpenContext& open) {
  return open.client;
}

int iofunc_open_default(const DeviceMessage& message, OpenContext& open) {
  if (open.open) return EINVAL;
  const int access = static_cast<int>(message.command) & O_ACCMODE;
  if (access == O_ACCMODE) return EINVAL;
  mode_t wanted = 0;
  if (access != O_WRONLY) wanted |= S_IROTH;
  if (access != O_RDONLY) wanted |= S_IWOTH;
  if ((allowed(*open.attributes, open.client) & wanted) != wanted) return EACCES;
  open.flags = static_cast<int>(message.command) & (O_ACCMODE | changeableFlags);
  open.open = true;
  return 0;
}

int iofunc_devctl_default(const DeviceMessage& message, OpenContext& open) {
  std::uint32_t flags = 0;
  switch (message.command) {
    case devctlGetFlags:
      flags = static_cast<std::uint32_t>(open.flags);
      message.context->reply(0, &flags, sizeof flags);
      return noReply;
    case devctlSetFlags:
      if (message.arrivedSize < sizeof flags) return EINVAL;
      std::memcpy(&flags, message.data, sizeof flags);
      open.flags = (open.flags & ~changeableFlags) | (static_cast<int>(flags) & changeableFlags);
      return 0;
    default:
      return handledElsewhere;
  }
}

std::unique_ptr<Dispatch> dispatch_create() {
  UniqueFd events(::epoll_create1(EPOLL_CLOEXEC));
  if (!events) return nullptr;
  std::unique_ptr<Dispatch> dispatch(new Dispatch);
  dispatch->events_ = std::move(events);
  return dispatch;
}

Dispatch::~Dispatch() {
  resmgr_detach(*this);
}

bool Dispatch::watch(int descriptor) {
  epoll_event event{};
  event.events = EPOLLIN;
  event.data.fd = descriptor;
  return ::epoll_ctl(events_.get(), EPOLL_CTL_ADD, descriptor, &event) == 0;
}

int resmgr_attach(Dispatch& dispatch, const char* path, const ConnectFunctions& connect,
                  const IoFunctions& io, const PathAttributes& attributes,
                  std::size_t largestMessage) {
  if (dispatch.listener_ || largestMessage < sizeof(DeviceMessageHeader)) return EINVAL;
  const std::string socketPath = devicePath(path);
  const std::filesystem::path folder = std::filesystem::path(socketPath).parent_path();
  std::error_code problem;
  std::filesystem::create_directories(folder, problem);
  if (problem) return problem.value();
  // Of servers that start at the same time, the second one finds the first one serving.
  const UniqueFd lock = lockBeside(socketPath);
  if (!lock) return errno;
  if (isServed(socketPath)) return EADDRINUSE;

  // Under a temporary name; an existing file is left from a dead server with that pid.
  LocalListener listener(socketPath + "." + std::to_string(::getpid()), SOCK_SEQPACKET,
                         {.replaces = true, .attributes = attributes});
  if (!listener || !dispatch.watch(listener.fd()) || !listener.moveTo(socketPath)) return errno;
  dispatch.listener_ = std::move(listener);
  dispatch.connect_ = connect;
  dispatch.io_ = io;
  dispatch.attributes_ = attributes;
  dispatch.largestMessage_ = largestMessage;
  return 0;
}

void resmgr_detach(Dispatch& dispatch) {
  dispatch.clients_.clear();
  // A server that gave up its rights may be unable to remove the path: the next one replaces what
  // it finds.
  dispatch.listener_ = {};
}

bool Dispatch::watchAlso(int descriptor, std::function<void()> readable) {
  if (!watch(descriptor)) return false;
  alsoWatched_ = descriptor;
  alsoReadable_ = std::move(readable);
  return true;
}

void Dispatch::pauseAccepting() {
  if (!paused_) ::epoll_ctl(events_.get(), EPOLL_CTL_DEL, listener_.fd(), nullptr);
  paused_ = true;
  pausedUntil_ = std::chrono::steady_clock::now() + acceptPause;
}

int Dispatch::acceptAgainIn() {
  if (!paused_) return -1;
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(pausedUntil_ - std::chrono::steady_clock::now());
  if (left.count() > 0) return static_cast<int>(left.count());
  paused_ = !watch(listener_.fd());
  return paused_ ? static_cast<int>(acceptPause.count()) : -1;
}

void Dispatch::disconnect(std::map<int, Client>::iterator client) {
  // Closing alone does not end the watch while a child that was just forked has a copy.
  ::epoll_ctl(events_.get(), EPOLL_CTL_DEL, client->first, nullptr);
  clients_.erase(client);
}

void Dispatch::disconnectOldest() {
  const auto oldest = std::min_element(
      clients_.begin(), clients_.end(),
      [](const auto& a, const auto& b) { return a.second.lastUse < b.second.lastUse; });
  if (oldest == clients_.end()) return;
  logAlways(LogNotice, "Too many clients of %s: process %d, idle longest, is disconnected",
            listener_.path().c_str(), oldest->second.open.client.pid);
  disconnect(oldest);
}

void Dispatch::acceptClient() {
  if (clients_.size() >= mostClients) disconnectOldest();
  UniqueFd socket = acceptOne(listener_.fd());
  if (!socket) {
    if (!isShortOfDescriptors(errno)) return;
    disconnectOldest();
    return pauseAccepting();
  }
  const auto peer = peerOf(socket.get());
  const int descriptor = socket.get();
  if (!peer || !watch(descriptor)) return;
  Client client;
  client.socket = std::move(socket);
  client.open.attributes = &attributes_;
  client.open.client = {peer->pid, peer->uid, peer->gid};
  client.lastUse = ++uses_;
  clients_.insert_or_assign(descriptor, std::move(client));
}

DispatchContext::DispatchContext(Dispatch& dispatch)
    : dispatch_(dispatch), buffer_(new std::byte[dispatch.largestMessage_]) {}

DispatchContext::~DispatchContext() {
  wipe();
}

void DispatchContext::wipe() {
  ::explicit_bzero(buffer_.get(), length_);
  length_ = 0;
}

void DispatchContext::reply(int status, const void* data, std::size_t size) {
  const auto client = dispatch_.clients_.find(socket_);
  if (client == dispatch_.clients_.end()) return;
  DeviceReplyHeader header{status, static_cast<std::uint32_t>(size)};
  std::array<iovec, 2> parts{{{&header, sizeof header}, {const_cast<void*>(data), size}}};
  if (trySend(socket_, parts) < 0) dispatch_.disconnect(client);
}

// False if there was none, that is, the client is gone.
bool DispatchContext::receive(int socket) {
  const auto client = dispatch_.clients_.find(socket);
  if (client == dispatch_.clients_.end()) return false;
  ssize_t count = -1;
  do {
    count = ::recv(socket, buffer_.get(), dispatch_.largestMessage_, MSG_DONTWAIT);
  } while (count < 0 && errno == EINTR);
  if (count < 0 && errno == EAGAIN) return false;
  if (count <= 0) {
    dispatch_.disconnect(client);
    return false;
  }
  socket_ = socket;
  length_ = static_cast<std::size_t>(count);
  client->second.lastUse = ++dispatch_.uses_;
  return true;
}

bool dispatch_block(DispatchContext& context) {
  Dispatch& dispatch = context.dispatch_;
  for (;;) {
    epoll_event event{};
    // One at a time: the kernel then takes the clients in turn.
    const int count = ::epoll_wait(dispatch.events_.get(), &event, 1, dispatch.acceptAgainIn());
    if (count < 0 && errno != EINTR) return false;
    if (count <= 0) continue;
    if (event.data.fd == dispatch.listener_.fd()) {
      dispatch.acceptClient();
    } else if (event.data.fd == dispatch.alsoWatched_) {
      dispatch.alsoReadable_();
    } else if (context.receive(event.data.fd)) {
      return true;
    }
  }
}

// Handles the message at the offset, and moves the offset to the next one of the packet.
int DispatchContext::handle(std::size_t& offset) {
  const auto client = dispatch_.clients_.find(socket_);
  if (client == dispatch_.clients_.end()) return noReply;
  OpenContext& open = client->second.open;
  const std::size_t left = length_ - offset;
  DeviceMessageHeader header{};
  if (left < sizeof header) return ENOSYS;
  std::memcpy(&header, buffer_.get() + offset, sizeof header);
  const std::size_t whole = header.combineLength != 0 ? header.combineLength : left;
  if (whole < sizeof header || whole > left) return ENOSYS;
  DeviceMessage message;
  message.command = header.command;
  message.declaredSize = header.size;
  message.data = buffer_.get() + offset + sizeof header;
  message.arrivedSize = whole - sizeof header;
  message.offset = offset;
  message.context = this;
  offset += whole;
  switch (header.type) {
    case DeviceMessageType::Open:
      return dispatch_.connect_.open(message, open);
    case DeviceMessageType::DeviceControl:
      return open.open ? dispatch_.io_.devctl(message, open) : EBADF;
  }
  return ENOSYS;
}

void dispatch_handler(DispatchContext& context) {
  int status = 0;
  std::size_t offset = 0;
  // Of combined messages the first that fails is the last that is handled.
  do {
    status = context.handle(offset);
  } while (status == 0 && offset < context.length_);
  if (status != noReply) context.reply(status == handledElsewhere ? ENOSYS : status);
  context.wipe();
}

}  // namespace Tessel::Platform

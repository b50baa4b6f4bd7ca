// Serving paths: a process attaches a path, clients open it and send it commands, and one loop
// handles these. A path is a Unix socket; its mode and owner control access. One thread; a forked
// child only detaches and destroys its copies.
#pragma once

#include "platform/base/UniqueFd.h"
#include "platform/os/DeviceProtocol.h"
#include "platform/sockets/LocalSocket.h"

#include <sys/types.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace Tessel::Platform {

// The type of a path that exists only as a name for its server.
constexpr mode_t S_IFNAM = 0x5000;

// Of the process that opened the path, as the kernel knows them.
struct ClientInfo {
  pid_t pid;
  uid_t uid;
  gid_t gid;
};

// One open of a path.
struct OpenContext {
  const PathAttributes* attributes = nullptr;
  ClientInfo client{};
  int flags = 0;  // those of open(2)
  bool open = false;

  bool canRead() const;
  bool canWrite() const;
};

// A message while it is handled.
struct DeviceMessage {
  std::uint32_t command = 0;
  std::uint32_t declaredSize = 0;   // what the sender says that the data has
  const std::byte* data = nullptr;  // what follows the header ...
  std::size_t arrivedSize = 0;      // ... and arrived
  std::size_t offset = 0;           // of the message in the packet; 0 for the first
  class DispatchContext* context = nullptr;
};

// What a handler returns besides 0 and the numbers of errno.
constexpr int handledElsewhere = -1;  // the default handler does not know the command
constexpr int noReply = -2;           // the handler has replied, or a reply follows later

struct ConnectFunctions {
  int (*open)(const DeviceMessage&, OpenContext&);
};
struct IoFunctions {
  int (*devctl)(const DeviceMessage&, OpenContext&);
};

// Fills in what serves a path without special wishes.
void iofunc_func_init(ConnectFunctions& connect, IoFunctions& io);
void iofunc_attr_init(PathAttributes& attributes, mode_t mode, uid_t uid, gid_t gid);

// The access that the attributes give to the client: 0, EACCES, or EINVAL for a second open.
int iofunc_open_default(const DeviceMessage& message, OpenContext& open);
// Takes devctlGetFlags and devctlSetFlags; handledElsewhere for every other command.
int iofunc_devctl_default(const DeviceMessage& message, OpenContext& open);
ClientInfo iofunc_client_info(const OpenContext& open);

// Paths and the connections of their clients.
class Dispatch {
 public:
  // The maximum number of clients. Beyond it the one idle longest is disconnected, so that idle
  // clients cannot lock out others.
  static constexpr std::size_t mostClients = 64;

  Dispatch(const Dispatch&) = delete;
  Dispatch& operator=(const Dispatch&) = delete;
  ~Dispatch();

  // Calls the function by dispatch_block() whenever the descriptor, which is not owned, can be
  // read; the function reads it. One at most. False with errno when it cannot be watched.
  bool watchAlso(int descriptor, std::function<void()> readable);

 private:
  friend std::unique_ptr<Dispatch> dispatch_create();
  friend int resmgr_attach(Dispatch&, const char*, const ConnectFunctions&, const IoFunctions&,
                           const PathAttributes&, std::size_t);
  friend void resmgr_detach(Dispatch&);
  friend bool dispatch_block(class DispatchContext&);
  friend class DispatchContext;

  struct Client {
    UniqueFd socket;
    OpenContext open;
    std::uint64_t lastUse = 0;
  };

  Dispatch() = default;
  bool watch(int descriptor);
  void acceptClient();
  // Pauses accepting: without descriptors a pending connection would make the loop spin.
  void pauseAccepting();
  // Milliseconds until that is over; -1 when it is.
  int acceptAgainIn();
  void disconnect(std::map<int, Client>::iterator client);
  void disconnectOldest();

  UniqueFd events_;  // epoll
  LocalListener listener_;
  ConnectFunctions connect_{};
  IoFunctions io_{};
  PathAttributes attributes_;
  std::size_t largestMessage_ = 0;
  std::map<int, Client> clients_;
  std::uint64_t uses_ = 0;
  std::chrono::steady_clock::time_point pausedUntil_{};
  bool paused_ = false;
  int alsoWatched_ = -1;
  std::function<void()> alsoReadable_;
};

// Null, with errno set, when it cannot be.
std::unique_ptr<Dispatch> dispatch_create();

// Serves one path, and replaces what a dead server left there. 0 or a number of errno: EADDRINUSE
// while another server lives or starts. Servers that start together are told apart by a file beside
// the path, NAME.lock, that only this user can open; EPERM when it is somebody else's. Larger
// messages arrive cut to `largestMessage` bytes. A missing folder is made.
int resmgr_attach(Dispatch& dispatch, const char* path, const ConnectFunctions& connect,
                  const IoFunctions& io, const PathAttributes& attributes,
                  std::size_t largestMessage);
// Closes every connection. The path goes too where its server itself does this, not in a forked
// child.
void resmgr_detach(Dispatch& dispatch);

// The buffer of the message that is handled. It is overwritten as soon as that is done: what one
// client sent is not for a child that is forked for the next one.
class DispatchContext {
 public:
  explicit DispatchContext(Dispatch& dispatch);
  ~DispatchContext();
  DispatchContext(const DispatchContext&) = delete;
  DispatchContext& operator=(const DispatchContext&) = delete;

  // Answers the message that is handled. A client that does not take the answer is disconnected,
  // and its OpenContext is gone: reply last.
  void reply(int status, const void* data = nullptr, std::size_t size = 0);

 private:
  friend bool dispatch_block(DispatchContext&);
  friend void dispatch_handler(DispatchContext&);

  bool receive(int socket);
  int handle(std::size_t& offset);
  void wipe();

  Dispatch& dispatch_;
  std::unique_ptr<std::byte[]> buffer_;
  std::size_t length_ = 0;
  int socket_ = -1;  // of the client whose message it is
};

// Waits for a message, however long. False, with errno set, when there will be none.
bool dispatch_block(DispatchContext& context);
// Handles it.
void dispatch_handler(DispatchContext& context);

}  // namespace Tessel::Platform

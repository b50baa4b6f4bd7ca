// A connection that another process has made to a message client: brings its messages and takes
// the replies. The client's thread, but for open().
#pragma once

#include "platform/base/FdSource.h"
#include "platform/channel/ChannelSocket.h"

#include <poll.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string_view>

struct _GMainContext;

namespace Tessel::Platform {

class ClientChannel;

class IncomingConnection : public std::enable_shared_from_this<IncomingConnection> {
 public:
  IncomingConnection(std::weak_ptr<ClientChannel> channel, pid_t pid, ChannelSocket socket);
  ~IncomingConnection();

  // From now on the connection is served by the context until it is closed by either end. Once.
  void open(_GMainContext* context);

  pid_t pid() const { return pid_; }
  // The descriptor is -1 once it is closed.
  pollfd pollDescriptor() const;

  // Delivers the messages that have come and sends the replies. Not all of a crowd, so that others
  // get their turn; whoever keeps us busy gets his when the user's input and the window have had
  // theirs.
  void serveSome();
  // All of them.
  void serveAll();
  // Nothing is delivered any more. Any thread.
  void close();

 private:
  enum class Served {
    Nothing,  // there is none for now, or never again
    One,      // there may be more
    Last,     // its sender has waited for the reply and sent nothing meanwhile, or the loop ends
  };
  Served serveOne();
  bool mayServe() const;
  void setBusy(bool busy);
  void end();
  void reply(int type, std::uint64_t id, std::string_view bytes);

  const std::weak_ptr<ClientChannel> channel_;
  const pid_t pid_;
  ChannelSocket socket_;
  ReceivedMessage received_;
  FdSource source_;
  // How long it has been served without a pause.
  std::chrono::steady_clock::duration busy_{};
  bool ended_ = false;
  std::atomic<bool> closing_ = false;
};

}  // namespace Tessel::Platform

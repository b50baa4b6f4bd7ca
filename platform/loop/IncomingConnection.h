// A connection made by another process to a message client: delivers its messages and sends the
// replies. The client's thread, except for open().
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

  // Attaches the connection to the context until either end closes it. Once.
  void open(_GMainContext* context);

  pid_t pid() const { return pid_; }
  // The descriptor is -1 once it is closed.
  pollfd pollDescriptor() const;

  // Delivers received messages and sends replies. The number per call is bounded, so that others
  // are served; a connection that is always busy is served at idle priority, after input and
  // painting.
  void serveSome();
  // Without that bound.
  void serveAll();
  // Stops delivering. Any thread.
  void close();

 private:
  enum class Served {
    Nothing,  // none for now, or none ever again
    One,      // there may be more
    Last,     // its sender waited for the reply and sent nothing meanwhile, or the loop ends
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

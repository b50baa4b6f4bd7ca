// One end of the connection between a child process's windows and the application that shows
// them: records, some with a file, over a socket that keeps their borders. UI thread.
//
// Served by the default main context, nested loops included, so that a dialog of a page does not
// stop its other windows. Sending never blocks.
#pragma once

#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"
#include "platform/sockets/SendQueue.h"

#include <functional>
#include <memory>
#include <span>
#include <string>

namespace Tessel::Platform::Graphics::Remote {

class WindowConnection {
 public:
  static constexpr std::size_t largestRecord = 20u << 10;
  // A peer that leaves so many records unread is dropped.
  static constexpr std::size_t maximumUnsent = 2048;
  // A peer that sends more in a second is dropped: the others have to be served too.
  static constexpr int maximumPerSecond = 50000;

  class Client {
   public:
    virtual ~Client() = default;
    // The file is empty for most records. Null, or what is wrong with the record. May be called
    // from inside itself, when it runs a loop, and may delete the connection.
    virtual const char* receive(std::span<const char> record, UniqueFd file) = 0;
    // There is nothing more to receive for now.
    virtual void received() = 0;
    // Once, and the last call: the peer has gone (null), or was dropped for what it did. Not called
    // for close() and the destructor.
    virtual void closed(const char* why) = 0;
  };

  // The socket is one end of a SOCK_SEQPACKET pair. The client is not owned. The priority is that
  // of the main context.
  WindowConnection(UniqueFd socket, Client& client, int priority);
  ~WindowConnection();
  WindowConnection(const WindowConnection&) = delete;
  WindowConnection& operator=(const WindowConnection&) = delete;

  // With a file, a duplicate of it goes along. A record with a key other than 0 takes the place of
  // the last one waiting to be sent if that has the same key.
  template <typename Record>
  void send(const Record& record, int file = -1, std::uint64_t key = 0) {
    static_assert(sizeof record <= largestRecord);
    sendBytes({reinterpret_cast<const char*>(&record), sizeof record}, file, key);
  }
  // Nothing is sent or received from now on.
  void close();

 private:
  struct Unsent {
    std::string bytes;
    UniqueFd file;
    std::uint64_t key;
    std::size_t size() const { return bytes.size(); }
  };

  void sendBytes(std::span<const char> bytes, int file, std::uint64_t key);
  void flush();
  void drop(const char* why);
  void serve();

  UniqueFd socket_;
  Client* client_;
  FdSource source_;
  SendQueue<Unsent> unsent_;
  long second_ = 0;
  int receivedInSecond_ = 0;
  // False once this is destroyed, for who is inside a call of the client.
  std::shared_ptr<bool> alive_;
};

}  // namespace Tessel::Platform::Graphics::Remote

// One end of the window connection between a child process and the application: records, some with
// a file, over a socket that preserves message boundaries. UI thread.
//
// Served by the default main context, nested loops included, so that a page's dialog does not stop
// its other windows. Sending never blocks.
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
  // A peer that leaves this many records unread is dropped.
  static constexpr std::size_t maximumUnsent = 2048;
  // A peer that sends more per second is dropped, so that others are served.
  static constexpr int maximumPerSecond = 50000;

  class Client {
   public:
    virtual ~Client() = default;
    // The file is empty for most records. Returns null, or what is wrong with the record. May be
    // called recursively from a nested loop, and may delete the connection.
    virtual const char* receive(std::span<const char> record, UniqueFd file) = 0;
    // No more records are available for now.
    virtual void received() = 0;
    // The last call, made once: the peer is gone (null), or was dropped for the given reason. Not
    // called for close() and the destructor.
    virtual void closed(const char* why) = 0;
  };

  // The socket is one end of a SOCK_SEQPACKET pair. The client is not owned. The priority is that
  // of the main context.
  WindowConnection(UniqueFd socket, Client& client, int priority);
  ~WindowConnection();
  WindowConnection(const WindowConnection&) = delete;
  WindowConnection& operator=(const WindowConnection&) = delete;

  // With a file, a duplicate of it is attached. A record with a nonzero key replaces the last
  // queued one if that has the same key.
  template <typename Record>
  void send(const Record& record, int file = -1, std::uint64_t key = 0) {
    static_assert(sizeof record <= largestRecord);
    sendBytes({reinterpret_cast<const char*>(&record), sizeof record}, file, key);
  }
  // Stops sending and receiving.
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
  // False once this is destroyed, for callers of the client.
  std::shared_ptr<bool> alive_;
};

}  // namespace Tessel::Platform::Graphics::Remote

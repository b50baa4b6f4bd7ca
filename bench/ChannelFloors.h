// The floors of the channels between processes: the bare cost of a stream of packets, of a forked
// process that connects, and of a call over another message bus.
#pragma once

#include "platform/base/UniqueFd.h"

#include <sys/types.h>

#include <cstddef>
#include <string>

struct sd_bus;

namespace bench {

// A process that sends packets on request; they are read with blocking calls.
class PacketStream {
 public:
  explicit PacketStream(int processor);
  ~PacketStream();
  PacketStream(const PacketStream&) = delete;
  PacketStream& operator=(const PacketStream&) = delete;

  // Requests that many packets of that size, and reads them.
  void receive(int count, std::size_t size);

 private:
  Tessel::Platform::UniqueFd socket_;
  pid_t peer_ = -1;
};

// A process that forks another one, which connects and sends a packet. Create it before any thread.
class BareLauncher {
 public:
  explicit BareLauncher(std::size_t packetSize);
  ~BareLauncher();
  BareLauncher(const BareLauncher&) = delete;
  BareLauncher& operator=(const BareLauncher&) = delete;

  pid_t pid() const { return launcher_; }
  // Forks, and waits for the packet.
  void launch();

 private:
  const std::size_t packetSize_;
  std::string path_;
  Tessel::Platform::UniqueFd listener_;
  Tessel::Platform::UniqueFd pipe_;
  pid_t launcher_ = -1;
};

// Two processes connected directly by sd-bus, without a broker.
class BusPair {
 public:
  // The other process runs on that processor and answers with a text of that length.
  BusPair(std::size_t answerLength, int processor);
  ~BusPair();
  BusPair(const BusPair&) = delete;
  BusPair& operator=(const BusPair&) = delete;

  // One round trip: a number is sent, a text returned.
  void roundTrip();

 private:
  sd_bus* bus_ = nullptr;
  pid_t peer_ = -1;
};

}  // namespace bench

// The floors of the channels between processes.
#include "bench/ChannelFloors.h"

#include "bench/PingPong.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace bench {

namespace {

using Tessel::Platform::UniqueFd;

std::array<char, 1 << 16> packet;

void mustBe(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "channel_bench: %s\n", what);
  std::abort();
}

struct Order {
  int count;
  std::size_t size;
};

struct Pair {
  UniqueFd ours;
  UniqueFd theirs;
};

Pair connectedPair(int type) {
  int ends[2] = {-1, -1};
  mustBe(::socketpair(AF_UNIX, type | SOCK_CLOEXEC, 0, ends) == 0, "no pair of sockets");
  return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

void end(pid_t process) {
  ::kill(process, SIGKILL);
  ::waitpid(process, nullptr, 0);
}

}  // namespace

PacketStream::PacketStream(int processor) {
  Pair pair = connectedPair(SOCK_SEQPACKET);
  peer_ = ::fork();
  if (peer_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    pin(::getpid(), processor);
    const int socket = pair.theirs.get();
    Order order{};
    while (::recv(socket, &order, sizeof order, 0) == sizeof order) {
      for (int i = 0; i < order.count; ++i) {
        if (::send(socket, packet.data(), order.size, MSG_NOSIGNAL) < 0) ::_exit(1);
      }
    }
    ::_exit(0);
  }
  socket_ = std::move(pair.ours);
}

PacketStream::~PacketStream() {
  end(peer_);
}

void PacketStream::receive(int count, std::size_t size) {
  const Order order{count, size};
  mustBe(::send(socket_.get(), &order, sizeof order, MSG_NOSIGNAL) > 0, "no order");
  for (int i = 0; i < count; ++i) {
    mustBe(::recv(socket_.get(), packet.data(), packet.size(), 0) == ssize_t(size), "no packet");
  }
}

BareLauncher::BareLauncher(std::size_t packetSize) : packetSize_(packetSize) {
  std::array<char, 64> folder{"/tmp/channel-bench-XXXXXX"};
  mustBe(::mkdtemp(folder.data()) != nullptr, "no folder");
  path_ = std::string(folder.data()) + "/socket";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path_.copy(address.sun_path, sizeof address.sun_path - 1);
  const auto* const name = reinterpret_cast<const sockaddr*>(&address);
  listener_.reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
  mustBe(::bind(listener_.get(), name, sizeof address) == 0 && ::listen(listener_.get(), 8) == 0,
         "no listener");
  int ends[2] = {-1, -1};
  mustBe(::pipe2(ends, O_CLOEXEC) == 0, "no pipe");
  pipe_.reset(ends[1]);
  launcher_ = ::fork();
  if (launcher_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::close(ends[1]);
    std::signal(SIGCHLD, SIG_IGN);
    char record[24];
    while (::read(ends[0], record, sizeof record) == sizeof record) {
      if (::fork() != 0) continue;
      const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
      const bool isSent = ::connect(socket, name, sizeof address) == 0 &&
                          ::send(socket, packet.data(), packetSize, MSG_NOSIGNAL) > 0;
      // Runs as long as its parent, as a child process would.
      char byte = 0;
      static_cast<void>(::recv(socket, &byte, 1, 0));
      ::_exit(isSent ? 0 : 1);
    }
    ::_exit(0);
  }
  ::close(ends[0]);
}

BareLauncher::~BareLauncher() {
  end(launcher_);
  std::error_code ignored;
  std::filesystem::remove_all(std::filesystem::path(path_).parent_path(), ignored);
}

void BareLauncher::launch() {
  const std::array<char, 24> record{};
  mustBe(::write(pipe_.get(), record.data(), record.size()) == ssize_t(record.size()), "no record");
  const UniqueFd child(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC));
  mustBe(::recv(child.get(), packet.data(), packet.size(), 0) == ssize_t(packetSize_), "no child");
}

namespace {

std::string busAnswer;

int answerCall(sd_bus_message* message, void*, sd_bus_error*) {
  int number = 0;
  if (sd_bus_message_read(message, "i", &number) < 0) return -1;
  return sd_bus_reply_method_return(message, "s", busAnswer.c_str());
}

[[noreturn]] void serveBus(int socket) {
  sd_bus* bus = nullptr;
  sd_id128_t id{};
  sd_id128_randomize(&id);
  mustBe(sd_bus_new(&bus) >= 0 && sd_bus_set_fd(bus, socket, socket) >= 0 &&
             sd_bus_set_server(bus, 1, id) >= 0 &&
             sd_bus_add_object(bus, nullptr, "/bench", answerCall, nullptr) >= 0 &&
             sd_bus_start(bus) >= 0,
         "no bus");
  for (;;) {
    const int done = sd_bus_process(bus, nullptr);
    if (done < 0 || (done == 0 && sd_bus_wait(bus, UINT64_MAX) < 0)) ::_exit(0);
  }
}

}  // namespace

BusPair::BusPair(std::size_t answerLength, int processor) {
  Pair pair = connectedPair(SOCK_STREAM);
  peer_ = ::fork();
  if (peer_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    pair.ours.reset();
    pin(::getpid(), processor);
    busAnswer.assign(answerLength, 'x');
    serveBus(pair.theirs.release());
  }
  const int socket = pair.ours.release();
  mustBe(
      sd_bus_new(&bus_) >= 0 && sd_bus_set_fd(bus_, socket, socket) >= 0 && sd_bus_start(bus_) >= 0,
      "no bus");
}

BusPair::~BusPair() {
  sd_bus_flush_close_unref(bus_);
  end(peer_);
}

void BusPair::roundTrip() {
  sd_bus_message* reply = nullptr;
  mustBe(sd_bus_call_method(bus_, nullptr, "/bench", "bench.View", "Title", nullptr, &reply, "i",
                            12) >= 0,
         "no answer of the bus");
  const char* text = nullptr;
  mustBe(sd_bus_message_read(reply, "s", &text) >= 0 && text, "no text of the bus");
  sd_bus_message_unref(reply);
}

}  // namespace bench

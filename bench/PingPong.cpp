// The floor of every round trip to another process.
#include "bench/PingPong.h"

#include <poll.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

namespace bench {

bool pin(pid_t process, int processor) {
  cpu_set_t set;
  CPU_ZERO(&set);
  CPU_SET(processor, &set);
  bool all = true;
  std::error_code gone;
  for (const auto& task :
       std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", gone)) {
    const pid_t thread = std::atoi(task.path().filename().c_str());
    all = ::sched_setaffinity(thread, sizeof set, &set) == 0 && all;
  }
  return all && !gone;
}

namespace {

void waitFor(int socket) {
  pollfd descriptor{socket, POLLIN, 0};
  ::poll(&descriptor, 1, -1);
}

}  // namespace

PingPong::PingPong(std::size_t answerSize, int processor, bool polls)
    : polls_(polls), answer_(answerSize, '\0') {
  int sockets[2];
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets) != 0) std::abort();
  peer_ = ::fork();
  if (peer_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::close(sockets[0]);
    pin(::getpid(), processor);
    static char buffer[1 << 16];
    for (;;) {
      if (polls) waitFor(sockets[1]);
      if (::recv(sockets[1], buffer, sizeof buffer, 0) <= 0) break;
      if (::send(sockets[1], buffer, answerSize, MSG_NOSIGNAL) < 0) break;
    }
    ::_exit(0);
  }
  ::close(sockets[1]);
  socket_ = Tessel::Platform::UniqueFd(sockets[0]);
}

PingPong::~PingPong() {
  socket_.reset();
  ::waitpid(peer_, nullptr, 0);
}

void PingPong::roundTrip(const std::string& packet) {
  const bool isSent = ::send(socket_.get(), packet.data(), packet.size(), MSG_NOSIGNAL) >= 0;
  if (isSent && polls_) waitFor(socket_.get());
  if (!isSent || ::recv(socket_.get(), answer_.data(), answer_.size(), 0) < 0) {
    std::abort();
  }
}

}  // namespace bench

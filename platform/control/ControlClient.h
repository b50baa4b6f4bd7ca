// The other end of control sockets: finds running programs and talks to one. Any thread; one at a
// time per client.
#pragma once

#include "platform/base/UniqueFd.h"

#include <rapidjson/document.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace Tessel::Platform {

class ControlClient {
 public:
  struct Program {
    int pid;
    uid_t uid;
    std::string path;  // of its control socket
  };
  // How long a program may take to answer, by default: more than it gives itself.
  static constexpr std::chrono::milliseconds patience{25'000};

  // The programs with a control socket, by their pids: those of this user, for root those of every
  // user. Leftovers of ended programs are not among them.
  static std::vector<Program> programs();
  // That of a process of this user.
  static Program programOf(int pid);

  enum class Outcome { Good, Refused, Gone, TimedOut };
  struct Answer {
    Outcome outcome = Outcome::Gone;
    std::string problem;        // a sentence; empty if good
    rapidjson::Document value;  // null if there is none
    UniqueFd file;              // for commands with such a result
  };

  // Until the limit, for all that follows. Checks, by the kernel's word, that the other end is that
  // process of that user.
  Answer connect(const Program& program, std::chrono::milliseconds limit = patience);
  // Sends a line and waits for its answer.
  Answer ask(const std::vector<std::string>& words);
  // The next line that comes without being asked for, waiting for ever; none when the program ends.
  std::optional<std::string> nextLine();

 private:
  using Clock = std::chrono::steady_clock;

  // Waits for these events of poll(2); false at the deadline.
  bool wait(short events, std::optional<Clock::time_point> deadline) const;
  Outcome send(const std::string& line);
  Outcome receive(std::optional<Clock::time_point> deadline, std::string& line);

  UniqueFd socket_;
  UniqueFd file_;
  std::string pending_;
  Clock::time_point deadline_;
};

}  // namespace Tessel::Platform

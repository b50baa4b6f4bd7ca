// The real program as a child process.
#include "tests/support/Program.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

using Tessel::Platform::UniqueFd;
using Clock = std::chrono::steady_clock;

namespace test_support {

namespace {

int millisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
}

// Appends the available data; false at the end of the stream.
bool drain(const UniqueFd& fd, std::string& text) {
  std::array<char, 4096> chunk;
  const ssize_t count = ::read(fd.get(), chunk.data(), chunk.size());
  if (count > 0) text.append(chunk.data(), static_cast<std::size_t>(count));
  return count > 0;
}

}  // namespace

Program::Program(const Environment& changes, const std::vector<std::string>& arguments,
                 const std::string& name, const char* file) {
  int output[2];
  int error[2];
  if (::pipe2(output, O_CLOEXEC) != 0 || ::pipe2(error, O_CLOEXEC) != 0) std::abort();
  output_ = UniqueFd(output[0]);
  error_ = UniqueFd(error[0]);
  std::vector<char*> argv{const_cast<char*>(name.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  pid_ = ::fork();
  if (pid_ == 0) {
    for (const auto& [variable, value] : changes) {
      value.empty() ? ::unsetenv(variable.c_str()) : ::setenv(variable.c_str(), value.c_str(), 1);
    }
    ::dup2(output[1], STDOUT_FILENO);
    ::dup2(error[1], STDERR_FILENO);
    ::execv(file ? file : PAGEHOST_TEST_PROGRAM, argv.data());
    ::_exit(127);
  }
  ::close(output[1]);
  ::close(error[1]);
}

Program::~Program() {
  if (reaped_ || pid_ <= 0) return;
  ::kill(pid_, SIGKILL);
  ::waitpid(pid_, nullptr, 0);
}

bool Program::readMore(Clock::time_point deadline) {
  std::array<pollfd, 2> streams{{{output_.get(), POLLIN, 0}, {error_.get(), POLLIN, 0}}};
  if (::poll(streams.data(), streams.size(), millisecondsUntil(deadline)) <= 0) return false;
  if (streams[0].revents != 0 && !drain(output_, unreadOutput_)) output_.reset();
  if (streams[1].revents != 0 && !drain(error_, errorText_)) error_.reset();
  return output_ || error_;
}

std::optional<std::string> Program::nextLine() {
  const auto deadline = Clock::now() + patience;
  for (;;) {
    const auto end = unreadOutput_.find('\n');
    if (end != std::string::npos) {
      std::string line = unreadOutput_.substr(0, end);
      unreadOutput_.erase(0, end + 1);
      return line;
    }
    if (!readMore(deadline)) return std::nullopt;
  }
}

bool Program::waitForLine(const std::string& text) {
  while (const auto line = nextLine()) {
    if (line->find(text) != std::string::npos) return true;
  }
  return false;
}

bool Program::waitForError(const std::string& text) {
  const auto deadline = Clock::now() + patience;
  while (errorText_.find(text) == std::string::npos) {
    if (!readMore(deadline)) return false;
  }
  return true;
}

std::string Program::errors() {
  while (readMore(Clock::now())) {
  }
  return errorText_;
}

std::optional<int> Program::status() {
  const UniqueFd process(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
  const auto deadline = Clock::now() + patience;
  // Keeps reading its streams, so that a full pipe does not keep it from exiting.
  for (;;) {
    std::array<pollfd, 3> waits{
        {{process.get(), POLLIN, 0}, {output_.get(), POLLIN, 0}, {error_.get(), POLLIN, 0}}};
    if (::poll(waits.data(), waits.size(), millisecondsUntil(deadline)) <= 0) return std::nullopt;
    if (waits[0].revents != 0) break;
    readMore(Clock::now());
  }
  errors();
  int status = 0;
  ::waitpid(pid_, &status, 0);
  reaped_ = true;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace test_support

// The other end of control sockets.
#include "platform/control/ControlClient.h"

#include "platform/control/ControlSocket.h"
#include "platform/desktop/NavigatorJson.h"
#include "platform/os/Folders.h"
#include "platform/sockets/LocalSocket.h"
#include "platform/sockets/Peer.h"
#include "platform/sockets/Transfer.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string_view>

namespace Tessel::Platform {

namespace {

// More than the longest answer.
constexpr std::size_t longestLine = 16u << 20;

// The pid in the name of a control socket; 0 for any other name.
int pidOf(std::string_view name) {
  const std::string_view prefix = ControlSocket::namePrefix;
  int pid = 0;
  if (!name.starts_with(prefix)) return 0;
  const char* const end = name.data() + name.size();
  const auto [place, error] = std::from_chars(name.data() + prefix.size(), end, pid);
  return error == std::errc() && place == end ? pid : 0;
}

// The folders that hold control sockets of any user, as the kernel lists sockets that listen. Their
// owners may have put anything there: what is at the other end is checked when it is connected to.
std::set<std::string> foldersOfAll() {
  std::set<std::string> folders;
  std::ifstream sockets("/proc/net/unix");
  for (std::string line; std::getline(sockets, line);) {
    const std::size_t start = line.find('/');
    if (start == std::string::npos) continue;
    const std::filesystem::path path = line.substr(start);
    if (pidOf(path.filename().string()) > 0) folders.insert(path.parent_path().string());
  }
  return folders;
}

// A killed program leaves its socket behind.
bool isListening(const std::string& path) {
  return connectLocal(path, SOCK_STREAM, {}) || errno == EAGAIN;
}

// Those whose files are in a folder. Their user is that of the folder.
void addProgramsIn(const std::string& folder, std::vector<ControlClient::Program>& programs) {
  struct stat owner {};
  if (::lstat(folder.c_str(), &owner) != 0 || !S_ISDIR(owner.st_mode)) return;
  std::error_code unreadable;
  for (const auto& entry : std::filesystem::directory_iterator(folder, unreadable)) {
    const int pid = pidOf(entry.path().filename().string());
    if (pid > 0 && isListening(entry.path().string())) {
      programs.push_back({pid, owner.st_uid, entry.path().string()});
    }
  }
}

}  // namespace

std::vector<ControlClient::Program> ControlClient::programs() {
  std::vector<Program> programs;
  std::set<std::string> folders;
  if (::geteuid() == 0) folders = foldersOfAll();
  if (std::string own = runtimeFolder(); !own.empty()) folders.insert(std::move(own));
  for (const std::string& folder : folders) addProgramsIn(folder, programs);
  std::sort(programs.begin(), programs.end(),
            [](const Program& a, const Program& b) { return a.pid < b.pid; });
  return programs;
}

ControlClient::Program ControlClient::programOf(int pid) {
  return {pid, ::geteuid(), ControlSocket::pathOf(pid)};
}

ControlClient::Answer ControlClient::connect(const Program& program,
                                             std::chrono::milliseconds limit) {
  deadline_ = Clock::now() + limit;
  socket_.reset();
  if (program.path.empty()) {
    return {Outcome::Gone, std::string("The run-time folder: ") + std::strerror(errno), {}, {}};
  }
  UniqueFd socket = connectLocal(program.path, SOCK_STREAM, limit);
  if (!socket) {
    const Outcome outcome = errno == EAGAIN ? Outcome::TimedOut : Outcome::Gone;
    return {outcome, program.path + ": " + std::strerror(errno), {}, {}};
  }
  const auto peer = peerOf(socket.get());
  if (!peer || peer->uid != program.uid || peer->pid != program.pid) {
    return {Outcome::Gone, program.path + ": another process listens there", {}, {}};
  }
  socket_ = std::move(socket);
  return {Outcome::Good, {}, {}, {}};
}

ControlClient::Answer ControlClient::ask(const std::vector<std::string>& words) {
  Answer answer;
  std::string line;
  answer.outcome = send(
      NavigatorJson::list(std::vector<String>(words.begin(), words.end())).toStdString() + "\n");
  if (answer.outcome == Outcome::Good) answer.outcome = receive(deadline_, line);
  if (answer.outcome == Outcome::TimedOut) answer.problem = "The program does not answer";
  if (answer.outcome == Outcome::Gone) answer.problem = "The program has closed the connection";
  if (answer.outcome != Outcome::Good) return answer;
  rapidjson::Document document;
  document.Parse<rapidjson::kParseIterativeFlag>(line.data(), line.size());
  if (document.HasParseError() || !document.IsObject()) {
    answer.outcome = Outcome::Refused;
    answer.problem = "The answer is malformed";
    return answer;
  }
  answer.problem = NavigatorJson::member(document, "error").toStdString();
  if (!answer.problem.empty()) answer.outcome = Outcome::Refused;
  if (document.HasMember("value")) {
    answer.value.CopyFrom(document["value"], answer.value.GetAllocator());
  }
  answer.file = std::move(file_);
  return answer;
}

std::optional<std::string> ControlClient::nextLine() {
  std::string line;
  if (receive(std::nullopt, line) != Outcome::Good) return std::nullopt;
  return line;
}

bool ControlClient::wait(short events, std::optional<Clock::time_point> deadline) const {
  for (;;) {
    int left = -1;
    if (deadline) {
      const auto rest = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
      if (rest.count() <= 0) return false;
      left = static_cast<int>(rest.count());
    }
    pollfd ready{socket_.get(), events, 0};
    if (::poll(&ready, 1, left) > 0) return true;
  }
}

ControlClient::Outcome ControlClient::send(const std::string& line) {
  std::string_view rest = line;
  while (!rest.empty()) {
    if (!wait(POLLOUT, deadline_)) return Outcome::TimedOut;
    const ssize_t count = trySend(socket_.get(), rest);
    if (count < 0 && !isFull(errno)) return Outcome::Gone;
    if (count > 0) rest.remove_prefix(static_cast<std::size_t>(count));
  }
  return Outcome::Good;
}

ControlClient::Outcome ControlClient::receive(std::optional<Clock::time_point> deadline,
                                              std::string& line) {
  std::size_t looked = 0;
  for (;;) {
    const std::size_t end = pending_.find('\n', looked);
    if (end != std::string::npos) {
      line = pending_.substr(0, end);
      pending_.erase(0, end + 1);
      return Outcome::Good;
    }
    looked = pending_.size();
    if (looked > longestLine) return Outcome::Gone;
    if (!wait(POLLIN, deadline)) return Outcome::TimedOut;
    std::array<char, 16384> bytes;
    Received received = tryReceive(socket_.get(), bytes);
    if (received.size < 0 && errno == EAGAIN) continue;
    if (received.size <= 0) return Outcome::Gone;
    if (received.file) file_ = std::move(received.file);
    pending_.append(bytes.data(), static_cast<std::size_t>(received.size));
  }
}

}  // namespace Tessel::Platform

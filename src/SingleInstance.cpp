// One program for each profile. Main thread, at start-up.
#include "src/SingleInstance.h"

#include "platform/base/Log.h"
#include "platform/base/UniqueFd.h"
#include "platform/control/ControlClient.h"
#include "platform/invocation/Viewers.h"
#include "platform/os/Folders.h"
#include "src/EngineStart.h"
#include "src/ProgramOptions.h"
#include "src/RemoteControl.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

using Tessel::Platform::ControlClient;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::UniqueFd;

namespace {

using Clock = std::chrono::steady_clock;

// How long a running program may take until it has started far enough to listen, or has ended.
constexpr std::chrono::seconds patience{20};
constexpr std::chrono::milliseconds pollInterval{50};

bool hasProfile = false;

// Held until the process ends. Never closed: closing any descriptor of the file would end the lock.
UniqueFd& heldLock() {
  static auto* const lock = new UniqueFd;
  return *lock;
}

// Named after the folder of the profile's data, which is what two programs must not share.
std::string lockPath() {
  std::string folder = Tessel::Platform::runtimeFolder();
  if (folder.empty()) return folder;
  const std::string data = std::string(g_get_user_data_dir()) + "/pagehost/" + applicationFolder();
  gchar* const sum = g_compute_checksum_for_string(G_CHECKSUM_SHA256, data.c_str(), -1);
  std::string path = folder + "/profile-" + std::string(sum, 16);
  g_free(sum);
  return path;
}

// The process that holds the lock; 0 if this one does now, -1 with errno set if there can be no
// lock.
// NOLINTNEXTLINE(misc-no-recursion): once more for each program that ends just then
pid_t holderOf(const std::string& path) {
  UniqueFd file(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!file) return -1;
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  if (::fcntl(file.get(), F_SETLK, &lock) == 0) {
    heldLock() = std::move(file);
    return 0;
  }
  if (errno != EAGAIN && errno != EACCES) return -1;
  lock.l_type = F_WRLCK;
  if (::fcntl(file.get(), F_GETLK, &lock) != 0) return -1;
  // It may have ended between the two.
  if (lock.l_type == F_UNLCK) return holderOf(path);
  // Without a number here it runs in another container.
  if (lock.l_pid > 0) return lock.l_pid;
  errno = EBUSY;
  return -1;
}

// The arguments that are addresses. Files are named in full, since the other program runs
// elsewhere.
std::vector<std::string> addressesOf(const std::vector<char*>& arguments) {
  std::vector<std::string> addresses;
  for (std::size_t i = 1; i < arguments.size() && arguments[i]; ++i) {
    const std::string word = arguments[i];
    std::error_code none;
    if (word.empty() || word[0] == '-') continue;
    if (!std::filesystem::exists(word, none)) {
      addresses.push_back(word);
      continue;
    }
    gchar* const uri =
        g_filename_to_uri(std::filesystem::absolute(word, none).c_str(), nullptr, nullptr);
    addresses.emplace_back(uri ? uri : word);
    g_free(uri);
  }
  return addresses;
}

enum class HandOver { Done, Hangs, Later };

HandOver handTo(pid_t holder, const std::vector<std::string>& addresses, Clock::duration left,
                std::string& problem) {
  ControlClient client;
  std::vector<std::string> words{"open"};
  words.insert(words.end(), addresses.begin(), addresses.end());
  auto answer = client.connect(ControlClient::programOf(holder),
                               std::chrono::ceil<std::chrono::milliseconds>(left));
  if (answer.outcome == ControlClient::Outcome::Good) answer = client.ask(words);
  problem = answer.problem;
  switch (answer.outcome) {
    case ControlClient::Outcome::Good:
      return HandOver::Done;
    // It has not got so far yet, is ending, or has too many addresses waiting.
    case ControlClient::Outcome::Gone:
    case ControlClient::Outcome::Refused:
      return HandOver::Later;
    default:
      return HandOver::Hangs;
  }
}

[[noreturn]] void fail(pid_t holder, const std::string& problem) {
  logAlways(LogError,
            "Process %d has the same profile and does not take the addresses over (%s): end it, or "
            "start with --new or another --profile.",
            static_cast<int>(holder), problem.c_str());
  std::exit(EXIT_FAILURE);
}

}  // namespace

void claimProfile(const std::vector<char*>& arguments) {
  if (isSwitchedOn(newVariable) || isLaunchedApplication() ||
      std::getenv(Tessel::Platform::Viewers::openerVariable)) {
    return;
  }
  const std::string path = lockPath();
  if (path.empty()) return;
  const std::vector<std::string> addresses = addressesOf(arguments);
  const auto deadline = Clock::now() + patience;
  for (std::string problem;;) {
    const pid_t holder = holderOf(path);
    if (holder < 0) {
      return logAlways(LogNotice, "Other starts do not find this program: %s: %s", path.c_str(),
                       std::strerror(errno));
    }
    hasProfile = holder == 0;
    if (hasProfile) return;
    if (addresses.size() > RemoteControl::mostInvocations) {
      fail(holder, "it takes " + std::to_string(RemoteControl::mostInvocations) +
                       " at most, and there are " + std::to_string(addresses.size()));
    }
    switch (handTo(holder, addresses, deadline - Clock::now(), problem)) {
      case HandOver::Done:
        logAlways(LogNotice, "Process %d has the same profile: it has taken over.",
                  static_cast<int>(holder));
        std::exit(EXIT_SUCCESS);
      case HandOver::Hangs:
        fail(holder, problem);
      case HandOver::Later:
        break;
    }
    if (Clock::now() >= deadline) fail(holder, problem);
    std::this_thread::sleep_for(pollInterval);
  }
}

bool isDesktopsInstance() {
  return hasProfile && applicationFolder().empty();
}

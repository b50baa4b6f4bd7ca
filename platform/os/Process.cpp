// The displayed name of the process, and detached threads.
#include "platform/os/Process.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

namespace Tessel::Platform {

namespace {

char** arguments = nullptr;
char* area = nullptr;  // the bytes of all arguments, one after the other
std::size_t areaSize = 0;
std::size_t roomSize = 0;      // of that and of the environment that follows it
std::array<char, 64> shown{};  // the name that was set last

struct Start {
  std::string name;
  void (*function)(void*);
  void* argument;
};

void* run(void* data) {
  const std::unique_ptr<Start> start(static_cast<Start*>(data));
  ::prctl(PR_SET_NAME, start->name.c_str());
  start->function(start->argument);
  return nullptr;
}

}  // namespace

void rememberArguments(int argc, char** argv) {
  arguments = argv;
  area = argc > 0 ? argv[0] : nullptr;
  areaSize = 0;
  // The kernel lays them out contiguously; other code may have moved some.
  for (int i = 0; i < argc && argv[i] == area + areaSize; ++i) {
    areaSize += std::strlen(argv[i]) + 1;
  }
  roomSize = areaSize;
  for (char** variable = environ; *variable && *variable == area + roomSize; ++variable) {
    roomSize += std::strlen(*variable) + 1;
  }
}

void showProcessName(const char* name) {
  ::prctl(PR_SET_NAME, name);
  shown[std::string_view(name).copy(shown.data(), shown.size() - 1)] = '\0';
  if (!area || areaSize == 0) return;
  const std::size_t length = std::min(std::strlen(name), roomSize - 1);
  if (length >= areaSize) {
    // The kernel shows a name that runs on into the environment whole. The variables move away
    // first; who read some before has the old ones, which the process's start is early enough for.
    for (char** variable = environ; variable && *variable; ++variable) {
      if (*variable >= area && *variable < area + roomSize) *variable = ::strdup(*variable);
    }
  }
  char* const end = std::copy_n(name, length, area);
  std::fill(end, std::max(end + 1, area + areaSize), '\0');
  // Those behind it are gone.
  arguments[1] = nullptr;
}

const char* processName() {
  if (shown[0] != '\0') return shown.data();
  return area ? area : "";
}

bool isStoppedOrTraced(int pid) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("State:\t")) {
      const char state = line.size() > 7 ? line[7] : ' ';
      if (state == 'T' || state == 't') return true;
    } else if (line.starts_with("TracerPid:\t")) {
      return line != "TracerPid:\t0";
    }
  }
  return false;
}

pid_t parentOf(pid_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string text;
  std::getline(file, text, '\0');
  // "PID (NAME) STATE PARENT ...", and the name may hold anything.
  const std::size_t name = text.rfind(')');
  if (name == std::string::npos || name + 4 >= text.size()) return -1;
  return std::atoi(text.c_str() + name + 4);
}

bool startNamedDetachedThread(const char* name, void (*function)(void*), void* argument) {
  auto start = std::make_unique<Start>(Start{name, function, argument});
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  // Signals are for the thread that has the main loop.
  sigset_t all;
  sigset_t before;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &before);
  pthread_t thread{};
  const int error = pthread_create(&thread, &attributes, run, start.get());
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  pthread_attr_destroy(&attributes);
  if (error != 0) {
    errno = error;
    return false;
  }
  static_cast<void>(start.release());
  return true;
}

}  // namespace Tessel::Platform

// pagehost-ctl: raises notifications in a running program. Main thread.
#include "platform/desktop/NavigatorJson.h"
#include "platform/desktop/Notifications.h"
#include "platform/options/CommandLine.h"
#include "tools/control/Client.h"
#include "tools/control/Manual.h"

#include <charconv>
#include <cstdio>
#include <string_view>

namespace {

constexpr int failed = 1;
constexpr int misused = Tessel::Platform::misusedStatus;
constexpr int patienceMilliseconds = 10000;

int complain(int status, const std::string& problem) {
  std::fprintf(stderr, "pagehost-ctl: %s%s\n", problem.c_str(),
               status == misused ? "; see pagehost-ctl --help" : "");
  return status;
}

void print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
}

std::string listText(const std::vector<int>& pids) {
  std::string text;
  for (const int pid : pids) text.append(std::to_string(pid)).push_back('\n');
  return text;
}

// The only program there is; 0, and the problem, when there is none or several.
int onlyProgram(std::string& problem) {
  const std::vector<int> pids = Client::programs();
  if (pids.size() == 1) return pids.front();
  problem = pids.empty() ? "No pagehost of yours is running"
                         : "Several are running, choose one with --pid:\n" + listText(pids);
  return 0;
}

// The problem that the answer tells, else nothing.
std::string problemOf(const std::optional<std::string>& answer) {
  if (!answer) return "The program does not answer";
  rapidjson::Document document;
  if (!Tessel::Platform::NavigatorJson::parse(*answer, document)) return "The answer is none";
  return Tessel::Platform::NavigatorJson::member(document, "error").toStdString();
}

int talk(int pid, const std::vector<std::string>& words) {
  Client client;
  std::string problem;
  if (pid == 0) pid = onlyProgram(problem);
  if (problem.empty()) problem = client.connect(pid);
  if (problem.empty()) problem = client.send(words);
  if (problem.empty()) problem = problemOf(client.nextLine(patienceMilliseconds));
  if (!problem.empty()) return complain(failed, problem);
  if (words.front() != "watch") return 0;
  while (const auto line = client.nextLine(-1)) {
    print(*line + "\n");
    std::fflush(stdout);
  }
  return 0;
}

int raise(int pid, std::vector<std::string> words) {
  const auto* notification = Tessel::Platform::notificationNamed(words.front());
  if (!notification) return complain(misused, "There is no notification " + words.front());
  if (words.size() - 1 != notification->count) {
    return complain(misused, words.front() + " takes " + std::to_string(notification->count) +
                                 " arguments: " + notification->parameters);
  }
  words.insert(words.begin(), "raise");
  return talk(pid, words);
}

bool readPid(const std::string& text, int& pid) {
  const char* const end = text.data() + text.size();
  const auto [place, error] = std::from_chars(text.data(), end, pid);
  return error == std::errc() && place == end && pid > 0;
}

}  // namespace

int main(int argc, char** argv) {
  const auto line = Tessel::Platform::readCommandLine(controlText(), argc, argv);
  const std::vector<std::string> words(line.words.begin() + 1, line.words.end() - 1);
  int pid = 0;
  bool watches = false;
  bool lists = false;
  for (const auto& [option, value] : line.options) {
    const std::string_view name = option->name;
    watches |= name == "watch";
    lists |= name == "list";
    if (name == "pid" && !readPid(value, pid)) return complain(misused, value + " is no process");
  }
  if ((watches || lists) && !words.empty()) {
    return complain(misused, "--watch and --list take no words");
  }
  if (lists) return print(listText(Client::programs())), 0;
  if (watches) return talk(pid, {"watch"});
  if (words.empty()) return complain(misused, "There is nothing to do");
  return raise(pid, words);
}

// pagehost-ctl: controls a running program. Main thread.
#include "platform/control/ControlClient.h"
#include "platform/control/ControlCommands.h"
#include "platform/desktop/NavigatorJson.h"
#include "platform/desktop/Notifications.h"
#include "platform/options/CommandLine.h"
#include "tools/control/Manual.h"

#include <fcntl.h>
#include <pwd.h>
#include <rapidjson/prettywriter.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

namespace {

using Tessel::Platform::ControlClient;
using Tessel::Platform::ControlCommand;
using Tessel::Platform::ControlResult;
using Outcome = ControlClient::Outcome;
using Program = ControlClient::Program;
namespace NavigatorJson = Tessel::Platform::NavigatorJson;

constexpr int failed = 1;
constexpr int misused = Tessel::Platform::misusedStatus;
constexpr int notOne = 3;
constexpr int timedOut = 4;
// What the list and the choice of a program wait for each.
constexpr std::chrono::seconds shortPatience{2};
constexpr int longestTimeout = 3600;  // seconds

struct Order {
  int pid = 0;
  std::optional<std::string> profile;
  std::string view = "1";
  std::chrono::seconds timeout =
      std::chrono::duration_cast<std::chrono::seconds>(ControlClient::patience);
  std::vector<std::string> words;
};

int complain(int status, const std::string& problem) {
  std::fprintf(stderr, "pagehost-ctl: %s%s\n", problem.c_str(),
               status == misused ? "; see pagehost-ctl --help" : "");
  return status;
}

int complain(const ControlClient::Answer& answer) {
  return complain(answer.outcome == Outcome::TimedOut ? timedOut : failed, answer.problem);
}

// False if what is printed has nowhere to go.
bool print(const std::string& text) {
  std::fputs(text.c_str(), stdout);
  return std::fflush(stdout) == 0;
}

std::string userOf(const Program& program) {
  const passwd* const user = ::getpwuid(program.uid);
  return user ? user->pw_name : std::to_string(program.uid);
}

// What it tells of itself; null where it does not.
rapidjson::Document aboutOf(const Program& program) {
  ControlClient client;
  auto answer = client.connect(program, shortPatience);
  if (answer.outcome == Outcome::Good) answer = client.ask({"about"});
  return std::move(answer.value);
}

// A line for each: its process, user, profile and chrome.
std::string listText(const std::vector<Program>& programs) {
  std::string text;
  for (const Program& each : programs) {
    const auto about = aboutOf(each);
    const auto member = [&](const char* name) {
      const std::string value = NavigatorJson::member(about, name).toStdString();
      return value.empty() ? std::string("-") : value;
    };
    text.append(std::to_string(each.pid)).append("\t").append(userOf(each)).append("\t");
    text.append(about.IsObject() ? member("profile") + "\t" + member("chrome")
                                 : "?\tdoes not answer");
    text.push_back('\n');
  }
  return text;
}

// The program that is meant. Without one, the exit status, and the problem was told.
std::optional<Program> chosen(const Order& order, int& status) {
  std::vector<Program> programs = ControlClient::programs();
  const std::size_t all = programs.size();
  if (order.pid > 0)
    std::erase_if(programs, [&](const Program& each) { return each.pid != order.pid; });
  if (order.profile) {
    std::erase_if(programs, [&](const Program& each) {
      const auto about = aboutOf(each);
      return !about.IsObject() || NavigatorJson::member(about, "profile").view() != *order.profile;
    });
  }
  if (programs.size() == 1) return programs.front();
  status = notOne;
  if (!programs.empty()) {
    complain(notOne,
             "Several are running, choose one with --pid or --profile:\n" + listText(programs));
  } else if (all == 0) {
    complain(notOne, "No pagehost of yours is running");
  } else {
    complain(notOne, "No pagehost of that number and profile is running");
  }
  return std::nullopt;
}

// The file that a picture goes to; "-" is the standard output.
int writeFile(const Tessel::Platform::UniqueFd& content, const std::string& path) {
  const bool isOutput = path == "-";
  const Tessel::Platform::UniqueFd file(
      isOutput ? ::dup(STDOUT_FILENO)
               : ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  bool good = bool(file);
  std::array<char, 65536> bytes;
  for (ssize_t left = 0; good && (left = ::read(content.get(), bytes.data(), bytes.size())) != 0;) {
    good = left > 0;
    for (ssize_t sent = 0; good && sent < left;) {
      const ssize_t count =
          ::write(file.get(), bytes.data() + sent, static_cast<std::size_t>(left - sent));
      good = count > 0;
      sent += count;
    }
  }
  return good ? 0 : complain(failed, path + ": " + std::strerror(errno));
}

int show(const rapidjson::Document& value) {
  rapidjson::StringBuffer buffer;
  rapidjson::PrettyWriter<rapidjson::StringBuffer> writer(buffer);
  writer.SetIndent(' ', 2);
  value.Accept(writer);
  return print(buffer.GetString() + std::string("\n")) ? 0
                                                       : complain(failed, "The output is closed");
}

int talk(const Order& order, const std::vector<std::string>& line, const std::string& file = {}) {
  int status = 0;
  const auto program = chosen(order, status);
  if (!program) return status;
  ControlClient client;
  auto answer = client.connect(*program, order.timeout);
  if (answer.outcome == Outcome::Good) answer = client.ask(line);
  if (answer.outcome != Outcome::Good) return complain(answer);
  if (!file.empty()) {
    return answer.file ? writeFile(answer.file, file) : complain(failed, "The picture is missing");
  }
  if (line.front() != "watch")
    return answer.value.IsNull() && line.front() != "eval" ? 0 : show(answer.value);
  while (const auto next = client.nextLine()) {
    if (!print(*next + "\n")) break;
  }
  return 0;
}

int wrongCount(const std::string& name, const std::string& wanted) {
  return complain(misused, name + " takes " + wanted);
}

int command(const Order& order, const ControlCommand& its) {
  std::vector<std::string> line{its.name};
  std::size_t wanted = its.result == ControlResult::File ? 1 : 0;
  for (const auto& parameter : its.parameters) {
    if (std::string_view(parameter.type) == "u") line.push_back(order.view);
    if (std::string_view(parameter.type) == "s") ++wanted;
  }
  const std::size_t given = order.words.size() - 1;
  if (given != wanted && !(its.takesRest() && given > wanted)) {
    return wrongCount(its.name, wordsOf(its).empty() ? "no words" : wordsOf(its));
  }
  if (its.result == ControlResult::File) return talk(order, line, order.words.back());
  line.insert(line.end(), order.words.begin() + 1, order.words.end());
  return talk(order, line);
}

int raise(const Order& order, const Tessel::Platform::Notification& notification) {
  if (order.words.size() - 1 != notification.count) {
    return wrongCount(notification.name, std::to_string(notification.count) +
                                             " arguments: " + notification.parameters);
  }
  std::vector<std::string> line{"raise"};
  line.insert(line.end(), order.words.begin(), order.words.end());
  return talk(order, line);
}

int carryOut(const Order& order) {
  if (order.words.empty()) return complain(misused, "There is nothing to do");
  const std::string& name = order.words.front();
  if (const ControlCommand* const its = Tessel::Platform::controlCommandNamed(name)) {
    return command(order, *its);
  }
  if (const auto* const notification = Tessel::Platform::notificationNamed(name)) {
    return raise(order, *notification);
  }
  if (name != "list" && name != "watch") {
    return complain(misused, "There is no command or notification \"" + name + "\"");
  }
  if (order.words.size() > 1) return wrongCount(name, "no words");
  if (name == "watch") return talk(order, {"watch"});
  return print(listText(ControlClient::programs())) ? 0 : failed;
}

bool readNumber(const std::string& text, int highest, int& number) {
  const char* const end = text.data() + text.size();
  const auto [place, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && place == end && number > 0 && number <= highest;
}

}  // namespace

int main(int argc, char** argv) {
  const auto line = Tessel::Platform::readCommandLine(controlText(), argc, argv);
  Order order;
  order.words.assign(line.words.begin() + 1, line.words.end() - 1);
  constexpr int anyNumber = 0x7FFFFFFF;
  for (const auto& [option, value] : line.options) {
    const std::string_view name = option->name;
    int number = 0;
    if (name == "profile") {
      order.profile = value;
      continue;
    }
    if (!readNumber(value, name == "timeout" ? longestTimeout : anyNumber, number)) {
      return complain(misused, "--" + std::string(name) + ": \"" + value + "\" is not valid");
    }
    if (name == "pid") order.pid = number;
    if (name == "view") order.view = value;
    if (name == "timeout") order.timeout = std::chrono::seconds(number);
  }
  return carryOut(order);
}

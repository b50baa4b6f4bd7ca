// Ten processes that write to one object and ten that listen to it, for a few seconds, or for as
// many as PAGEHOST_PPS_LOAD_SECONDS says.
#include "platform/pps/PPSFiles.h"
#include "platform/pps/PPSObject.h"
#include "tests/link/TemporaryFolder.h"
#include "tests/platform/Waiting.h"
#include "tests/support/ChromeFixture.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>

namespace Tessel::Platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int writerCount = 10;
constexpr int readerCount = 10;
constexpr const char* path = "load/object";

int secondsWanted() {
  const char* wanted = std::getenv("PAGEHOST_PPS_LOAD_SECONDS");
  return wanted ? std::atoi(wanted) : 2;
}

String nameOf(const char* kind, int writer) {
  return concat(kind, String::fromSignedInteger(writer));
}

// What belongs together: a number, and a text that says the same, so long that a write takes some
// time.
String linesOf(int writer, int number) {
  const String text = String::fromSignedInteger(number);
  std::string padded;
  while (padded.size() < 2000) padded.append(text.view()).push_back(' ');
  return concat(nameOf("n", writer), ":n:", text, "\n", nameOf("t", writer), "::", padded, text,
                "\n");
}

int numberOf(const PPSValue& value, int writer) {
  const auto found = value.attributes.find(nameOf("n", writer));
  return found == value.attributes.end() ? 0 : std::atoi(found->second.value.utf8());
}

// Why it cannot be what the writers wrote; null when it can.
const char* problemOf(const PPSValue& value, std::array<int, writerCount>& last) {
  for (int writer = 0; writer < writerCount; ++writer) {
    const int number = numberOf(value, writer);
    if (number < last[std::size_t(writer)]) return "an old value came back";
    last[std::size_t(writer)] = number;
    if (number == 0) continue;
    PPSValue expected;
    applyPPSLines(linesOf(writer, number).view(), expected);
    for (const auto& [name, attribute] : expected.attributes) {
      const auto there = value.attributes.find(name);
      if (there == value.attributes.end() || there->second != attribute) return "torn";
    }
  }
  return nullptr;
}

pid_t start(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  ::alarm(static_cast<unsigned int>(secondsWanted() + 40));
  test_support::separateMainContext();
  const int status = body();
  std::fflush(nullptr);
  ::_exit(status);
}

// Its status is 0 when every write has succeeded; what it wrote last goes into the pipe.
int write(int writer, int results) {
  MainMessageClient client(0, -1);
  PPSObject object(path, PPSObject::Full, &client);
  if (!object.open(O_WRONLY, 0, nullptr, true)) return 1;
  const auto end = Clock::now() + std::chrono::seconds(secondsWanted());
  int number = 0;
  while (Clock::now() < end) {
    if (!object.write(linesOf(writer, number + 1))) return 2;
    ++number;
  }
  const std::array<int, 2> result{writer, number};
  return ::write(results, result.data(), sizeof result) == sizeof result ? 0 : 3;
}

struct Reader {
  std::array<int, writerCount> last{};
  std::array<int, writerCount> lastRead{};
  int events = 0;
  const char* problem = nullptr;
  bool isDone = false;
};

// Listens, and reads between the events, until all writers are done.
int listen(int ready) {
  MainMessageClient client(0, -1);
  PPSObject object(path, PPSObject::Full, &client);
  Reader reader;
  object.setEventFunc(
      [](void* context, const PPSEvent& event) {
        auto& it = *static_cast<Reader*>(context);
        if (event.type == PPSEvent::ReadFailed) it.problem = "a read failed";
        if (event.type != PPSEvent::NewData) return;
        ++it.events;
        if (const char* found = problemOf(event.value, it.last)) it.problem = found;
        it.isDone = event.value.attributes.contains("done");
      },
      &reader);
  if (!object.open(O_RDONLY, 0, nullptr, true) || ::write(ready, "r", 1) != 1) return 1;
  PPSPlace place;
  if (findPPSPlace(ppsRoot(), path, false, place)) return 1;
  const auto end = Clock::now() + std::chrono::seconds(secondsWanted() + 30);
  while (!reader.isDone && !reader.problem && Clock::now() < end) {
    g_main_context_iteration(nullptr, TRUE);
    std::string text;
    if (readPPSFile(place, text)) reader.problem = "the file could not be read";
    const char* found = problemOf(parsePPSText(place.name, text), reader.lastRead);
    if (found) reader.problem = found;
  }
  if (reader.problem) std::printf("a reader after %d events: %s\n", reader.events, reader.problem);
  if (!reader.isDone) return 2;
  // What it has heard last is what there is.
  return !reader.problem && reader.last == reader.lastRead && reader.events > 1 ? 0 : 3;
}

void expectSuccess(const std::vector<pid_t>& children, const char* what) {
  for (const pid_t child : children) {
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << what << " ended by signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), 0) << what;
  }
}

TEST(PPSLoadTest, TenWritersAndTenReadersOfOneObject) {
  const test_support::TemporaryFolder folder(test_support::TemporaryFolder::memory());
  ::setenv("TESSEL_PPS_ROOT", folder.path().c_str(), 1);
  PPSPlace place;
  ASSERT_FALSE(findPPSPlace(ppsRoot(), path, true, place));
  ASSERT_FALSE(makePPSFile(place, true, 0600));
  std::array<int, 2> results{};
  std::array<int, 2> ready{};
  ASSERT_EQ(::pipe2(results.data(), O_CLOEXEC), 0);
  ASSERT_EQ(::pipe2(ready.data(), O_CLOEXEC), 0);

  std::vector<pid_t> readers;
  std::vector<pid_t> writers;
  for (int i = 0; i < readerCount; ++i) readers.push_back(start([&] { return listen(ready[1]); }));
  ::close(ready[1]);
  char one = 0;
  for (int i = 0; i < readerCount; ++i) ASSERT_EQ(::read(ready[0], &one, 1), 1);
  for (int i = 0; i < writerCount; ++i) {
    writers.push_back(start([&] { return write(i, results[1]); }));
  }
  expectSuccess(writers, "a writer");

  std::string text;
  ASSERT_FALSE(readPPSFile(place, text));
  const PPSValue value = parsePPSText(place.name, text);
  int writes = 0;
  for (int i = 0; i < writerCount && !HasFailure(); ++i) {
    std::array<int, 2> result{};
    ASSERT_EQ(::read(results[0], result.data(), sizeof result), ssize_t(sizeof result));
    EXPECT_EQ(numberOf(value, result[0]), result[1]) << "the last value was lost";
    writes += result[1];
  }
  {
    MainMessageClient client(0, -1);
    PPSObject object(path, PPSObject::Full, &client);
    ASSERT_TRUE(object.open(O_WRONLY, 0, nullptr, true));
    ASSERT_TRUE(object.write("done:b:1\n"));
  }
  expectSuccess(readers, "a reader");
  std::printf("%d writes in %d s\n", writes, secondsWanted());
  for (const int fd : {results[0], results[1], ready[0]}) ::close(fd);
  ::unsetenv("TESSEL_PPS_ROOT");
}

}  // namespace
}  // namespace Tessel::Platform

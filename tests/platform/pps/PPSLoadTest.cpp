// Ten processes that write to one object and ten that watch it, for a few seconds or for
// PAGEHOST_PPS_LOAD_SECONDS.
#include "platform/pps/PPSFiles.h"
#include "platform/pps/PPSObject.h"
#include "tests/support/ChromeFixture.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <numeric>

namespace Tessel::Platform {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t writerCount = 10;
constexpr int readerCount = 10;
constexpr const char* path = "load/object";

// The last value of each writer.
using Numbers = std::array<int, writerCount>;

int secondsWanted() {
  const char* wanted = std::getenv("PAGEHOST_PPS_LOAD_SECONDS");
  return wanted ? std::atoi(wanted) : 1;
}

String nameOf(std::size_t writer) {
  return concat("w", String::fromUnsignedInteger(writer));
}

// The text that a writer writes: the number, repeated so that a write takes some time.
String textOf(int number) {
  const String text = String::fromSignedInteger(number);
  std::string padded;
  while (padded.size() < 2000) padded.append(text.view()).push_back(' ');
  return padded;
}

// Checks that the text was written by a writer.
void take(const PPSValue& value, Numbers& last) {
  for (std::size_t writer = 0; writer < writerCount; ++writer) {
    const auto found = value.attributes.find(nameOf(writer));
    const bool isThere = found != value.attributes.end();
    const int number = isThere ? std::atoi(found->second.value.utf8()) : 0;
    ASSERT_GE(number, last[writer]) << "an old value came back";
    ASSERT_TRUE(!isThere || found->second.value == textOf(number)) << "torn";
    last[writer] = number;
  }
}

void takeFile(Numbers& last) {
  PPSPlace place;
  std::string text;
  ASSERT_FALSE(findPPSPlace(ppsRoot(), path, false, place));
  ASSERT_FALSE(readPPSFile(place, text));
  take(parsePPSText(place.name, text), last);
}

pid_t start(const std::function<void()>& body) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  ::alarm(static_cast<unsigned int>(secondsWanted() + 40));
  test_support::separateMainContext();
  body();
  std::fflush(nullptr);
  ::_exit(testing::Test::HasFailure() ? 1 : 0);
}

void write(std::size_t writer) {
  MainMessageClient client(0, -1);
  PPSObject object(path, PPSObject::Full, &client);
  ASSERT_TRUE(object.open(O_WRONLY, 0, nullptr, true));
  const auto end = Clock::now() + std::chrono::seconds(secondsWanted());
  int number = 0;
  while (Clock::now() < end) {
    ASSERT_TRUE(object.write(concat(nameOf(writer), "::", textOf(++number), "\n")));
  }
  Numbers last{};
  takeFile(last);
  EXPECT_EQ(last[writer], number) << "the last value was lost";
}

struct Reader {
  Numbers heard{};
  Numbers read{};
  int events = 0;
  bool isDone = false;
};

// Watches, and reads between events, until all writers are done.
void listen(int ready) {
  MainMessageClient client(0, -1);
  PPSObject object(path, PPSObject::Full, &client);
  Reader reader;
  object.setEventFunc(
      [](void* context, const PPSEvent& event) {
        auto& it = *static_cast<Reader*>(context);
        EXPECT_NE(event.type, PPSEvent::ReadFailed);
        if (event.type != PPSEvent::NewData) return;
        ++it.events;
        take(event.value, it.heard);
        it.isDone = event.value.attributes.contains("done");
      },
      &reader);
  ASSERT_TRUE(object.open(O_RDONLY, 0, nullptr, true));
  ASSERT_EQ(::write(ready, "r", 1), 1);
  while (!reader.isDone && !testing::Test::HasFailure()) {
    g_main_context_iteration(nullptr, TRUE);
    takeFile(reader.read);
  }
  EXPECT_EQ(reader.heard, reader.read) << "what it has heard last is what there is";
  EXPECT_GT(reader.events, 1);
}

void expectSuccess(const std::vector<pid_t>& children, const char* what) {
  for (const pid_t child : children) {
    int status = -1;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << what;
  }
}

TEST(PPSLoadTest, TenWritersAndTenReadersOfOneObject) {
  const test_support::TemporaryFolder folder(test_support::TemporaryFolder::memory());
  ::setenv("TESSEL_PPS_ROOT", folder.path().c_str(), 1);
  PPSPlace place;
  ASSERT_FALSE(findPPSPlace(ppsRoot(), path, true, place));
  ASSERT_FALSE(makePPSFile(place, true, 0600));
  std::array<int, 2> ready{};
  ASSERT_EQ(::pipe2(ready.data(), O_CLOEXEC), 0);

  std::vector<pid_t> readers;
  std::vector<pid_t> writers;
  for (int i = 0; i < readerCount; ++i) readers.push_back(start([&] { listen(ready[1]); }));
  ::close(ready[1]);
  char one = 0;
  for (int i = 0; i < readerCount; ++i) ASSERT_EQ(::read(ready[0], &one, 1), 1);
  ::close(ready[0]);
  for (std::size_t i = 0; i < writerCount; ++i) writers.push_back(start([&] { write(i); }));
  expectSuccess(writers, "a writer");

  Numbers last{};
  takeFile(last);
  std::printf("%d writes in %d s\n", std::accumulate(last.begin(), last.end(), 0), secondsWanted());
  {
    MainMessageClient client(0, -1);
    PPSObject object(path, PPSObject::Full, &client);
    ASSERT_TRUE(object.open(O_WRONLY, 0, nullptr, true));
    ASSERT_TRUE(object.write("done:b:1\n"));
  }
  expectSuccess(readers, "a reader");
  ::unsetenv("TESSEL_PPS_ROOT");
}

}  // namespace
}  // namespace Tessel::Platform

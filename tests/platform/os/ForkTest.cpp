// Forking while a thread occasionally holds a lock.
#include "platform/os/Fork.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

using namespace std::chrono_literals;
using Tessel::Platform::forkUndisturbed;

namespace {

// Works with the lock held and sleeps without it, until stopped.
class Worker {
 public:
  Worker(std::chrono::microseconds work, std::chrono::microseconds sleep)
      : thread_([this, work, sleep] {
          while (!ended_) {
            {
              const std::lock_guard lock(mutex);
              works_ = true;
              const auto end = std::chrono::steady_clock::now() + work;
              while (!ended_ && std::chrono::steady_clock::now() < end) {
              }
              works_ = false;
            }
            std::this_thread::sleep_for(sleep);
          }
        }) {}
  ~Worker() {
    ended_ = true;
    thread_.join();
  }

  void awaitWork() const {
    while (!works_) std::this_thread::yield();
  }

  std::mutex mutex;

 private:
  std::atomic<bool> works_ = false;
  std::atomic<bool> ended_ = false;
  std::thread thread_;
};

// Whether the lock is free in a child, which reports it by its exit status.
bool isFreeInChild(pid_t (*makeChild)(), std::mutex& mutex) {
  const pid_t child = makeChild();
  if (child == 0) ::_exit(mutex.try_lock() ? 0 : 1);
  int status = -1;
  return child > 0 && ::waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace

TEST(ForkTest, NoLockOfAnotherThreadIsHeldInTheChild) {
  // The sleep is longer than a fork of a large process on a slow machine.
  Worker worker(3ms, 50ms);
  // Otherwise this test proves nothing.
  bool isEverHeld = false;
  for (int i = 0; i < 100 && !isEverHeld; ++i) {
    worker.awaitWork();
    isEverHeld = !isFreeInChild(::fork, worker.mutex);
  }
  EXPECT_TRUE(isEverHeld);
  for (int i = 0; i < 6; ++i) {
    worker.awaitWork();
    EXPECT_TRUE(isFreeInChild([] { return forkUndisturbed(); }, worker.mutex));
  }
}

TEST(ForkTest, AProcessThatIsNeverQuietIsForkedAllTheSame) {
  Worker worker(1h, 0us);
  const pid_t child = forkUndisturbed(50ms);
  if (child == 0) ::_exit(7);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

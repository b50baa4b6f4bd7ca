// The program's end of the page link: one per web process.
//
// There is no reader thread. Whichever thread waits, the main loop or one inside callFunction,
// reads what has arrived and dispatches each frame: answers to their waiters, requests to the main
// thread. So a native call reaches the idle main thread, and an answer its caller, without another
// thread in between.
#pragma once

#include "engine/webkit/link/Frame.h"
#include "engine/webkit/link/LinkSocket.h"
#include "platform/base/FdSource.h"
#include "platform/base/UniqueFd.h"
#include "platform/loop/MainThreadWait.h"

#include <glib.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

class PageLink;

// Serves the requests of web processes. Main thread. Each of these may close the link and delete
// pages.
class PageLinkDelegate {
 public:
  virtual ~PageLinkDelegate() = default;
  // The link's web process says that it has made a page, which waits for answerPageCreated.
  virtual void pageCreated(const std::shared_ptr<PageLink>& link, std::uint64_t page) = 0;
  virtual Tessel::Platform::String nativeCall(const PageLink& link, std::uint64_t page,
                                              const link_protocol::NativeArguments& arguments) = 0;
  virtual link_protocol::DialogAnswer dialog(const PageLink& link, std::uint64_t page,
                                             const link_protocol::DialogQuestion& question) = 0;
  // What the module has noticed in a page. The result goes to a page that waits for one.
  virtual Tessel::Platform::String report(const PageLink& link, std::uint64_t page,
                                          const link_protocol::PageReport& report) = 0;
  virtual void linkClosed(PageLink& link) = 0;
};

class PageLink final : public std::enable_shared_from_this<PageLink>,
                       private Tessel::Platform::MainThreadWait::Participant {
 public:
  using FunctionResult = std::optional<JavaScriptVariant>;

  // How long callFunction waits, the serving of native calls not counted.
  static constexpr std::chrono::milliseconds callLimit{5000};

  // The link serves its socket from the default main context until it is closed. Main thread.
  static std::shared_ptr<PageLink> open(Tessel::Platform::UniqueFd socket, pid_t peer,
                                        PageLinkDelegate& delegate);
  ~PageLink() override;

  pid_t peerPid() const { return peer_; }

  // Serve this link in every wait of the main thread: whoever is waited for may need its page.
  // Main thread.
  void serveInEveryWait();
  // Whether that page waits for its setup. Main thread.
  bool hasAskedFor(std::uint64_t page) const { return createdPages_.contains(page); }
  // Does nothing for a page that has not asked. Main thread.
  void answerPageCreated(std::uint64_t page, const link_protocol::PageSetup& setup);
  // Has the page reported as alive when its process comes to it. Main thread.
  void ping(std::uint64_t page);
  // Main thread.
  void changeSetup(std::uint64_t page, const link_protocol::PageSetup& setup);
  // Ends the link and every wait on it. May be called twice. Main thread.
  void close();

  // What is too large for the link, and what a page that does not read has no room for, is not
  // sent, and reported (reportError). Any thread.
  // With an id, the module reports the function's value under it.
  void postFunction(std::uint64_t page, const FunctionCall& call,
                    const Tessel::Platform::String& resultId = {});
  // Has the module's own script in the page do something.
  void postAction(std::uint64_t page, const link_protocol::ActionCall& action);
  // Nothing when the link ended or the time was over, and at once when the call is not sent. An
  // answer that comes after its time is reported (reportError). Any thread.
  FunctionResult callFunction(std::uint64_t page, const FunctionCall& call,
                              std::chrono::milliseconds limit = callLimit);

 private:
  using Clock = std::chrono::steady_clock;
  struct Waiter;
  class ServingScope;

  PageLink(Tessel::Platform::UniqueFd socket, pid_t peer, PageLinkDelegate& delegate);

  void appendPollDescriptors(std::vector<pollfd>& descriptors) const override;
  void serve() override;

  // What is not sent is reported under the name.
  void send(link_protocol::FrameKind kind, std::uint64_t page, std::string_view payload,
            std::string_view name);
  // In place of an answer that is too large the page gets an empty one.
  void answer(std::uint32_t id, std::uint64_t page, std::string_view payload,
              std::string_view name);
  Tessel::Platform::SendOutcome sendLocked(link_protocol::FrameKind kind, std::uint32_t id,
                                           std::uint64_t page, std::string_view payload);
  void exchange(bool onMainThread);
  void sort(link_protocol::Frame&& frame, bool onMainThread);
  void exchangeLocked(bool onMainThread);
  bool serveRequest(const link_protocol::Frame& request);
  void waitOnMainThread(Waiter& waiter);
  void waitElsewhere(Waiter& waiter);
  // Whether the wait is over: answered, failed or timed out.
  bool isOver(const Waiter& waiter) const;
  std::chrono::milliseconds timeLeft(const Waiter& waiter) const;
  void breakLocked();
  void wakeMainLocked();
  short interestLocked() const;

  const std::thread::id mainThread_ = std::this_thread::get_id();
  const pid_t peer_;
  PageLinkDelegate& delegate_;
  // Main thread; stopped once closed.
  Tessel::Platform::FdSource source_;
  Tessel::Platform::FdSource wakeSource_;
  bool inEveryWait_ = false;  // main thread
  unsigned int serving_ = 0;  // main thread: requests being served, nested
  std::map<std::uint64_t, std::uint32_t> createdPages_;  // main thread: their unanswered requests

  // Whether the socket has unsent bytes: the main loop asks before each poll, and does not wait for
  // the mutex then. Written with the mutex held.
  std::atomic<bool> unsent_ = false;

  mutable std::mutex mutex_;  // guards what follows
  link_protocol::LinkSocket socket_;
  std::deque<link_protocol::Frame> arrived_;
  std::deque<link_protocol::Frame> requests_;
  std::vector<Waiter*> waiters_;
  // Calls whose time was over, by what they are told as; the oldest are forgotten.
  std::map<std::uint32_t, std::string> overdue_;
  std::vector<std::string> late_;  // of those, whose answers have come meanwhile
  std::uint32_t lastId_ = 0;
  bool broken_ = false;
  bool full_ = false;  // it was reported that the page does not read
  // Brings the main thread out of a poll when another thread has read something for it.
  Tessel::Platform::UniqueFd mainWake_;
  bool mainWoken_ = false;
};

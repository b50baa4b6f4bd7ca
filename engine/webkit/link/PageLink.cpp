// The program's end of the page link.
#include "engine/webkit/link/PageLink.h"

#include "platform/base/ErrorReport.h"
#include "platform/base/Log.h"

#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

using link_protocol::decode;
using link_protocol::encode;
using link_protocol::Frame;
using link_protocol::FrameKind;
using link_protocol::LinkSocket;
using Tessel::Platform::concat;
using Tessel::Platform::FdSourceOptions;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::MainThreadWait;
using Tessel::Platform::reportError;
using Tessel::Platform::SendOutcome;
using Tessel::Platform::String;
using Tessel::Platform::UniqueFd;
using namespace std::chrono_literals;

namespace {

// A called page function may make a request that only our main loop answers (history, window and
// dialog operations do). So a wait of the main thread that received nothing for this long continues
// inside the main loop. Long enough that an ordinary call never pays for it.
constexpr auto patience = 20ms;

// Page and program calling each other without end must not exhaust our stack.
constexpr unsigned int deepestNesting = 256;

// With so many unserved requests, reading stops: a page that floods the link waits.
constexpr std::size_t mostPendingRequests = 100000;
constexpr std::size_t mostCreatedPages = 1024;

UniqueFd makeEventFd() {
  return UniqueFd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
}

// Wakes a thread that waits for an answer when another one has read it.
int wakeFdOfThisThread() {
  thread_local const UniqueFd fd = makeEventFd();
  return fd.get();
}

// The timed-out calls that are remembered, to report their late answers.
constexpr std::size_t mostOverdue = 64;

// Bytes of a function's name in an error: names are chosen by the page.
constexpr std::size_t longestName = 200;

std::string_view nameOf(const FunctionCall& call) {
  return call.path.empty() ? std::string_view() : call.path.back().view();
}

// chrome.internal.webEvent(3, "DialogRequested", …), as far as it can be read at a glance.
std::string descriptionOf(const FunctionCall& call) {
  constexpr std::size_t longestArgument = 60;
  std::string text;
  for (const String& name : call.path) {
    text.append(text.empty() ? "" : ".").append(name.view().substr(0, longestName));
  }
  text += '(';
  for (std::size_t i = 0; i < call.arguments.size(); ++i) {
    const JavaScriptVariant& argument = call.arguments[i];
    const String word = argument.type() == JavaScriptVariant::Number
                            ? String::fromNumber(argument.numberValue())
                            : concat("\"", argument.stringValue(), "\"");
    if (i > 0) text += ", ";
    if (i == 2 || word.length() > longestArgument) {
      text += "…";
      break;
    }
    text.append(word.view());
  }
  return text + ")";
}

void reportUnsent(SendOutcome outcome, std::uint64_t page, std::string_view name,
                  std::size_t size) {
  const String what =
      concat("\"", name.substr(0, longestName), "\" of page ", String::fromUnsignedInteger(page));
  if (outcome == SendOutcome::TooLarge) {
    reportError(concat("A call of ", what, " is too large: ", String::fromUnsignedInteger(size),
                       " bytes. It is not made."));
  } else if (outcome == SendOutcome::Full) {
    reportError(concat("A call of ", what,
                       " is not made, nor are further calls until the page has read the previous "
                       "ones."));
  }
}

void iterateMainContextFor(std::chrono::milliseconds longest) {
  GSource* timer = g_timeout_source_new(static_cast<guint>(longest.count()));
  g_source_set_callback(
      timer, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr, nullptr);
  g_source_attach(timer, nullptr);
  g_main_context_iteration(nullptr, TRUE);
  g_source_destroy(timer);
  g_source_unref(timer);
}

}  // namespace

// One thread waiting for one answer. Lives in that thread's stack frame; under the link's mutex.
struct PageLink::Waiter {
  std::uint32_t id = 0;
  bool onMainThread = false;
  int wakeFd = -1;  // of a thread that is not the main thread
  Clock::time_point start;
  std::chrono::milliseconds limit{};

  bool answered = false;
  FunctionResult value;

  // The timeout is suspended while the main thread serves requests that arrive during the wait.
  unsigned int pauses = 0;
  Clock::time_point pausedSince;
  Clock::duration paused{};

  Clock::duration elapsed(Clock::time_point now) const {
    return now - start - paused - (pauses > 0 ? now - pausedSince : Clock::duration());
  }
};

// While the main thread serves a request, the timeouts of all waits on the link are suspended.
class PageLink::ServingScope {
 public:
  explicit ServingScope(PageLink& link) : link_(link) {
    ++link_.serving_;
    const auto now = Clock::now();
    const std::lock_guard lock(link_.mutex_);
    for (Waiter* waiter : link_.waiters_) {
      stopped_.push_back(waiter->id);
      if (waiter->pauses++ == 0) waiter->pausedSince = now;
    }
  }
  ~ServingScope() {
    --link_.serving_;
    const auto now = Clock::now();
    const std::lock_guard lock(link_.mutex_);
    for (Waiter* waiter : link_.waiters_) {
      if (std::find(stopped_.begin(), stopped_.end(), waiter->id) == stopped_.end()) continue;
      if (--waiter->pauses == 0) waiter->paused += now - waiter->pausedSince;
    }
  }
  ServingScope(const ServingScope&) = delete;
  ServingScope& operator=(const ServingScope&) = delete;

 private:
  PageLink& link_;
  std::vector<std::uint32_t> stopped_;
};

PageLink::PageLink(UniqueFd socket, pid_t peer, PageLinkDelegate& delegate)
    : peer_(peer), delegate_(delegate), socket_(std::move(socket)), mainWake_(makeEventFd()) {}

PageLink::~PageLink() = default;

std::shared_ptr<PageLink> PageLink::open(UniqueFd socket, pid_t peer, PageLinkDelegate& delegate) {
  std::shared_ptr<PageLink> link(new PageLink(std::move(socket), peer, delegate));
  PageLink* const raw = link.get();
  // Serving may close the link and give up the last reference to it.
  const auto serve = [raw](short) { raw->shared_from_this()->serve(); };
  // A request may be served inside the wait of another one.
  const FdSourceOptions options{.name = "page link", .recurses = true};
  const auto interest = [raw] {
    return static_cast<short>(raw->unsent_ ? POLLIN | POLLOUT : POLLIN);
  };
  link->source_.watch(link->socket_.fd(), interest, serve, options);
  link->wakeSource_.watch(link->mainWake_.get(), POLLIN, serve, options);
  return link;
}

void PageLink::serveInEveryWait() {
  if (inEveryWait_ || !source_) return;
  inEveryWait_ = true;
  MainThreadWait::addParticipant(this);
}

void PageLink::close() {
  if (!source_) return;
  {
    const std::lock_guard lock(mutex_);
    breakLocked();
    // The descriptor stays open while the link is held, so that no reused one is polled.
    ::shutdown(socket_.fd(), SHUT_RDWR);
  }
  source_.stop();
  wakeSource_.stop();
  if (inEveryWait_) MainThreadWait::removeParticipant(this);
  delegate_.linkClosed(*this);
}

void PageLink::answerPageCreated(std::uint64_t page, const link_protocol::PageSetup& setup) {
  const auto asked = createdPages_.extract(page);
  if (!asked.empty()) answer(asked.mapped(), page, encode(setup), "set-up");
}

void PageLink::ping(std::uint64_t page) {
  send(FrameKind::Ping, page, {}, "ping");
}

void PageLink::changeSetup(std::uint64_t page, const link_protocol::PageSetup& setup) {
  send(FrameKind::SetupChanged, page, encode(setup), "set-up");
}

void PageLink::postFunction(std::uint64_t page, const FunctionCall& call, const String& resultId) {
  send(FrameKind::PostFunction, page, encode(link_protocol::PostedCall{call, resultId}),
       nameOf(call));
}

void PageLink::postAction(std::uint64_t page, const link_protocol::ActionCall& action) {
  send(FrameKind::PostAction, page, encode(action), link_protocol::nameOf(action.action));
}

PageLink::FunctionResult PageLink::callFunction(std::uint64_t page, const FunctionCall& call,
                                                std::chrono::milliseconds limit) {
  const auto self = shared_from_this();
  const std::string payload = encode(call);
  Waiter waiter;
  waiter.onMainThread = std::this_thread::get_id() == mainThread_;
  if (!waiter.onMainThread) waiter.wakeFd = wakeFdOfThisThread();
  waiter.limit = limit;
  waiter.start = Clock::now();
  SendOutcome outcome = SendOutcome::Sent;
  {
    const std::lock_guard lock(mutex_);
    if (broken_) return std::nullopt;
    waiter.id = ++lastId_;
    outcome = sendLocked(FrameKind::CallFunction, waiter.id, page, payload);
    if (outcome == SendOutcome::Sent) waiters_.push_back(&waiter);
  }
  if (outcome != SendOutcome::Sent) {
    reportUnsent(outcome, page, nameOf(call), payload.size());
    return std::nullopt;
  }
  if (waiter.onMainThread) {
    waitOnMainThread(waiter);
  } else {
    waitElsewhere(waiter);
  }
  const std::lock_guard lock(mutex_);
  std::erase(waiters_, &waiter);
  if (!waiter.answered && !broken_) {
    overdue_[waiter.id] = descriptionOf(call);
    if (overdue_.size() > mostOverdue) overdue_.erase(overdue_.begin());
    logAlways(LogError, "A function of page %llu did not return within %lld ms: %s",
              static_cast<unsigned long long>(page), static_cast<long long>(limit.count()),
              call.path.empty() ? "" : call.path.back().utf8());
  }
  return std::move(waiter.value);
}

void PageLink::waitOnMainThread(Waiter& waiter) {
  MainThreadWait wait;
  auto lastProgress = Clock::now();
  std::vector<pollfd> own;
  for (;;) {
    if (isOver(waiter)) return;
    const auto left = timeLeft(waiter);
    const auto idle = Clock::now() - lastProgress;
    if (idle < patience) {
      own.clear();
      appendPollDescriptors(own);
      const auto blocking = std::chrono::ceil<std::chrono::milliseconds>(patience - idle);
      if (wait.poll(own, std::min(left, blocking))) lastProgress = Clock::now();
      serve();
    } else {
      // The link's own source serves it in there.
      iterateMainContextFor(left);
    }
  }
}

void PageLink::waitElsewhere(Waiter& waiter) {
  for (;;) {
    exchange(false);
    if (isOver(waiter)) return;
    std::array<pollfd, 2> descriptors{};
    {
      const std::lock_guard lock(mutex_);
      descriptors[0] = {socket_.fd(), interestLocked(), 0};
    }
    descriptors[1] = {waiter.wakeFd, POLLIN, 0};
    // The timeout may have been suspended meanwhile, so it is checked again.
    ::poll(descriptors.data(), descriptors.size(), static_cast<int>(timeLeft(waiter).count()));
    eventfd_t ignored = 0;
    if (descriptors[1].revents != 0) ::eventfd_read(waiter.wakeFd, &ignored);
  }
}

bool PageLink::isOver(const Waiter& waiter) const {
  const std::lock_guard lock(mutex_);
  return waiter.answered || broken_ || waiter.elapsed(Clock::now()) >= waiter.limit;
}

std::chrono::milliseconds PageLink::timeLeft(const Waiter& waiter) const {
  const std::lock_guard lock(mutex_);
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(waiter.limit - waiter.elapsed(Clock::now()));
  return std::max(left, std::chrono::milliseconds(1));
}

void PageLink::appendPollDescriptors(std::vector<pollfd>& descriptors) const {
  const std::lock_guard lock(mutex_);
  descriptors.push_back({socket_.fd(), interestLocked(), 0});
  descriptors.push_back({mainWake_.get(), POLLIN, 0});
}

short PageLink::interestLocked() const {
  const int reads = requests_.size() < mostPendingRequests ? POLLIN : 0;
  return static_cast<short>(socket_.hasUnsent() ? reads | POLLOUT : reads);
}

void PageLink::serve() {
  if (!source_) return;
  const auto self = shared_from_this();
  exchange(true);
  for (;;) {
    Frame request;
    {
      const std::lock_guard lock(mutex_);
      if (requests_.empty()) {
        if (!broken_) return;
        break;
      }
      request = std::move(requests_.front());
      requests_.pop_front();
    }
    if (!serveRequest(request)) {
      logAlways(LogError, "The link to web process %d is closed: malformed message.",
                static_cast<int>(peer_));
      break;
    }
    // Closed while serving: the delegate may be gone, so the rest is dropped.
    if (!source_) return;
  }
  close();
}

// Sends what is queued, reads what has arrived and dispatches it.
void PageLink::exchange(bool onMainThread) {
  std::vector<std::string> late;
  {
    const std::lock_guard lock(mutex_);
    exchangeLocked(onMainThread);
    late.swap(late_);
  }
  for (const std::string& call : late) {
    reportError(
        concat("The answer of ", call, " came too late: the default has been used instead."));
  }
}

void PageLink::exchangeLocked(bool onMainThread) {
  if (onMainThread && mainWoken_) {
    mainWoken_ = false;
    eventfd_t ignored = 0;
    ::eventfd_read(mainWake_.get(), &ignored);
  }
  if (broken_) return;
  const bool sent = !socket_.hasUnsent() || socket_.flush();
  unsent_ = socket_.hasUnsent();
  if (!unsent_) full_ = false;
  const bool received =
      requests_.size() >= mostPendingRequests || socket_.receive(arrived_, LinkSocket::Mode::Poll);
  while (!arrived_.empty()) {
    sort(std::move(arrived_.front()), onMainThread);
    arrived_.pop_front();
  }
  if (!sent || !received) {
    breakLocked();
    if (!onMainThread) wakeMainLocked();
  }
}

void PageLink::sort(Frame&& frame, bool onMainThread) {
  if (frame.kind != FrameKind::Answer) {
    requests_.push_back(std::move(frame));
    if (!onMainThread) wakeMainLocked();
    return;
  }
  const auto found = std::find_if(waiters_.begin(), waiters_.end(),
                                  [&](const Waiter* waiter) { return waiter->id == frame.id; });
  if (found == waiters_.end()) {
    if (const auto call = overdue_.extract(frame.id)) late_.push_back(std::move(call.mapped()));
    return;
  }
  Waiter& waiter = **found;
  JavaScriptVariant value;
  if (decode(frame.payload, value)) waiter.value = std::move(value);
  waiter.answered = true;
  if (!waiter.onMainThread) {
    ::eventfd_write(waiter.wakeFd, 1);
  } else if (!onMainThread) {
    wakeMainLocked();
  }
}

bool PageLink::serveRequest(const Frame& request) {
  const ServingScope serving(*this);
  switch (request.kind) {
    case FrameKind::PageCreated:
      // It waits for each; some may be made inside the wait of another.
      if (createdPages_.size() == mostCreatedPages ||
          !createdPages_.emplace(request.page, request.id).second) {
        return false;
      }
      delegate_.pageCreated(shared_from_this(), request.page);
      return true;
    case FrameKind::NativeCall: {
      link_protocol::NativeArguments arguments;
      if (!decode(request.payload, arguments)) return false;
      String result;
      if (serving_ > deepestNesting) {
        logAlways(LogError, "A native call of page %llu is refused: it is nested %u deep.",
                  static_cast<unsigned long long>(request.page), serving_);
      } else {
        result = delegate_.nativeCall(*this, request.page, arguments);
      }
      answer(request.id, request.page, result.view(),
             arguments.empty() || !arguments.front() ? std::string_view() : *arguments.front());
      return true;
    }
    case FrameKind::Dialog: {
      link_protocol::DialogQuestion dialog;
      if (!decode(request.payload, dialog)) return false;
      answer(request.id, request.page, encode(delegate_.dialog(*this, request.page, dialog)),
             "dialog");
      return true;
    }
    case FrameKind::Report: {
      link_protocol::PageReport report;
      if (!decode(request.payload, report)) return false;
      delegate_.report(*this, request.page, report);
      return true;
    }
    case FrameKind::Ask: {
      link_protocol::PageReport report;
      if (!decode(request.payload, report)) return false;
      answer(request.id, request.page, delegate_.report(*this, request.page, report).view(),
             link_protocol::nameOf(report.kind));
      return true;
    }
    case FrameKind::Log:
      logAlways(LogNotice, "%s", request.payload.c_str());
      return true;
    default:
      return false;
  }
}

void PageLink::send(FrameKind kind, std::uint64_t page, std::string_view payload,
                    std::string_view name) {
  SendOutcome outcome = SendOutcome::Sent;
  bool isNews = true;
  {
    const std::lock_guard lock(mutex_);
    if (broken_) return;
    outcome = sendLocked(kind, 0, page, payload);
    // Told once, until the page has read everything.
    if (outcome == SendOutcome::Full) isNews = !std::exchange(full_, true);
  }
  if (isNews) reportUnsent(outcome, page, name, payload.size());
}

void PageLink::answer(std::uint32_t id, std::uint64_t page, std::string_view payload,
                      std::string_view name) {
  SendOutcome outcome = SendOutcome::Sent;
  {
    const std::lock_guard lock(mutex_);
    if (broken_) return;
    outcome = sendLocked(FrameKind::Answer, id, page, payload);
    if (outcome == SendOutcome::TooLarge) {
      sendLocked(FrameKind::Answer, id, page, {});
    }
  }
  if (outcome == SendOutcome::TooLarge) {
    reportError(concat(
        "The answer to \"", name.substr(0, longestName), "\" is too large for the page: ",
        String::fromUnsignedInteger(payload.size()), " bytes. The page gets the empty answer."));
  }
}

SendOutcome PageLink::sendLocked(FrameKind kind, std::uint32_t id, std::uint64_t page,
                                 std::string_view payload) {
  const bool hadUnsent = socket_.hasUnsent();
  const SendOutcome outcome = socket_.send(kind, id, page, payload);
  if (outcome == SendOutcome::Broken) {
    breakLocked();
    wakeMainLocked();
  }
  unsent_ = socket_.hasUnsent();
  // The main loop may be waiting for other things only.
  if (!hadUnsent && unsent_) g_main_context_wakeup(nullptr);
  return outcome;
}

// Every wait on the link ends; the main thread closes it when it comes by.
void PageLink::breakLocked() {
  broken_ = true;
  for (const Waiter* waiter : waiters_) {
    if (!waiter->onMainThread) ::eventfd_write(waiter->wakeFd, 1);
  }
}

void PageLink::wakeMainLocked() {
  if (mainWoken_) return;
  mainWoken_ = true;
  ::eventfd_write(mainWake_.get(), 1);
}

// Bounds the memory of the program with all of its processes. UI thread.
#include "src/MemoryWatch.h"

#include "platform/base/Log.h"
#include "platform/desktop/NavigatorHandler.h"
#include "platform/os/MemoryStats.h"
#include "platform/os/ProcessTree.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;

namespace {

constexpr guint interval = 10;  // seconds

unsigned long long mebibytes(std::uint64_t bytes) {
  return bytes >> 20;
}

}  // namespace

MemoryWatch::MemoryWatch(std::uint64_t limit) : limit_(limit) {
  timer_ = g_timeout_add_seconds(
      interval,
      [](gpointer self) -> gboolean {
        static_cast<MemoryWatch*>(self)->look();
        return G_SOURCE_CONTINUE;
      },
      this);
}

MemoryWatch::~MemoryWatch() {
  g_source_remove(timer_);
}

void MemoryWatch::look() {
  std::uint64_t taken = 0;
  Memory ofProcess;
  for (const int process : Tessel::Platform::processesBelow(::getpid())) {
    taken += ofProcess[process] = Tessel::Platform::privateMemoryOf(process);
  }
  if (taken <= limit_) {
    wasAbove_ = false;
    return;
  }
  if (!std::exchange(wasAbove_, true)) {
    logAlways(LogNotice, "All processes together take %llu MiB of the %llu that they may.",
              mebibytes(taken), mebibytes(limit_));
    if (WebView* root = WebViewManager::instance().rootWebView()) root->notifySystemLowMemory();
    return Tessel::Platform::NavigatorHandler::instance().onLowMemory();
  }
  endLargest(ofProcess);
}

void MemoryWatch::checkEnded(const Memory& ofProcess) {
  const auto& pages = WebViewManager::instance().webProcesses();
  std::erase_if(ended_, [&](const auto& each) {
    return !ofProcess.contains(each.second.process) || !pages.contains(each.first);
  });
  for (auto& [handle, ended] : ended_) {
    if (std::exchange(ended.isTold, true)) continue;
    logAlways(LogError, "Process %d, of web view %u, has not ended: others are, in its place.",
              ended.process, handle);
  }
}

void MemoryWatch::endLargest(const Memory& ofProcess) {
  checkEnded(ofProcess);
  WebViewManager& manager = WebViewManager::instance();
  const auto& pages = manager.webProcesses();
  const auto root = pages.find(WebViewManager::rootHandle);
  const int chrome = root == pages.end() ? 0 : root->second;
  // Only processes below this one: a child process may say what it likes.
  const auto taken = [&](const auto& page) {
    const auto found = ofProcess.find(page.second);
    const bool counts =
        !ended_.contains(page.first) && (page.second != chrome || pages.size() == 1);
    return found == ofProcess.end() || !counts ? 0 : found->second;
  };
  const auto largest =
      std::max_element(pages.begin(), pages.end(),
                       [&](const auto& a, const auto& b) { return taken(a) < taken(b); });
  if (largest == pages.end() || taken(*largest) == 0) return;
  const auto [handle, process] = *largest;
  const std::uint64_t bytes = taken(*largest);
  logAlways(LogError, "Process %d, of web view %u, is ended: it takes %llu MiB of the %llu of all.",
            process, handle, mebibytes(bytes), mebibytes(limit_));
  ended_.insert_or_assign(handle, Ended{process});
  manager.endProcess(handle, limit_, bytes);
}

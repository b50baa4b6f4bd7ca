// Reports errors to the developer of the chrome.
#include "platform/base/ErrorReport.h"

#include "platform/base/Log.h"

#include <atomic>

namespace Tessel::Platform {

namespace {

std::atomic<void (*)(const String&)> errorListener = nullptr;

}  // namespace

void reportError(const String& text) {
  thread_local bool reporting = false;
  logAlways(LogError, "%s", text.utf8());
  const auto listener = errorListener.load();
  if (!listener || reporting) return;
  reporting = true;
  listener(text);
  reporting = false;
}

void setErrorListener(void (*listener)(const String& text)) {
  errorListener = listener;
}

}  // namespace Tessel::Platform

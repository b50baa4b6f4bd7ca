// An object of the publish/subscribe service. Changes are examined and events delivered on the
// client's thread; the rest runs on any.
#include "platform/pps/PPSObject.h"

#include "platform/base/Log.h"
#include "platform/pps/PPSFiles.h"
#include "platform/pps/PPSWatcher.h"

#include <fcntl.h>
#include <glib.h>

#include <atomic>
#include <cerrno>
#include <mutex>
#include <optional>
#include <utility>

namespace Tessel::Platform {

namespace {

// Minimum interval between values, so that the chrome cannot fall behind indefinitely.
constexpr gint64 shortestPause = 4000;  // microseconds
constexpr mode_t privateFile = 0600;

std::error_code systemError(int number) {
  return {number, std::generic_category()};
}

}  // namespace

struct PPSObject::State : std::enable_shared_from_this<State> {
  State(String itsPath, PPSMode itsMode, MessageClient* itsClient)
      : path(std::move(itsPath)), mode(itsMode), client(itsClient) {}

  std::error_code open(int flags, mode_t permissions, PPSValue* value);
  std::error_code prepareFile(const PPSPlace& place, int flags, mode_t permissions,
                              std::string& text) const;
  std::error_code read(PPSValue& value) const;
  std::optional<String> write(const String& lines) const;
  void post(PPSEvent event);
  void fail(PPSEvent::Type type, const char* what, const String& why);
  void end();
  void changed(PPSChange change);
  void look();
  void lookLater(gint64 pause);

  // Read once: the environment belongs to the thread that creates objects.
  const std::string root = ppsRoot();
  const String path;
  const PPSMode mode;
  MessageClient* const client;
  EventFunc func = nullptr;
  void* context = nullptr;
  std::atomic<bool> abandoned = false;

  // Set by open, before this is shared.
  bool reads = false;
  bool writes = false;
  bool makes = false;
  std::shared_ptr<PPSWatcher> watcher;

  std::mutex mutex;
  // Guarded by the mutex.
  bool isOpen = false;
  int watch = -1;
  PPSValue seen;
  std::error_code seenError;
  bool looksLater = false;
  gint64 lastLook = 0;
};

std::error_code PPSObject::State::open(int flags, mode_t permissions, PPSValue* value) {
  const int access = flags & O_ACCMODE;
  if (!client || (access != O_RDONLY && access != O_WRONLY && access != O_RDWR)) {
    return systemError(EINVAL);
  }
  if (mode != Full && mode != Delta) return systemError(EINVAL);
  reads = access != O_WRONLY;
  writes = access != O_RDONLY;
  makes = (flags & O_CREAT) != 0;
  PPSPlace place;
  if (const auto error = findPPSPlace(root, path, makes, place)) return error;
  watcher = PPSWatcher::of(*client);
  if (!watcher) return systemError(errno);

  const std::lock_guard lock(mutex);
  // Started before the first read, so that no change is missed.
  watch = watcher->add(place, [weak = weak_from_this()](PPSChange change) {
    if (const auto state = weak.lock()) state->changed(change);
  });
  if (watch < 0) return systemError(errno);
  std::string text;
  if (const auto error = prepareFile(place, flags, permissions, text)) {
    watcher->remove(std::exchange(watch, -1));
    return error;
  }
  if (reads) {
    seen = parsePPSText(place.name, text);
    if (value) *value = seen;
  }
  isOpen = true;
  return {};
}

// Creates or truncates the file as requested, and reads it.
std::error_code PPSObject::State::prepareFile(const PPSPlace& place, int flags, mode_t permissions,
                                              std::string& text) const {
  if (makes) {
    const mode_t wanted = permissions == 0 ? privateFile : permissions;
    if (const auto error = makePPSFile(place, (flags & O_EXCL) != 0, wanted)) return error;
  }
  if (writes) {
    if (const auto error = checkPPSFileIsWritable(place)) return error;
  }
  const bool empties = writes && (flags & O_TRUNC) != 0;
  std::error_code error = readPPSFile(place, text);
  // Write-only users need no read permission, and an oversized file may be truncated.
  if (error.value() == EACCES && !reads) error.clear();
  if (error.value() == EFBIG && empties) error.clear();
  if (error || !empties) return error;
  const PPSFolderLock lock(place);
  text = formatPPSText(parsePPSText(place.name, ""));
  return lock.error() ? lock.error() : lock.replace(place, text);
}

// Resolved again each time: the path may lead elsewhere by now, or nowhere.
std::error_code PPSObject::State::read(PPSValue& value) const {
  PPSPlace place;
  std::string text;
  if (const auto error = findPPSPlace(root, path, false, place)) return error;
  if (const auto error = readPPSFile(place, text)) return error;
  value = parsePPSText(place.name, text);
  return {};
}

// The error, if any.
std::optional<String> PPSObject::State::write(const String& lines) const {
  if (!writes) return "it is open for reading only";
  if (const char* problem = problemOfPPSLines(lines.view())) return problem;
  PPSPlace place;
  if (const auto error = findPPSPlace(root, path, makes, place)) return error.message();
  const PPSFolderLock lock(place);
  if (lock.error().value() == ETIMEDOUT) return "another program does not let go of its folder";
  if (lock.error()) return lock.error().message();
  if (const auto error = checkPPSFileIsWritable(place); error && error.value() != ENOENT) {
    return error.message();
  }
  std::string text;
  std::error_code error = readPPSFile(place, text);
  if (error.value() == ENOENT && makes) error.clear();
  if (error) return error.message();
  PPSValue value = parsePPSText(place.name, text);
  applyPPSLines(lines.view(), value);
  std::string merged = formatPPSText(value);
  if (merged.size() > PPSValue::mostBytes) return "it would be too large";
  if (merged == text) return {};
  error = lock.replace(place, merged);
  return error ? std::optional<String>(error.message()) : std::nullopt;
}

void PPSObject::State::post(PPSEvent event) {
  client->dispatchMessage(
      executableMessage([state = shared_from_this(), posted = std::move(event)] {
        if (!state->abandoned && state->func) state->func(state->context, posted);
      }));
}

void PPSObject::State::fail(PPSEvent::Type type, const char* what, const String& why) {
  const String text = concat("The object \"", path, "\" could not be ", what, ": ", why);
  logAlways(LogError, "pps: %s", text.utf8());
  if (client) post({type, text, {}});
}

void PPSObject::State::end() {
  int ended = -1;
  {
    const std::lock_guard lock(mutex);
    if (!std::exchange(isOpen, false)) return;
    ended = std::exchange(watch, -1);
  }
  watcher->remove(ended);
  post({PPSEvent::Closed, {}, {}});
}

void PPSObject::State::changed(PPSChange change) {
  if (change == PPSChange::FolderGone) {
    logAlways(LogError, "pps: The folder of the object \"%s\" is gone", path.utf8());
    end();
    return;
  }
  if (!reads) return;
  gint64 wait = 0;
  {
    const std::lock_guard lock(mutex);
    if (looksLater) return;
    wait = lastLook + shortestPause - g_get_monotonic_time();
    looksLater = wait > 0;
  }
  if (wait > 0) {
    lookLater(wait);
  } else {
    look();
  }
}

void PPSObject::State::lookLater(gint64 pause) {
  using Weak = std::weak_ptr<State>;
  GSource* const timer = g_timeout_source_new(static_cast<guint>(pause / 1000 + 1));
  g_source_set_callback(
      timer,
      [](gpointer data) -> gboolean {
        if (const auto state = static_cast<Weak*>(data)->lock()) state->look();
        return G_SOURCE_REMOVE;
      },
      new Weak(weak_from_this()), [](gpointer data) { delete static_cast<Weak*>(data); });
  GMainContext* const context = g_main_context_ref_thread_default();
  g_source_attach(timer, context);
  g_main_context_unref(context);
  g_source_unref(timer);
}

void PPSObject::State::look() {
  std::optional<PPSEvent> event;
  std::error_code failed;
  {
    const std::lock_guard lock(mutex);
    looksLater = false;
    if (!isOpen) return;
    lastLook = g_get_monotonic_time();
    PPSValue value;
    const std::error_code error = read(value);
    const bool isBack = !error && seenError;
    if (error && error != seenError) failed = error;
    seenError = error;
    if (!error && (value != seen || isBack)) {
      event = PPSEvent{PPSEvent::NewData, {}, mode == Delta ? differenceOf(seen, value) : value};
      seen = std::move(value);
    }
  }
  if (failed) fail(PPSEvent::ReadFailed, "read", failed.message());
  if (event) post(std::move(*event));
}

PPSObject::PPSObject(const String& path, PPSMode mode, MessageClient* client)
    : state_(std::make_shared<State>(path, mode, client)) {}

PPSObject::~PPSObject() {
  state_->abandoned = true;
  state_->end();
}

void PPSObject::setEventFunc(EventFunc func, void* context) {
  state_->func = func;
  state_->context = context;
}

bool PPSObject::open(int flags, int permissions, PPSValue* value, bool reportsFirstRead) {
  PPSValue first;
  if (const auto error = state_->open(flags, static_cast<mode_t>(permissions), &first)) {
    state_->fail(PPSEvent::OpenFailed, "opened", error.message());
    return false;
  }
  if (value) *value = first;
  state_->post({PPSEvent::Opened, {}, {}});
  if (reportsFirstRead && state_->reads) {
    state_->post({PPSEvent::FirstReadComplete, {}, std::move(first)});
  }
  return true;
}

bool PPSObject::write(const String& lines) {
  {
    const std::lock_guard lock(state_->mutex);
    if (!state_->isOpen) return false;
  }
  const auto problem = state_->write(lines);
  if (problem) state_->fail(PPSEvent::WriteFailed, "written", *problem);
  return !problem;
}

void PPSObject::close() {
  state_->end();
}

PPSObject::PPSMode PPSObject::mode() const {
  return state_->mode;
}

}  // namespace Tessel::Platform

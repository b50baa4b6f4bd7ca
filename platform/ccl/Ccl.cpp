// The analytics client. One thread at a time.
#include "platform/ccl/Ccl.h"

#include "platform/base/Log.h"
#include "platform/base/UniqueFd.h"

#include <fcntl.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::LogNotice;
using Tessel::Platform::UniqueFd;

struct CclClient {
  std::string application;
  std::string version;
  bool enabled = false;
};

struct CclEventKeys {
  struct Key {
    std::string name;
    std::string value;
    unsigned short flags;
  };
  std::vector<Key> list;  // in insertion order
};

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

constexpr std::size_t longestName = 256;
constexpr std::size_t longestText = 4096;
constexpr std::size_t mostKeys = 64;
constexpr unsigned short knownFlags = CclKeyRecorded | CclKeyKept;
// Bounds a file that nobody rotates.
constexpr off_t largestFile = off_t(64) << 20;

// The file named by the user; null if none.
const char* fileOfTheUser() {
  const char* file = std::getenv("TESSEL_CCL_FILE");
  return file && *file ? file : nullptr;
}

bool isLonger(const char* text, std::size_t most) {
  return text && ::strnlen(text, most + 1) > most;
}

std::string now() {
  timespec time{};
  ::clock_gettime(CLOCK_REALTIME, &time);
  tm parts{};
  ::gmtime_r(&time.tv_sec, &parts);
  std::array<char, 64> date{};
  const std::size_t length = ::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  std::array<char, 8> milliseconds{};
  std::snprintf(milliseconds.data(), milliseconds.size(), ".%03dZ",
                static_cast<int>(time.tv_nsec / 1'000'000 % 1000));
  return std::string(date.data(), length) + milliseconds.data();
}

void writeText(Writer& writer, const char* key, std::string_view text) {
  writer.Key(key);
  writer.String(text.data() ? text.data() : "", static_cast<rapidjson::SizeType>(text.size()));
}

void writeKeys(Writer& writer, const CclEventKeys& keys) {
  writer.Key("keys");
  writer.StartArray();
  for (const auto& [name, value, flags] : keys.list) {
    writer.StartObject();
    writeText(writer, "key", name);
    writeText(writer, "value", value);
    writer.Key("flags");
    writer.Uint(flags);
    writer.EndObject();
  }
  writer.EndArray();
}

struct Event {
  const char* name;
  bool isCustom = false;
  const char* text = nullptr;
};

std::string lineOf(const CclClient& client, const Event& event, const CclEventKeys* keys) {
  rapidjson::StringBuffer buffer;
  Writer writer(buffer);
  writer.StartObject();
  writeText(writer, "time", now());
  writeText(writer, "application", client.application);
  writeText(writer, "version", client.version);
  writer.Key("process");
  writer.Int64(::getpid());
  // An application's own event name must not look like a built-in one.
  writeText(writer, event.isCustom ? "custom" : "event", event.name);
  if (event.text) writeText(writer, "text", event.text);
  if (keys) writeKeys(writer, *keys);
  writer.EndObject();
  return std::string(buffer.GetString(), buffer.GetSize()) + "\n";
}

int notWritten(const char* file, const char* why) {
  logAlways(LogError, "ccl: %s could not be written: %s", file, why);
  return CclNotWritten;
}

int append(const std::string& line) {
  const char* file = fileOfTheUser();
  if (!file) return CclDisabled;
  // Opened for each event, so that the file can be rotated. Non-blocking: a pipe without a reader
  // must not stall us.
  const UniqueFd opened(
      ::open(file, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600));
  struct stat status {};
  if (!opened || ::fstat(opened.get(), &status) != 0) return notWritten(file, std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return notWritten(file, "it is no plain file");
  const auto size = static_cast<off_t>(line.size());
  if (status.st_size > largestFile - size) return notWritten(file, "it is full");
  // One write, so that lines of several processes are not interleaved.
  const ssize_t written = ::write(opened.get(), line.data(), line.size());
  if (written == size) return CclSuccess;
  const int error = written < 0 ? errno : ENOSPC;
  // A partial line would corrupt the next one.
  if (written > 0 && ::write(opened.get(), "\n", 1) != 1) {
    logAlways(LogError, "ccl: %s is truncated: its last line is incomplete", file);
  }
  return notWritten(file, std::strerror(error));
}

int record(const CclClient* client, const Event& event, const CclEventKeys* keys) {
  if (!client) return CclNoClient;
  if (event.isCustom && (!event.name || !*event.name)) return CclBadArgument;
  if (isLonger(event.name, longestName) || isLonger(event.text, longestText)) return CclTooLarge;
  if (!client->enabled) return CclDisabled;
  return append(lineOf(*client, event, keys));
}

}  // namespace

CclClient* ccl_init(const char* application, const char* version) {
  if (!application || !*application) return nullptr;
  if (isLonger(application, longestName) || isLonger(version, longestName)) return nullptr;
  return new CclClient{application, version ? version : "", fileOfTheUser() != nullptr};
}

int ccl_shutdown(CclClient* client) {
  const std::unique_ptr<CclClient> ended(client);
  return client ? CclSuccess : CclNoClient;
}

int ccl_set_ccl_enabled(CclClient* client, int enabled) {
  if (!client) return CclNoClient;
  if (enabled != 0 && enabled != 1) return CclBadArgument;
  if (enabled == 1 && !fileOfTheUser()) return CclDisabled;
  client->enabled = enabled == 1;
  return CclSuccess;
}

int ccl_is_ccl_enabled(const CclClient* client) {
  return client ? static_cast<int>(client->enabled) : CclNoClient;
}

CclEventKeys* ccl_event_keys_create() {
  return new CclEventKeys;
}

int ccl_event_keys_add(CclEventKeys* keys, const char* key, const char* value,
                       unsigned short flags) {
  if (!keys) return CclNoKeys;
  if (!key || !*key || !value || (flags & ~knownFlags) != 0) return CclBadArgument;
  if (isLonger(key, longestName) || isLonger(value, longestText)) return CclTooLarge;
  const auto known = std::find_if(keys->list.begin(), keys->list.end(),
                                  [key](const auto& each) { return each.name == key; });
  if (known != keys->list.end()) {
    known->value = value;
    known->flags = flags;
    return CclSuccess;
  }
  if (keys->list.size() == mostKeys) return CclTooLarge;
  keys->list.push_back({key, value, flags});
  return CclSuccess;
}

int ccl_event_keys_delete(CclEventKeys* keys) {
  const std::unique_ptr<CclEventKeys> ended(keys);
  return keys ? CclSuccess : CclNoKeys;
}

int ccl_event_keys_print(const CclEventKeys* keys) {
  if (!keys) return CclNoKeys;
  for (const auto& [name, value, flags] : keys->list) {
    logAlways(LogNotice, "ccl: %s = %s (%u)", name.c_str(), value.c_str(),
              static_cast<unsigned int>(flags));
  }
  return CclSuccess;
}

// The event functions and the event names in the file.
#define EVENT(function, name)                                 \
  int function(CclClient* client, const CclEventKeys* keys) { \
    return record(client, {name}, keys);                      \
  }
#define EVENT_WITH_TEXT(function, name)                                         \
  int function(CclClient* client, const CclEventKeys* keys, const char* text) { \
    return record(client, {name, false, text}, keys);                           \
  }
EVENT(ccl_onapplication_start, "applicationStart")
EVENT(ccl_onapplication_end, "applicationEnd")
EVENT(ccl_onapplication_foreground, "applicationForeground")
EVENT(ccl_onapplication_background, "applicationBackground")
EVENT(ccl_onapplication_error, "applicationError")
EVENT(ccl_onbutton_click, "buttonClick")
EVENT(ccl_oncontent_view, "contentView")
EVENT_WITH_TEXT(ccl_onsearch_event, "search")
EVENT_WITH_TEXT(ccl_onactivity_start, "activityStart")
EVENT_WITH_TEXT(ccl_onactivity_end, "activityEnd")
EVENT_WITH_TEXT(ccl_onactivity_pause, "activityPause")
EVENT_WITH_TEXT(ccl_onadclick_event, "adClick")
EVENT_WITH_TEXT(ccl_onconversion_event, "conversion")
#undef EVENT
#undef EVENT_WITH_TEXT

int ccl_oncustom_event(CclClient* client, const char* name, const CclEventKeys* keys) {
  return record(client, {name, true}, keys);
}

// The shared objects of the device. Main thread.
#include "device/DeviceObjects.h"

#include "platform/base/Log.h"
#include "platform/os/Folders.h"
#include "platform/pps/PPSFiles.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

namespace Device {

using Tessel::Platform::PPSAttribute;
using Tessel::Platform::PPSEvent;
using Tessel::Platform::PPSObject;
using Tessel::Platform::PPSValue;
using Tessel::Platform::String;

namespace {

// The device has this time to take a value; then the object says what is true again.
constexpr unsigned secondsForAWish = 2;
constexpr std::size_t longestText = 256;

}  // namespace

std::optional<double> percentageOf(const String& text) {
  double number = 0;
  const std::string_view view = text.view();
  const auto [end, error] = std::from_chars(view.data(), view.data() + view.size(), number);
  const bool isGood =
      error == std::errc() && end == view.data() + view.size() && number >= 0 && number <= 100;
  return isGood ? std::optional(number) : std::nullopt;
}

std::optional<bool> truthOf(const String& text) {
  if (text == "true") return true;
  return text == "false" ? std::optional(false) : std::nullopt;
}

String numberText(double value) {
  return String(Tessel::Platform::formatNumberText(value));
}

String truthText(bool value) {
  return value ? "true" : "false";
}

String plainText(std::string_view text) {
  gchar* const valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  std::string plain;
  for (const gchar* at = valid; *at && plain.size() < longestText; at = g_utf8_next_char(at)) {
    const gunichar character = g_utf8_get_char(at);
    if (!g_unichar_iscntrl(character))
      plain.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
  }
  g_free(valid);
  return String(std::move(plain));
}

DeviceObjects::DeviceObjects(Tessel::Platform::MessageClient& client, Permissions allowed,
                             Wish wish, Lost lost)
    : client_(client),
      allowed_(std::move(allowed)),
      wish_(std::move(wish)),
      lost_(std::move(lost)) {
  for (const ObjectRow& row : objects()) kept_.push_back({this, row.object, {}, {}, nullptr, 0});
}

DeviceObjects::~DeviceObjects() {
  for (Kept& kept : kept_) {
    if (kept.restoring) g_source_remove(kept.restoring);
    kept.values.clear();
    if (kept.shared) write(kept);
  }
}

// Not in the folder itself: what is open there would hide from everybody that the folder is gone.
std::string DeviceObjects::lock() {
  const std::string root = Tessel::Platform::ppsRoot();
  struct stat status {};
  if (g_mkdir_with_parents(root.c_str(), 0700) != 0 || ::stat(root.c_str(), &status) != 0) {
    return root + ": " + std::strerror(errno);
  }
  const std::string path = Tessel::Platform::runtimeFolder() + "/device." +
                           std::to_string(status.st_dev) + "." + std::to_string(status.st_ino);
  lock_.reset(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (!lock_) return path + ": " + std::strerror(errno);
  if (::flock(lock_.get(), LOCK_EX | LOCK_NB) == 0) return {};
  return errno == EWOULDBLOCK ? "Another pagehost-device keeps the objects already"
                              : path + ": " + std::strerror(errno);
}

std::string DeviceObjects::open() {
  if (std::string problem = lock(); !problem.empty()) return problem;
  for (Kept& kept : kept_) {
    const String path(std::string(folderName) + "/" + rowOf(kept.object).name);
    kept.shared = std::make_unique<PPSObject>(path, PPSObject::Full, &client_);
    kept.shared->setEventFunc(
        [](void* context, const PPSEvent& event) {
          auto& each = *static_cast<Kept*>(context);
          each.owner->heard(each, event);
        },
        &kept);
    PPSValue value;
    if (!kept.shared->open(O_RDWR | O_CREAT, 0, &value, false)) {
      return "The object " + path.toStdString() + " cannot be opened";
    }
    // What an earlier run has left is not true any more.
    write(kept);
  }
  return {};
}

void DeviceObjects::publish(Object object, Values values) {
  Kept& kept = kept_[static_cast<std::size_t>(object)];
  if (values == kept.values) return;
  kept.values = std::move(values);
  kept.wished.clear();
  write(kept);
}

// All members, also those that are not known: others may have written them.
void DeviceObjects::write(Kept& kept) {
  std::string lines;
  for (const MemberRow& row : members()) {
    if (row.object != kept.object) continue;
    const auto value = kept.values.find(row.member);
    lines.append(row.name).append(":");
    if (value != kept.values.end()) {
      lines.append(row.encoding).append(":").append(value->second.view());
    }
    lines.push_back('\n');
  }
  kept.shared->write(String(std::move(lines)));
}

void DeviceObjects::heard(Kept& kept, const PPSEvent& event) {
  switch (event.type) {
    case PPSEvent::NewData:
      return compare(kept, event.value);
    case PPSEvent::ReadFailed:
      return write(kept);  // the file is gone: it is made anew
    case PPSEvent::WriteFailed:
      return Tessel::Platform::logAlways(Tessel::Platform::LogError, "%s", event.message.utf8());
    case PPSEvent::Closed:
    case PPSEvent::OpenFailed:
      return lost_();
    default:
      return;
  }
}

void DeviceObjects::compare(Kept& kept, const PPSValue& value) {
  bool restores = false;
  bool waits = false;
  for (const MemberRow& row : members()) {
    if (row.object != kept.object) continue;
    const auto found = value.attributes.find(String(row.name));
    const PPSAttribute* written = found == value.attributes.end() ? nullptr : &found->second;
    const auto known = kept.values.find(row.member);
    const bool isSame = known == kept.values.end()
                            ? !written
                            : written && *written == PPSAttribute{row.encoding, known->second};
    if (isSame) continue;
    (ask(kept, row, written) ? waits : restores) = true;
  }
  if (restores) write(kept);
  if (!waits || kept.restoring) return;
  kept.restoring = g_timeout_add_seconds(
      secondsForAWish,
      [](gpointer data) -> gboolean {
        auto& each = *static_cast<Kept*>(data);
        each.restoring = 0;
        each.wished.clear();
        each.owner->write(each);
        return G_SOURCE_REMOVE;
      },
      &kept);
}

// Whether the device has been asked for it.
bool DeviceObjects::ask(Kept& kept, const MemberRow& row, const PPSAttribute* written) {
  if (!written || written->encoding != row.encoding || !allowed_.contains(row.permission)) {
    return false;
  }
  // Only what is there can be set.
  if (!kept.values.contains(row.member)) return false;
  const bool isTruth = std::string_view(row.encoding) == "b";
  if (isTruth ? !truthOf(written->value) : !percentageOf(written->value)) return false;
  String& wished = kept.wished[row.member];
  if (wished != written->value) {
    wished = written->value;
    wish_(row.member, wished);
  }
  return true;
}

}  // namespace Device

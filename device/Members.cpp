// The tables of the device's objects. Any thread.
#include "device/Members.h"

#include <string>

namespace Device {

namespace {

constexpr PermissionRow permissionRows[] = {
#define DEVICE_PERMISSION(name, key, text) {Permission::name, key, text},
#include "device/Members.def"
};

constexpr ObjectRow objectRows[] = {
#define DEVICE_OBJECT(name, text, source) {Object::name, text, source},
#include "device/Members.def"
};

constexpr MemberRow memberRows[] = {
#define DEVICE_MEMBER(object, name, text, encoding, permission, meaning) \
  {Object::object, Member::name, text, encoding, Permission::permission, meaning},
#include "device/Members.def"
};

constexpr const char* introduction = R"(# Objects of the device

<!-- Written by tools/generate-reference.sh from device/Members.def: change that. -->

`pagehost-device` keeps [shared objects](native-functions.md) about the device, below `device/`; a chrome
opens them with `pps.open`, such as `/device/power`. What is not known is missing: an object is empty while
its service is not running, and when `pagehost-device` has ended. [device.md](device.md#the-devices-objects)
says how it is started.

A member that can be written is set on the device when somebody writes it, if a key in the group `[device]`
of `~/.config/pagehost/device.conf` or `/etc/pagehost/device.conf` allows it; it says the new value when
the device has taken it. What may not be written, or is no value, is put back.

| key | allows to set |
|---|---|
)";

const char* wordFor(const char* encoding) {
  const std::string_view text = encoding;
  return text == "n" ? "number" : text == "b" ? "boolean" : text == "json" ? "JSON" : "text";
}

}  // namespace

std::span<const PermissionRow> permissions() {
  return permissionRows;
}
std::span<const ObjectRow> objects() {
  return objectRows;
}
std::span<const MemberRow> members() {
  return memberRows;
}
const ObjectRow& rowOf(Object object) {
  return objectRows[static_cast<std::size_t>(object)];
}
const MemberRow& rowOf(Member member) {
  return memberRows[static_cast<std::size_t>(member)];
}

std::string objectsReference() {
  std::string text = introduction;
  for (const PermissionRow& row : permissions()) {
    text.append("| `").append(row.key).append("=true` | ").append(row.meaning).append(" |\n");
  }
  for (const ObjectRow& object : objects()) {
    text.append("\n## ").append(folderName).append("/").append(object.name);
    text.append("\n\nFrom ").append(object.source).append(".\n\n| member | | |\n|---|---|---|\n");
    for (const MemberRow& member : members()) {
      if (member.object != object.object) continue;
      text.append("| `").append(member.name).append("` | ").append(wordFor(member.encoding));
      if (member.permission != Permission::None) {
        const auto& key = permissionRows[static_cast<std::size_t>(member.permission) - 1].key;
        text.append(", set with `").append(key).append("`");
      }
      text.append(" | ").append(member.meaning).append(" |\n");
    }
  }
  return text;
}

}  // namespace Device

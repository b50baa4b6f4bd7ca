// The objects that pagehost-device keeps, and their members, from one table. Any thread.
#pragma once

#include "platform/base/String.h"

#include <map>
#include <span>

namespace Device {

enum class Permission {
  None,
#define DEVICE_PERMISSION(name, key, text) name,
#include "device/Members.def"
};

enum class Object {
#define DEVICE_OBJECT(name, text, source) name,
#include "device/Members.def"
};

enum class Member {
#define DEVICE_MEMBER(object, name, text, encoding, permission, meaning) name,
#include "device/Members.def"
};

struct PermissionRow {
  Permission permission;
  const char* key;
  const char* meaning;
};

struct ObjectRow {
  Object object;
  const char* name;  // below the folder "device"
  const char* source;
};

struct MemberRow {
  Object object;
  Member member;
  const char* name;
  const char* encoding;  // as in shared objects: "n", "b", "json", or empty for text
  Permission permission;
  const char* meaning;
};

std::span<const PermissionRow> permissions();
std::span<const ObjectRow> objects();
std::span<const MemberRow> members();
const ObjectRow& rowOf(Object object);
const MemberRow& rowOf(Member member);

// The folder of the objects, below that of all shared objects.
inline constexpr const char* folderName = "device";

// What is known of an object: the text of each member's value. What is not known is not in it.
using Values = std::map<Member, Tessel::Platform::String>;

// The reference of the objects, in Markdown.
std::string objectsReference();

}  // namespace Device

// The shared objects of the device: writes what the sources know, and hears what others write into
// them. Main thread.
#pragma once

#include "device/Members.h"
#include "platform/base/UniqueFd.h"
#include "platform/pps/PPSObject.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Device {

using Permissions = std::set<Permission>;

// A number within the bounds of a percentage, and true or false, as objects hold them.
std::optional<double> percentageOf(const Tessel::Platform::String& text);
std::optional<bool> truthOf(const Tessel::Platform::String& text);

// Texts for Values. Those of other programs are cut and rid of control characters.
Tessel::Platform::String numberText(double value);
Tessel::Platform::String truthText(bool value);
Tessel::Platform::String plainText(std::string_view text);

class DeviceObjects {
 public:
  // Somebody has written a value to a member that may be set. The value is one of its kind.
  using Wish = std::function<void(Member, const Tessel::Platform::String& value)>;
  // The objects cannot be kept any more.
  using Lost = std::function<void()>;

  DeviceObjects(Tessel::Platform::MessageClient& client, Permissions allowed, Wish wish, Lost lost);
  // Makes every object empty.
  ~DeviceObjects();
  DeviceObjects(const DeviceObjects&) = delete;
  DeviceObjects& operator=(const DeviceObjects&) = delete;

  // What is wrong, if they cannot be opened: only one program may keep them at a time.
  std::string open();
  // All that is known of an object now; written if it is something else than before.
  void publish(Object object, Values values);

 private:
  struct Kept {
    DeviceObjects* owner;
    Object object;
    Values values;
    Values wished;  // of others, until the device has taken them, or for a while
    std::unique_ptr<Tessel::Platform::PPSObject> shared;
    unsigned restoring = 0;
  };

  std::string lock();
  void write(Kept& kept);
  void heard(Kept& kept, const Tessel::Platform::PPSEvent& event);
  void compare(Kept& kept, const Tessel::Platform::PPSValue& value);
  bool ask(Kept& kept, const MemberRow& row, const Tessel::Platform::PPSAttribute* written);

  Tessel::Platform::MessageClient& client_;
  const Permissions allowed_;
  const Wish wish_;
  const Lost lost_;
  Tessel::Platform::UniqueFd lock_;
  std::vector<Kept> kept_;
};

}  // namespace Device

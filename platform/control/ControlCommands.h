// The commands that a running program takes from outside, over its control socket or a bus. Main
// thread, except for the table, which is constant.
#pragma once

#include "platform/base/String.h"
#include "platform/base/UniqueFd.h"

#include <chrono>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Platform {

// A web view, by its handle; 1 is the chrome's.
enum class ControlView : unsigned {};

struct ControlAnswer {
  String error = {};   // empty if the command was carried out
  String json = {};    // the value of a command with such a result
  UniqueFd file = {};  // likewise: a memory file, positioned at its start
};
// Called once. Calling it again, or when nobody waits for it any more, has no effect.
using ControlReply = std::function<void(ControlAnswer)>;

// Carries commands out; an operation for each.
class ControlHandler {
 public:
  virtual ~ControlHandler() = default;
#define CONTROL_COMMAND(name, result, parameters, arguments, text) virtual void name parameters = 0;
#include "platform/control/Commands.def"
};

enum class ControlResult { Nothing, Json, File };

struct ControlParameter {
  std::string name;
  const char* type;  // its signature on D-Bus: "u" for a web view, "s", or "as" for the rest
};

struct ControlCommand {
  const char* name;
  ControlResult result;
  std::vector<ControlParameter> parameters;
  const char* text;
  // Has the handler carry it out.
  void (*call)(ControlHandler& handler, std::span<const String> arguments,
               const ControlReply& reply);

  // Whether its last parameter takes any number of texts.
  bool takesRest() const {
    return !parameters.empty() && std::string_view(parameters.back().type) == "as";
  }
};

// In table order.
std::span<const ControlCommand> controlCommands();
// Null if there is none.
const ControlCommand* controlCommandNamed(std::string_view name);

// Has the handler carry a command out. Its arguments come as texts, those of a list one by one. The
// reply always comes: with an error for an unknown command or invalid arguments, or after
// controlLimit if the handler does not answer.
void carryOut(ControlHandler& handler, const String& name, std::span<const String> arguments,
              ControlReply reply);

// How long a command may take. Tests use a shorter time.
inline std::chrono::milliseconds controlLimit{20'000};

}  // namespace Tessel::Platform

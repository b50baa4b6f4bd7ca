// The page link's frames: what passes between the program and its module in a web process.
// Compiled into both. Any thread: plain values.
//
// A frame is a fixed header in the machine's byte order and a payload. The other end is not
// trusted: whatever is read is checked, and a frame that does not decode ends its link.
#pragma once

#include "engine/JavaScriptVariant.h"
#include "engine/PageAction.h"
#include "engine/Records.h"
#include "platform/sockets/SendBounds.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace link_protocol {

enum class FrameKind : std::uint32_t {
  // From the module.
  Hello,        // first frame of a link: the token that its module was given, 32 bytes
  PageCreated,  // asks for the page's PageSetup
  NativeCall,   // asks for the text that a native function returns
  Dialog,       // asks for a dialog's DialogAnswer
  Log,          // a text for the program's log
  Report,       // something has happened in a page: a PageReport
  Ask,          // as Report, but the page waits for a text
  // From the program.
  PostFunction,  // run it when no native call is going on
  PostAction,    // as PostFunction, but an action of the module's own scripts: an ActionCall
  CallFunction,  // run it now; asks for its value
  SetupChanged,  // the page's PageSetup has changed
  Ping,          // asks whether the process does anything but run a script; reported as alive
  // From both.
  Answer,  // to the frame with the same id
};
inline constexpr std::uint32_t frameKindCount = static_cast<std::uint32_t>(FrameKind::Answer) + 1;

// The name of the engine's message by which a page tells, once, where it is: a text, the token of
// its process.
inline constexpr const char* placeMessage = "pagehost-place";

struct FrameHeader {
  std::uint32_t size;  // bytes of the payload
  std::uint32_t kind;
  std::uint32_t id;  // of a request and its answer; each end numbers its own requests
  std::uint32_t reserved;
  std::uint64_t page;  // the engine's number of the page, 0 for none
};
static_assert(sizeof(FrameHeader) == 24);

// Larger ones are not sent: a page that builds one gets an exception or the default answer. A peer
// that sends one all the same is cut off. It bounds what one page can make the program allocate.
inline constexpr std::uint32_t maximumPayload = Tessel::Platform::largestMessage;
inline constexpr std::size_t maximumArguments = 65536;

struct Frame {
  FrameKind kind = FrameKind::Answer;
  std::uint32_t id = 0;
  std::uint64_t page = 0;
  std::string payload;
};

// What the module observes in a page, as far as its events are enabled.
enum class Watched : std::uint32_t {
  WindowObjectCleared = 1u << 0,
  Selection = 1u << 1,
  Caret = 1u << 2,
  Rendering = 1u << 3,
  Clipboard = 1u << 4,
  FormControls = 1u << 5,
  Resources = 1u << 6,
  Keys = 1u << 7,
  Width = 1u << 8,
  FormTexts = 1u << 9,
  Logins = 1u << 10,
};

// What the module must know about a page before its first document.
struct PageSetup {
  bool callbackObject = false;     // its documents may call native functions
  bool drivesApplication = false;  // its dialogs come over the link, unless
  bool engineDialogs = false;      // they are the engine's, as those of other pages
  std::vector<OrvWebHeader> requestHeaders = {};
  bool downloadableFonts = true;  // its documents may load fonts
  bool standalone = false;        // navigator.standalone is there and true
  std::uint32_t watched = 0;      // what it is looked at for; see Watched
  bool deferred = false;          // its process is suspended, except for the program's requests
  bool bound = false;             // of each document the program is asked whether it may call them
};

enum class DialogKind : std::uint8_t { Alert, Confirm, Prompt, Print };

struct DialogQuestion {
  DialogKind kind = DialogKind::Alert;
  Tessel::Platform::String message;
  Tessel::Platform::String initialText;
};

struct DialogAnswer {
  bool confirmed = false;
  Tessel::Platform::String text;
};

// A function to run without waiting for it; its value is reported under the id, if there is one.
struct PostedCall {
  FunctionCall call;
  Tessel::Platform::String resultId;
};

enum class ReportKind : std::uint8_t {
#define REPORT(name) name,
#include "engine/webkit/link/PageReports.def"
};

struct PageReport {
  ReportKind kind{};
  std::vector<JavaScriptVariant> details;
};

struct ActionCall {
  PageAction action{};
  std::vector<JavaScriptVariant> arguments;
};

// The names of both by their numbers, for scripts and for errors.
inline constexpr const char* reportNames[] = {
#define REPORT(name) #name,
#include "engine/webkit/link/PageReports.def"
};
inline constexpr const char* actionNames[] = {
#define ACTION(name) #name,
#include "engine/PageActions.def"
};
constexpr const char* nameOf(ReportKind kind) {
  return reportNames[static_cast<std::size_t>(kind)];
}
constexpr const char* nameOf(PageAction action) {
  return actionNames[static_cast<std::size_t>(action)];
}

enum class ResourceVerdict : std::uint8_t { Accept, Deny, Redirect };

// The answer to ReportKind::resource; an empty one leaves the request as it is.
struct ResourceDecision {
  ResourceVerdict verdict = ResourceVerdict::Accept;
  Tessel::Platform::String address;   // to redirect it to
  Tessel::Platform::String referrer;  // unless it is denied
};

// A native call's arguments; nothing stands for null and undefined.
using NativeArguments = std::vector<std::optional<std::string>>;

// Defined for each kind of payload: the records above, FunctionCall and JavaScriptVariant.
template <typename Record>
std::string encode(const Record& record);
// False when the payload is malformed; the result is then of no use.
template <typename Record>
bool decode(std::string_view payload, Record& record);

}  // namespace link_protocol

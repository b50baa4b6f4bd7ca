// An object of the publish/subscribe service: a file below the root whose attributes are shared by
// several programs, each notified of the others' changes. It outlives all of them.
//
// Opening, writing and closing works from any thread, one at a time; events are delivered on the
// client's.
#pragma once

#include "platform/base/String.h"
#include "platform/loop/MessageClient.h"
#include "platform/pps/PPSText.h"

#include <memory>

namespace Tessel::Platform {

struct PPSEvent {
  enum Type : int {
    FirstReadComplete = 0,
    NewData = 1,
    Opened = 2,
    Closed = 3,
    OpenFailed = 4,
    ReadFailed = 5,
    WriteFailed = 6,
  };

  Type type = Opened;
  // For failures: what failed and why, in a sentence.
  String message;
  // For FirstReadComplete and NewData.
  PPSValue value;
};

class PPSObject {
 public:
  enum PPSMode : int {
    Full = 0,   // NewData brings all attributes
    Delta = 1,  // only changed ones; a removed one is JSON null
  };
  using EventFunc = void (*)(void* context, const PPSEvent& event);

  // The path is relative to the current root; see findPPSPlace. The client must outlive the object.
  PPSObject(const String& path, PPSMode mode, MessageClient* client);
  // No events follow, except one being delivered on the client's thread at that moment.
  ~PPSObject();
  PPSObject(const PPSObject&) = delete;
  PPSObject& operator=(const PPSObject&) = delete;

  // Before open. The function may destroy the object.
  void setEventFunc(EventFunc func, void* context);

  // The flags are those of open(2): reading and writing (O_RDONLY, O_WRONLY, O_RDWR), O_CREAT with
  // folders on the way, O_EXCL, O_TRUNC. The permissions are those of a new file, 0600 for 0. Fills
  // the value, if any, with what is there, and nothing when it is not opened for reading. Opened
  // follows, then FirstReadComplete, if reportsFirstRead, and NewData after changes, this object's
  // own included. On failure OpenFailed follows, as long as the object is there.
  //
  // NewData is about the latest state: of changes that come faster than every 4 ms some are left
  // out, never the last. When the file goes, ReadFailed says so, and NewData when it is there
  // again. When its folder goes, Closed follows.
  bool open(int flags, int permissions, PPSValue* value, bool reportsFirstRead);

  // Merges lines ("name:encoding:value", each with a line break; "name:" removes an attribute) into
  // the object, atomically for readers. On failure nothing is changed and WriteFailed follows,
  // unless the object is not open. Waits at most three seconds for other writers.
  bool write(const String& lines);

  // Closed follows, after pending events.
  void close();

  PPSMode mode() const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace Tessel::Platform

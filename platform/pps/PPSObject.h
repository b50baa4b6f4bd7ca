// An object of the publish/subscribe service: a file below the root whose attributes several
// programs read and write, each of which hears of what the others change. It outlasts all of them.
//
// Opening, writing and closing works from any thread, one at a time; events come on the client's.
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
  // Of failures: what failed and why, in a sentence.
  String message;
  // Of FirstReadComplete and NewData.
  PPSValue value;
};

class PPSObject {
 public:
  enum PPSMode : int {
    Full = 0,   // NewData brings all attributes
    Delta = 1,  // only those that are different; one that is gone is the JSON null
  };
  using EventFunc = void (*)(void* context, const PPSEvent& event);

  // The path is below the root of this moment; see findPPSPlace. The client outlives the object.
  PPSObject(const String& path, PPSMode mode, MessageClient* client);
  // No event follows, but for one that the client's thread is delivering just now.
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

  // Merges lines ("name:encoding:value", each with a line break; "name:" removes) into the object,
  // in one step for all readers. On failure nothing is changed and WriteFailed follows, unless the
  // object is not open. Waits three seconds at most for other writers.
  bool write(const String& lines);

  // Closed follows, after the events that are on their way.
  void close();

  PPSMode mode() const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace Tessel::Platform

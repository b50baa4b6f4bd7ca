// The native functions "pps.*": the chrome's way to the objects of the publish/subscribe service.
//
// The functions run on the UI thread, events of the objects on the web-engine thread; the table of
// open objects has a lock for both.
#pragma once

#include "platform/loop/GuardedPointer.h"
#include "platform/pps/PPSObject.h"

#include <map>
#include <memory>
#include <mutex>

class WebView;

class PPSBinding {
 public:
  using String = Tessel::Platform::String;

  // Created on first use, on the UI thread, never destroyed; registers the functions. Events go to
  // the chrome of that moment.
  static PPSBinding& instance();

  // {"result":true,"data":{...}}, or {"result":false}.
  String open(unsigned int number, const String& path, int mode, int flags, int permissions);
  // "true" or "false".
  const char* write(unsigned int number, const String& attributes);
  void close(unsigned int number);

  // Calls chrome.internal.pps.onEvent(id, name, text) for an object that is open. When the event is
  // its last one, the object goes, the call is waited for, and only then the id is free. Any
  // thread.
  void deliver(int id, const Tessel::Platform::PPSEvent& event);

 private:
  using Object = std::shared_ptr<Tessel::Platform::PPSObject>;

  PPSBinding();
  // Null when there is none.
  Object find(int id);
  bool isTaken(int id);

  const Tessel::Platform::GuardedPointer<WebView> chrome_;
  std::mutex mutex_;
  // Guarded by the mutex. Null while the chrome is being notified of the end.
  std::map<int, Object> objects_;
};

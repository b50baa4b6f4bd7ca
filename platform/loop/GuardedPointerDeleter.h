// Deferred deletion on a later turn of the main loop, for objects that may be in use further up the
// stack. UI thread.
#pragma once

#include "platform/loop/GuardedPointer.h"
#include "platform/loop/MessageClient.h"

namespace Tessel::Platform {

struct GuardedPointerDeleter {
  // Does nothing if the object is gone by then. Without a main loop the object is leaked.
  template <typename T>
  static void deleteGuardedPointer(T* object) {
    MainMessageClient* const client = MainMessageClient::instance();
    if (!client) return;
    client->dispatchMessage(executableMessage(
        [pointer = GuardedPointer<T>(object)] { deleteGuardedObject(pointer.get()); }));
  }
};

}  // namespace Tessel::Platform

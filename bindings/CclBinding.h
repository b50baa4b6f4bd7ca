// The native functions "ccl.*": the chrome's way to the analytics client. UI thread only.
#pragma once

#include "platform/ccl/Ccl.h"

// Keeps the client and the keys of the events to come. It starts no thread and holds nothing open,
// so that it can be made before the process forks.
class CclBinding {
 public:
  // Created on first use, never destroyed; registers the functions.
  static CclBinding& instance();

  // Null when not initialised, and when there are none.
  CclClient* client = nullptr;
  CclEventKeys* keys = nullptr;

 private:
  CclBinding();
};

// The cookies that the pages of this process keep, as other processes of the program share them.
// Each process has an engine of its own with a jar of its own; changes are told to the others, so
// that there is one jar for a person. Private web views are not part of it. Main thread.
#pragma once

#include "platform/base/String.h"

#include <functional>

class CookieJar {
 public:
  // Changes are a JSON text that apply() of another process takes, of 1 MiB at most.
  using Tell = std::function<void(const Tessel::Platform::String& changes)>;

  virtual ~CookieJar() = default;

  // The jar of this process; null until its engine has started. Not owned.
  static CookieJar* current();
  static void install(CookieJar* jar);

  // Calls the function with what pages and servers change from now on, and not with what apply()
  // does. Replaces the function before.
  virtual void onChanged(Tell tell) = 0;
  // Takes over what has changed in another process. False for a malformed text, which changes
  // nothing.
  virtual bool apply(const Tessel::Platform::String& changes) = 0;
  // Calls the function with all cookies as changes, in as many texts as that takes.
  virtual void tellAll(const Tell& tell) const = 0;
};

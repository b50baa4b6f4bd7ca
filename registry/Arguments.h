// How handlers read the arguments of a native call, which are texts. UI thread.
//
// A number is read in base 10 as far as the text is one, and 0 where it does not start with one;
// signed numbers come as their complement.
#pragma once

#include "platform/base/Geometry.h"
#include "registry/BindingManager.h"

#include <cstdlib>
#include <limits>

namespace arguments {

// Never null. The argument must be there.
inline const char* textAt(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  const char* text = event.args()[index];
  return text ? text : "";
}

// Null and undefined, which are not the empty text.
inline bool isNullAt(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  return !event.args()[index];
}

inline unsigned long unsignedAt(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  return std::strtoul(textAt(event, index), nullptr, 10);
}

// A web view's handle; 0, which names none, for what is no handle.
inline unsigned int handleAt(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  const unsigned long number = unsignedAt(event, index);
  return number <= std::numeric_limits<unsigned int>::max() ? static_cast<unsigned int>(number) : 0;
}

inline int numberAt(const OrvWebJavaScriptCallbackEvent& event, unsigned int index) {
  return static_cast<int>(unsignedAt(event, index));
}

inline Tessel::Platform::IntPoint pointAt(const OrvWebJavaScriptCallbackEvent& event,
                                          unsigned int index) {
  return {numberAt(event, index), numberAt(event, index + 1)};
}

inline bool wrongCount(const OrvWebJavaScriptCallbackEvent& event, int required,
                       const char* function) {
  return BindingManager::checkArgumentCount(static_cast<int>(event.numArgs()), required, function);
}

// For a call that ends with any number of groups of the same size after what it needs first. With
// fewer than the least of them, or with a part of one, the error names the least count.
inline bool wrongGroups(const OrvWebJavaScriptCallbackEvent& event, int first, int size,
                        int leastGroups, const char* function) {
  const int count = static_cast<int>(event.numArgs());
  const int least = first + leastGroups * size;
  const bool whole = count >= least && (count - first) % size == 0;
  return !whole && BindingManager::checkArgumentCount(count, least, function);
}

}  // namespace arguments

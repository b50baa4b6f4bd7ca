// What the processes of web pages are confined by, and whether this system can do it. Main thread.
#pragma once

#include <string>
#include <vector>

namespace Tessel::Platform {

enum class PageSandbox {
  None,
  Landlock,    // by our module, in each web process, before its first document
  Bubblewrap,  // by the engine, in namespaces
};

// "none", "landlock", "bubblewrap".
const char* textOf(PageSandbox sandbox);

// The variable of the environment with the user's wish: "on" insists on the engine's sandbox, "off"
// wants none, "auto" and nothing take the best that works.
inline constexpr const char* sandboxVariable = "PAGEHOST_SANDBOX";

// Starts to find out whether the engine's sandbox works in this process, if it is wanted: the
// engine does not return an error where it does not, it ends the program. A short-lived process
// tries; this takes no time, and the other call waits for it.
void probeSandbox();

// What web processes of this process, which must see these folders, shall be confined by. When it
// is less than was wanted, `why` says so. False, and why is what to do about it, for a wish that
// cannot be granted or is none.
bool choosePageSandbox(const std::vector<std::string>& folders, PageSandbox& sandbox,
                       std::string& why);

}  // namespace Tessel::Platform

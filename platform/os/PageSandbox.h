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

// Chooses the confinement of the web processes of this process, which need access to these folders.
// If it is weaker than requested, `why` has the reason. False, with instructions in `why`, if the
// request is invalid or cannot be met.
bool choosePageSandbox(const std::vector<std::string>& folders, PageSandbox& sandbox,
                       std::string& why);

}  // namespace Tessel::Platform

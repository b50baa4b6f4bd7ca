// What pagehost-ctl says about itself. Main thread.
#pragma once

#include "platform/options/CommandLine.h"

#include <string>

namespace Tessel::Platform {
struct ControlCommand;
}

// With the commands and the notifications, from the program's tables.
const Tessel::Platform::ProgramText& controlText();

// The words that a command takes on the command line, such as "ADDRESS".
std::string wordsOf(const Tessel::Platform::ControlCommand& command);

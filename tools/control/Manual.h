// What pagehost-ctl says about itself. Main thread.
#pragma once

#include "platform/options/CommandLine.h"

// With the notifications, from the program's table.
const Tessel::Platform::ProgramText& controlText();

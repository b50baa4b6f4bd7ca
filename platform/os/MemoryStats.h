// The memory that processes do not share, and its line in the log. Any thread, but for the log: UI
// thread.
#pragma once

#include <cstdint>

namespace Tessel::Platform {

// Bytes that a process does not share, by its statm; 0 where there is no such process.
std::uint64_t privateMemoryOf(int pid);

// From now on a line a minute in the log, but only while the memory that the process takes by
// itself has changed by a tenth since the last line. Needs a running main loop.
void enableMemoryStatsLogging();

}  // namespace Tessel::Platform

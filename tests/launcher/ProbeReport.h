// What an application of the tests tells of itself instead of showing a window. One thread.
#pragma once

#include <map>
#include <string>

namespace test_support {

using Report = std::map<std::string, std::string>;

// The lines "key=value" that reportMain writes, up to the empty one; empty at the deadline.
Report readReport(int pipe);

// An application: reports to the FIFO that the variable REPORT names, then ends with the status of
// the variable STATUS, or 0. Its own standard output gets "out", its standard error "err".
void reportMain(int argc, char** argv);

}  // namespace test_support

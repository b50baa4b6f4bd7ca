// Parts of tests in processes of their own. Main thread.
#pragma once

#include <functional>

namespace test_support {

// Runs a part of a test in a forked process and expects it to pass there.
void inOwnProcess(const std::function<void()>& body);

// In a forked process: its main context wakes up on its own, not with that of the process that it
// was forked from, with which it would share the descriptor.
void separateMainContext();

}  // namespace test_support

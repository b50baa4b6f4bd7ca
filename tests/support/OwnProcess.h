// Parts of tests in processes of their own. Main thread.
#pragma once

#include <functional>

namespace test_support {

// Runs a part of a test in a forked process and expects it to pass there.
void inOwnProcess(const std::function<void()>& body);

// In a forked process: gives its main context a new wake-up descriptor, instead of the one shared
// with the parent.
void separateMainContext();

}  // namespace test_support

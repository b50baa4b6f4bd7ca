// What pagehost-ctl says about itself. Any thread: texts from the table.
#pragma once

#include <string>

std::string helpText();
// The manual page, for man(1).
std::string manualPage();

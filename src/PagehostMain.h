// The application process. Main thread.
#pragma once

// Shows the chrome and runs until its last web view is gone; ends the process.
[[noreturn]] void pagehost_main(int argc, char** argv);

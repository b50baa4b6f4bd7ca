// Suppressions for the leak detector: memory that libraries keep until the process exits. Any
// thread.

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig\n";
}

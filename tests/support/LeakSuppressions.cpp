// What the leak detector need not tell: a library keeps it for the life of the process.
// Any thread.

extern "C" const char* __lsan_default_suppressions();

extern "C" const char* __lsan_default_suppressions() {
  return "leak:libfontconfig\n";
}

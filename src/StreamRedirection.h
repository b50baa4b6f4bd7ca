// Redirects standard output and standard error to files.
#pragma once

// Reopens descriptor 1 or 2 on the path with the given open flags, mode 0600. On failure the error
// is printed on the other stream, and the descriptor refers to /dev/null. For a process with one
// thread.
void redirectStandardStream(int descriptor, const char* path, int openFlags);

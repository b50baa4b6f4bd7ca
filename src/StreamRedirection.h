// Standard output and standard error on files of one's choice.
#pragma once

// Re-opens descriptor 1 or 2 on the path with the given open flags, mode 0600. When that fails the
// other stream says so and the descriptor is on /dev/null. For a process with one thread.
void redirectStandardStream(int descriptor, const char* path, int openFlags);

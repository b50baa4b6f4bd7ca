// A child process that holds web views. Main thread.
#pragma once

// Connects back to the process that had it launched, proves itself with the key and serves its web
// views until it is told to end. The result is the exit status; -1 when it could not connect.
int childWebViewMain(unsigned int groupId, int parentPid, int mainChannelId, int webEngineChannelId,
                     unsigned long long handshakeKey);

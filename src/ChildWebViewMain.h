// The main function of child processes that host web views. Main thread.
#pragma once

// Connects to the launching process, sends the handshake with the key and serves its web views
// until told to exit. Returns the exit status; -1 if it could not connect.
int childWebViewMain(unsigned int groupId, int parentPid, int mainChannelId, int webEngineChannelId,
                     unsigned long long handshakeKey);

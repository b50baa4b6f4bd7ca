// The receiving side of the web view commands. UI thread of the process that has the web views.
#pragma once

#include "platform/channel/Message.h"

// Runs a command and puts its result into the message's reply buffer. False when the type is no
// command's or there is no web view of that handle: nothing has run then, and the buffer is as it
// was. The message is one that its sender made or that was rebuilt from blobs, so that its class
// is the one of its type.
bool dispatchWebViewCommand(const Tessel::Platform::Message& message);

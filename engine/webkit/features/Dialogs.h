// The dialogs of the page that drives the application, as GTK dialogs. Main thread.
#pragma once

#include "engine/webkit/link/Frame.h"

#include <webkit2/webkit2.h>

// Shows the dialog and runs the main loop until it is answered. The view may be gone afterwards.
link_protocol::DialogAnswer runDialog(WebKitWebView* view,
                                      const link_protocol::DialogQuestion& question);

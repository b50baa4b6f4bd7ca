// Snapshots of documents. Main thread.
#pragma once

#include "engine/Records.h"

#include <webkit2/webkit2.h>

#include <memory>

class PageContext;

// The page raises CaptureContents with the picture as a PNG in base64, empty where none could be
// made; its id counts the captures of the process from 1. See Page::capture for the arguments.
void capturePage(WebKitWebView* view, const std::weak_ptr<PageContext>& page, double scale,
                 const OrvWebRect& part, const OrvWebSize& size);

// The data that pages store: caches, cookies, databases. Main thread.
#pragma once

#include "engine/Page.h"

#include <webkit2/webkit2.h>

#include <memory>
#include <vector>

class PageContext;

// For the view's session, which all but private views share.
void clearSiteData(WebKitWebView* view, SiteData data);

// The page raises CookieResult when they are there.
void requestCookies(WebKitWebView* view, const std::weak_ptr<PageContext>& page,
                    const Tessel::Platform::String& url);
void addCookies(WebKitWebView* view, const Tessel::Platform::String& url,
                const std::vector<Tessel::Platform::String>& cookies);

// What pages leave behind: caches, cookies, databases. Main thread.
#pragma once

#include "engine/Page.h"

#include <webkit2/webkit2.h>

#include <memory>
#include <vector>

class WebKitPage;

// Of the view's session: all views share one, but for the private ones.
void clearSiteData(WebKitWebView* view, SiteData data);

// The page raises CookieResult when they are there.
void requestCookies(WebKitWebView* view, const std::weak_ptr<WebKitPage>& page,
                    const Tessel::Platform::String& url);
void addCookies(WebKitWebView* view, const Tessel::Platform::String& url,
                const std::vector<Tessel::Platform::String>& cookies);

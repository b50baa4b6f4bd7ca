// The data that pages store. Main thread.
#include "engine/webkit/network/SiteDataStore.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/PageContext.h"

#include <libsoup/soup.h>

using Tessel::Platform::String;

namespace {

WebKitWebsiteDataTypes typesOf(SiteData data) {
  int types = 0;
  switch (data) {
    case SiteData::Everything:
      types = WEBKIT_WEBSITE_DATA_ALL;
      break;
    case SiteData::Caches:
      types = WEBKIT_WEBSITE_DATA_MEMORY_CACHE | WEBKIT_WEBSITE_DATA_DISK_CACHE |
              WEBKIT_WEBSITE_DATA_DOM_CACHE;
      break;
    case SiteData::MemoryCache:
      types = WEBKIT_WEBSITE_DATA_MEMORY_CACHE;
      break;
    case SiteData::Cookies:
      types = WEBKIT_WEBSITE_DATA_COOKIES;
      break;
    case SiteData::Databases:
      types = WEBKIT_WEBSITE_DATA_INDEXEDDB_DATABASES;
      break;
    case SiteData::LocalStorage:
      types = WEBKIT_WEBSITE_DATA_LOCAL_STORAGE | WEBKIT_WEBSITE_DATA_SESSION_STORAGE;
      break;
  }
  return static_cast<WebKitWebsiteDataTypes>(types);
}

WebKitCookieManager* cookiesOf(WebKitWebView* view) {
  return webkit_website_data_manager_get_cookie_manager(
      webkit_web_view_get_website_data_manager(view));
}

struct CookieRequest {
  std::weak_ptr<PageContext> page;
  String url;
};

}  // namespace

void clearSiteData(WebKitWebView* view, SiteData data) {
  webkit_website_data_manager_clear(webkit_web_view_get_website_data_manager(view), typesOf(data),
                                    0, nullptr, nullptr, nullptr);
}

void requestCookies(WebKitWebView* view, const std::weak_ptr<PageContext>& page,
                    const String& url) {
  webkit_cookie_manager_get_cookies(
      cookiesOf(view), url.utf8(), nullptr,
      [](GObject* manager, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<CookieRequest> request(static_cast<CookieRequest*>(data));
        GList* list = webkit_cookie_manager_get_cookies_finish(WEBKIT_COOKIE_MANAGER(manager),
                                                               result, nullptr);
        std::vector<String> cookies;
        for (GList* entry = list; entry; entry = entry->next) {
          gchar* text = soup_cookie_to_set_cookie_header(static_cast<SoupCookie*>(entry->data));
          cookies.emplace_back(text);
          g_free(text);
        }
        g_list_free_full(
            list, [](gpointer cookie) { soup_cookie_free(static_cast<SoupCookie*>(cookie)); });
        const auto asked = request->page.lock();
        if (!asked) return;
        OrvWebCookieResultEvent event;
        event.url = request->url;
        event.cookies = std::move(cookies);
        asked->raise(event);
      },
      new CookieRequest{page, url});
}

void addCookies(WebKitWebView* view, const String& url, const std::vector<String>& cookies) {
  GUri* origin = g_uri_parse(url.utf8(), static_cast<GUriFlags>(SOUP_HTTP_URI_FLAGS), nullptr);
  for (const String& text : cookies) {
    SoupCookie* cookie = soup_cookie_parse(text.utf8(), origin);
    if (!cookie) continue;
    // Any text parses as the value of a cookie without a name.
    if (*soup_cookie_get_name(cookie) != '\0') {
      webkit_cookie_manager_add_cookie(cookiesOf(view), cookie, nullptr, nullptr, nullptr);
    }
    soup_cookie_free(cookie);
  }
  if (origin) g_uri_unref(origin);
}

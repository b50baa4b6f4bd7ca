// The page that is shown in place of one that could not be loaded.
#include "engine/webkit/network/FailurePage.h"

#include <glib.h>

using Tessel::Platform::String;

String failurePage(const String& url, const String& reason, const String& hint) {
  gchar* page = g_markup_printf_escaped(
      "<!doctype html><html><head><meta charset='utf-8'><title>Not loaded</title>"
      "<meta name='color-scheme' content='light dark'></head>"
      "<body style='font:16px/1.5 sans-serif;margin:4em auto;max-width:36em;padding:0 1em'>"
      "<h1 style='font-size:1.5em'>This page could not be loaded</h1>"
      "<p><code style='overflow-wrap:anywhere'>%s</code></p><p>%s</p><p>%s</p></body></html>",
      url.utf8(), reason.utf8(), hint.utf8());
  String text(page);
  g_free(page);
  return text;
}

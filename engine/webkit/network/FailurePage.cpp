// The page that is shown in place of one that could not be loaded.
#include "engine/webkit/network/FailurePage.h"

#include <glib.h>

using Tessel::Platform::String;

namespace {

String take(gchar* text) {
  String copy(text);
  g_free(text);
  return copy;
}

// Without its fragment, which would only be looked for in the failure page itself.
String retryText(const String& url, unsigned int seconds) {
  const auto address = url.view().substr(0, url.view().find('#'));
  return take(g_markup_printf_escaped(
      "<p>It is tried again in <b>%u</b> s. "
      "<a href='%s' style='padding:.6em 1em;border:1px solid;border-radius:.4em;"
      "text-decoration:none;color:inherit'>Try now</a></p>"
      "<script>setInterval(b=>{b.textContent=Math.max(0,b.textContent-1)},1000,"
      "document.querySelector('b'))</script>",
      seconds, String(address).utf8()));
}

}  // namespace

String failurePage(const String& title, const String& url, const String& reason, const String& hint,
                   unsigned int retrySeconds) {
  const String retry = retrySeconds == 0 ? String() : retryText(url, retrySeconds);
  const String begin = take(g_markup_printf_escaped(
      "<!doctype html><html><head><meta charset='utf-8'><title>Not loaded</title>"
      "<meta name='color-scheme' content='light dark'></head>"
      "<body style='font:16px/1.5 sans-serif;margin:4em auto;max-width:36em;padding:0 1em'>"
      "<h1 style='font-size:1.5em'>%s</h1>"
      "<p><code style='overflow-wrap:anywhere'>%s</code></p><p>%s</p>",
      title.utf8(), url.utf8(), reason.utf8()));
  const String end = take(g_markup_printf_escaped("<p>%s</p></body></html>", hint.utf8()));
  return Tessel::Platform::concat(begin, retry, end);
}

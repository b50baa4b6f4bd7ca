// Host names as people read them. Any thread.
#include "platform/Idn.h"

#include <glib.h>

namespace Tessel::Platform {

String idnToReadableUtf8String(const String& host, const String& language) {
  static_cast<void>(language);
  gchar* readable = g_hostname_to_unicode(host.utf8());
  if (!readable) return host;
  String result(readable);
  g_free(readable);
  return result;
}

String currentLanguage() {
  // Variants of the same language stand with their encoding first, then without.
  for (const gchar* const* name = g_get_language_names(); *name; ++name) {
    if (!g_strrstr(*name, ".")) return *name;
  }
  return "C";
}

}  // namespace Tessel::Platform

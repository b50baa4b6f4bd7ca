// The registrable domain of a host name. Any thread.
#include "platform/hosts/RegisteredDomain.h"

#include <gio/gio.h>
#include <libpsl.h>

#include <cstdlib>
#include <memory>

namespace Tessel::Platform {

namespace {

constexpr std::size_t longestName = 1024;  // in any spelling; the longest resolvable name has 253

}  // namespace

String getRegisteredDomain(const String& host) {
  if (host.isEmpty() || host.length() > longestName) return String();
  if (g_hostname_is_ip_address(host.utf8())) return String();
  char* lower = nullptr;
  if (psl_str_to_utf8lower(host.utf8(), nullptr, nullptr, &lower) != PSL_SUCCESS) return String();
  const std::unique_ptr<char, decltype(&psl_free_string)> owned(lower, psl_free_string);
  const char* domain = psl_registrable_domain(psl_builtin(), lower);
  return domain ? String(domain) : String();
}

}  // namespace Tessel::Platform

// The local: scheme: the files of one folder as pages. Main thread.
#include "engine/webkit/network/LocalScheme.h"

#include "platform/base/Log.h"
#include "platform/base/UniqueFd.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <gio/gunixinputstream.h>
#include <sys/stat.h>
#include <webkit2/webkit2.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogNotice;
using Tessel::Platform::UniqueFd;

namespace {

// Modules and style sheets are refused by the engine when their type is wrong, so these do not
// depend on which type database the machine has.
constexpr std::array<std::pair<std::string_view, const char*>, 22> webTypes{{
    {"css", "text/css"},
    {"gif", "image/gif"},
    {"htm", "text/html"},
    {"html", "text/html"},
    {"ico", "image/vnd.microsoft.icon"},
    {"jpeg", "image/jpeg"},
    {"jpg", "image/jpeg"},
    {"js", "text/javascript"},
    {"json", "application/json"},
    {"mjs", "text/javascript"},
    {"mp3", "audio/mpeg"},
    {"mp4", "video/mp4"},
    {"pdf", "application/pdf"},
    {"png", "image/png"},
    {"svg", "image/svg+xml"},
    {"ttf", "font/ttf"},
    {"txt", "text/plain"},
    {"wasm", "application/wasm"},
    {"webm", "video/webm"},
    {"webp", "image/webp"},
    {"woff", "font/woff"},
    {"woff2", "font/woff2"},
}};

// The files of pagehost:. Static, and of no use to a page that has no native functions.
constexpr std::array<std::string_view, 1> libraryFiles{"pagehost.js"};

enum class Readers { OwnOrigin, Everybody };

void respond(WebKitURISchemeRequest* request, GInputStream* body, gint64 length, guint status,
             const char* type, Readers readers = Readers::OwnOrigin) {
  WebKitURISchemeResponse* response = webkit_uri_scheme_response_new(body, length);
  webkit_uri_scheme_response_set_status(response, status, nullptr);
  webkit_uri_scheme_response_set_content_type(response, type);
  if (readers == Readers::Everybody) {
    SoupMessageHeaders* headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE);
    soup_message_headers_append(headers, "Access-Control-Allow-Origin", "*");
    webkit_uri_scheme_response_set_http_headers(response, headers);
  }
  webkit_uri_scheme_request_finish_with_response(request, response);
  g_object_unref(response);
}

// A missing file is a response, not an error: pages can tell it from a broken program.
void respondMissing(WebKitURISchemeRequest* request, const char* reason) {
  const char* uri = webkit_uri_scheme_request_get_uri(request);
  logAlways(LogNotice, "%s: %s", uri, reason);
  gchar* escaped = g_markup_escape_text(uri, -1);
  gchar* page = g_strdup_printf(
      "<!doctype html><meta charset=utf-8><title>Not found</title>"
      "<body style='font:16px/1.5 sans-serif;margin:3em;max-width:40em'>"
      "<h1>Not found</h1><p><code>%s</code></p><p>%s</p>",
      escaped, reason);
  g_free(escaped);
  const auto length = static_cast<gssize>(std::strlen(page));
  GInputStream* body = g_memory_input_stream_new_from_data(page, length, g_free);
  respond(request, body, length, 404, "text/html; charset=utf-8");
  g_object_unref(body);
}

// The engine keeps pages of other schemes out, except for synchronous requests. Those name their
// origin; loads of the program and requests within the scheme name none, or the scheme.
bool isForeign(WebKitURISchemeRequest* request) {
  SoupMessageHeaders* headers = webkit_uri_scheme_request_get_http_headers(request);
  const char* origin = headers ? soup_message_headers_get_one(headers, "Origin") : nullptr;
  return origin && !g_str_has_prefix(origin, "local:");
}

void respondFile(WebKitURISchemeRequest* request, const std::string& root, std::string_view path,
                 Readers readers) {
  UniqueFd file = openBelow(root, path);
  struct stat status {};
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) {
    respondMissing(request, std::strerror(errno));
    return;
  }
  gchar* name = g_uri_unescape_segment(path.data(), path.data() + path.size(), nullptr);
  const std::string type = mimeTypeOf(path.ends_with('/') ? "index.html" : name);
  g_free(name);
  GInputStream* body = g_unix_input_stream_new(file.release(), TRUE);
  respond(request, body, status.st_size, 200, type.c_str(), readers);
  g_object_unref(body);
}

void onRequest(WebKitURISchemeRequest* request, gpointer roots) {
  if (isForeign(request)) return respondMissing(request, "It is not for pages of other origins.");
  const std::string_view uri = webkit_uri_scheme_request_get_uri(request);
  respondFile(request, static_cast<const LocalRoots*>(roots)->of(uri), pathOf(uri),
              Readers::OwnOrigin);
}

void onLibraryRequest(WebKitURISchemeRequest* request, gpointer roots) {
  std::string_view name = webkit_uri_scheme_request_get_uri(request);
  name.remove_prefix(std::min(name.find(':') + 1, name.size()));
  name.remove_prefix(std::min(name.find_first_not_of('/'), name.size()));
  name = name.substr(0, name.find_first_of("?#"));
  const std::string& folder = static_cast<const LocalRoots*>(roots)->library;
  const bool isThere =
      std::find(libraryFiles.begin(), libraryFiles.end(), name) != libraryFiles.end();
  if (folder.empty() || !isThere) return respondMissing(request, "The library has no such file.");
  respondFile(request, folder, name, Readers::Everybody);
}

}  // namespace

std::string_view pathOf(std::string_view uri) {
  const auto scheme = uri.find("://");
  const auto begin = uri.find('/', scheme == std::string_view::npos ? 0 : scheme + 3);
  if (begin == std::string_view::npos) return "/";
  return uri.substr(begin, uri.find_first_of("?#", begin) - begin);
}

const std::string& LocalRoots::of(std::string_view uri) const {
  const auto scheme = uri.find("://");
  if (scheme == std::string_view::npos) return shared;
  const std::string_view rest = uri.substr(scheme + 3);
  const std::string_view host = rest.substr(0, rest.find_first_of("/?#"));
  return host == appHost && !app.empty() ? app : shared;
}

std::string mimeTypeOf(std::string_view name) {
  const auto dot = name.rfind('.');
  if (dot != std::string_view::npos) {
    gchar* ending =
        g_ascii_strdown(name.data() + dot + 1, static_cast<gssize>(name.size() - dot - 1));
    const char* known = nullptr;
    for (const auto& [suffix, type] : webTypes) {
      if (suffix == ending) known = type;
    }
    g_free(ending);
    if (known) return known;
  }
  const std::string text(name);
  gchar* content = g_content_type_guess(text.c_str(), nullptr, 0, nullptr);
  gchar* mime = g_content_type_get_mime_type(content);
  std::string result = mime ? mime : "application/octet-stream";
  g_free(mime);
  g_free(content);
  return result;
}

UniqueFd openBelow(const std::string& root, std::string_view encodedPath) {
  gchar* decoded =
      g_uri_unescape_segment(encodedPath.data(), encodedPath.data() + encodedPath.size(), nullptr);
  if (!decoded) {
    errno = EINVAL;
    return UniqueFd();
  }
  std::string path = decoded;
  g_free(decoded);
  if (path.ends_with('/')) path += "index.html";

  // The root is configured by the operator and may be a symbolic link; what is below it may not.
  UniqueFd at(::open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  std::size_t begin = 0;
  while (at.get() >= 0 && begin <= path.size()) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    const std::string step = path.substr(begin, end - begin);
    begin = end + 1;
    if (step.empty() || step == ".") continue;
    if (step == "..") {
      errno = EACCES;
      return UniqueFd();
    }
    at = UniqueFd(::openat(at.get(), step.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    if (at.get() >= 0 && ::fstat(at.get(), &status) == 0 && S_ISLNK(status.st_mode)) {
      errno = ELOOP;
      return UniqueFd();
    }
  }
  if (at.get() < 0) return at;
  struct stat status {};
  if (::fstat(at.get(), &status) != 0) return UniqueFd();
  if (!S_ISREG(status.st_mode)) {
    errno = S_ISDIR(status.st_mode) ? EISDIR : EACCES;
    return UniqueFd();
  }
  // Opened by way of the path descriptor, not by a name that may refer to another file by now.
  const std::string held = "/proc/self/fd/" + std::to_string(at.get());
  return UniqueFd(::open(held.c_str(), O_RDONLY | O_CLOEXEC));
}

void serveLocalScheme(WebKitWebContext* context, const LocalRoots& roots) {
  auto* const data = const_cast<LocalRoots*>(&roots);
  // Not as a local scheme in the engine's sense: as a plain one, modules, fetch, workers, storage
  // and relative addresses work between local files; registered as local, the first three do not.
  webkit_web_context_register_uri_scheme(context, "local", onRequest, data, nullptr);
  WebKitSecurityManager* const security = webkit_web_context_get_security_manager(context);
  // Not reachable by frames, scripts or links of other pages.
  webkit_security_manager_register_uri_scheme_as_display_isolated(security, "local");
  // Secure: also for chromes of encrypted sites.
  webkit_web_context_register_uri_scheme(context, "pagehost", onLibraryRequest, data, nullptr);
  webkit_security_manager_register_uri_scheme_as_cors_enabled(security, "pagehost");
  webkit_security_manager_register_uri_scheme_as_secure(security, "pagehost");
}

// The page list of the server, and its access checks. Any thread.
#include "platform/inspector_server/PageList.h"

#include <glib.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <array>
#include <charconv>

namespace Tessel::Platform {

namespace {

constexpr const char* pageHead =
    "<!doctype html><html lang='en'><head><meta charset='utf-8'><title>Pages to inspect</title>"
    "<meta name='viewport' content='width=device-width'>"
    "<meta name='color-scheme' content='light dark'><style>"
    "body{font:16px/1.5 sans-serif;margin:3em auto;max-width:46em;padding:0 1em}"
    "h1{font-size:1.5em}ul{list-style:none;padding:0}"
    "li{padding:.9em 0;border-top:1px solid #8885;overflow-wrap:anywhere}"
    "a,b{font-weight:600;font-size:1.1em}p{margin:.2em 0}small,.url{opacity:.7}"
    "code{font-size:.85em}</style></head><body><h1>Pages to inspect</h1>";

std::string validText(const std::string& text) {
  gchar* const valid = g_utf8_make_valid(text.data(), static_cast<gssize>(text.size()));
  std::string result(valid);
  g_free(valid);
  return result;
}

std::string markup(const std::string& text) {
  const std::string valid = validText(text);
  gchar* const escaped = g_markup_escape_text(valid.data(), static_cast<gssize>(valid.size()));
  std::string result(escaped);
  g_free(escaped);
  return result;
}

}  // namespace

std::string ServerAddresses::socketOf(unsigned int handle) const {
  return "ws://" + host + "/socket/" + token + "/" + std::to_string(handle);
}

std::string ServerAddresses::frontEndOf(unsigned int handle) const {
  return hasFrontEnd ? "http://" + host + "/inspect/" + std::to_string(handle) : std::string();
}

std::string pageListHtml(const std::vector<InspectablePage>& pages,
                         const ServerAddresses& addresses) {
  std::string html = pageHead;
  if (pages.empty()) html += "<p>There is no page that may be inspected.</p>";
  html += "<ul>";
  for (const InspectablePage& page : pages) {
    const std::string name =
        page.title.empty() ? "Page " + std::to_string(page.handle) : markup(page.title);
    const std::string frontEnd = addresses.frontEndOf(page.handle);
    html += "<li>";
    html += frontEnd.empty()
                ? "<b>" + name + "</b>"
                : "<a href='" + markup(frontEnd) + "' target='_blank'>" + name + "</a>";
    html += "<p class='url'>" + markup(page.url) + "</p><p><small>Web view " +
            std::to_string(page.handle) + " · <code>" + markup(addresses.socketOf(page.handle)) +
            "</code></small></p></li>";
  }
  html +=
      "</ul><p><small>For programs: <a href='/json'>this list as JSON</a></small></p>"
      "</body></html>";
  return html;
}

std::string pageListJson(const std::vector<InspectablePage>& pages,
                         const ServerAddresses& addresses) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  const auto member = [&writer](const char* key, const std::string& value) {
    writer.Key(key);
    writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
  };
  writer.StartArray();
  for (const InspectablePage& page : pages) {
    writer.StartObject();
    writer.Key("handle");
    writer.Uint(page.handle);
    member("title", validText(page.title));
    member("url", validText(page.url));
    member("socket", addresses.socketOf(page.handle));
    if (addresses.hasFrontEnd) member("frontEnd", addresses.frontEndOf(page.handle));
    writer.EndObject();
  }
  writer.EndArray();
  return {buffer.GetString(), buffer.GetSize()};
}

bool isLocalHost(std::string_view host) {
  constexpr std::array<std::string_view, 3> names{"127.0.0.1", "localhost", "[::1]"};
  return std::any_of(names.begin(), names.end(), [host](std::string_view name) {
    if (!host.starts_with(name)) return false;
    const std::string_view port = host.substr(name.size());
    if (port.empty()) return true;
    return port.size() > 1 && port.size() <= 6 && port.front() == ':' &&
           port.find_first_not_of("0123456789", 1) == std::string_view::npos;
  });
}

unsigned int handleFrom(std::string_view text) {
  unsigned int handle = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), handle);
  return error == std::errc() && end == text.data() + text.size() ? handle : 0;
}

SocketPath socketPathFrom(std::string_view path) {
  constexpr std::string_view prefix = "/socket/";
  if (!path.starts_with(prefix)) return {};
  path.remove_prefix(prefix.size());
  const std::size_t slash = path.find('/');
  if (slash == std::string_view::npos) return {};
  std::string_view handle = path.substr(slash + 1);
  if (handle.ends_with(frontEndKind)) handle.remove_suffix(frontEndKind.size());
  return {path.substr(0, slash), handleFrom(handle)};
}

}  // namespace Tessel::Platform

// Which documents of a page the program itself has loaded. Main thread.
#include "engine/TrustedLoads.h"

#include <glib.h>

#include <algorithm>
#include <string>
#include <utility>

using Tessel::Platform::String;

namespace {

constexpr auto parsing = static_cast<GUriFlags>(
    G_URI_FLAGS_HAS_PASSWORD | G_URI_FLAGS_ENCODED_PATH | G_URI_FLAGS_ENCODED_QUERY |
    G_URI_FLAGS_ENCODED_FRAGMENT | G_URI_FLAGS_SCHEME_NORMALIZE);

bool isOfWeb(std::string_view scheme) {
  return scheme == "http" || scheme == "https" || scheme == "ws" || scheme == "wss";
}

// The path of a file of this machine, encoded in one way only: an origin's text is read as an
// address again, and must not be another one then. Empty for what could lead anywhere else.
std::string filePath(GUri* uri) {
  const char* host = g_uri_get_host(uri);
  if (host && *host && g_ascii_strcasecmp(host, "localhost") != 0) return {};
  gchar* decoded = g_uri_unescape_string(g_uri_get_path(uri), nullptr);
  std::string path = decoded ? decoded : "";
  g_free(decoded);
  if (!path.starts_with('/') || (path + "/").find("/../") != std::string::npos) return {};
  gchar* const encoded =
      g_uri_escape_string(path.c_str(), "/" G_URI_RESERVED_CHARS_ALLOWED_IN_PATH_ELEMENT, TRUE);
  path = encoded;
  g_free(encoded);
  return path;
}

// Whether a host's name, decoded, is one and nothing else. The engine has taken all others apart.
bool isHost(std::string_view host) {
  return std::all_of(host.begin(), host.end(), [](char c) {
    const bool isAscii = static_cast<unsigned char>(c) < 0x80;
    return !isAscii || g_ascii_isalnum(c) ||
           std::string_view("-._~:").find(c) != std::string_view::npos;
  });
}

struct Address {
  std::string scheme;
  std::string place;  // host and port, or the path of a file
};

Address readAddress(std::string_view url) {
  const std::string text(url);
  GUri* uri = g_uri_parse(text.c_str(), parsing, nullptr);
  if (!uri) return {};
  Address address;
  const std::string scheme = g_uri_get_scheme(uri);
  const char* host = g_uri_get_host(uri);
  if (scheme == "file") {
    address = {scheme, filePath(uri)};
  } else if (isHost(host ? host : "") &&
             (scheme == "local" || (isOfWeb(scheme) && host && *host))) {
    address = {scheme, host ? host : ""};
    gchar* lower = g_ascii_strdown(address.place.c_str(), -1);
    address.place = lower;
    g_free(lower);
    if (address.place.find(':') != std::string::npos) address.place = "[" + address.place + "]";
    const int port = g_uri_get_port(uri);
    const bool usual =
        port <= 0 || (scheme == "http" && port == 80) || (scheme == "https" && port == 443);
    if (!usual) address.place += ":" + std::to_string(port);
  }
  g_uri_unref(uri);
  return address;
}

// The engine may take the secure form of an address that a server has asked for before. What
// stands behind # is no part of a request.
bool isSameRequest(const String& asked, const String& wanted) {
  const auto request = [](std::string_view url) { return url.substr(0, url.find('#')); };
  const std::string_view from = request(wanted.view());
  const std::string_view to = request(asked.view());
  if (from == to) return true;
  return from.starts_with("http://") && to.starts_with("https://") &&
         from.substr(7) == to.substr(8);
}

}  // namespace

Origin Origin::of(std::string_view url) {
  const Address address = readAddress(url);
  if (address.scheme.empty()) return {};
  if (address.scheme != "file") return Origin(String(address.scheme + "://" + address.place));
  if (address.place.empty()) return {};
  return Origin(String("file://" + address.place.substr(0, address.place.rfind('/') + 1)));
}

bool Origin::holds(std::string_view url) const {
  if (isNone()) return false;
  const Address address = readAddress(url);
  if (address.scheme != "file") return !address.scheme.empty() && of(url).text_ == text_;
  return ("file://" + address.place).starts_with(text_.view()) && !address.place.empty();
}

void TrustedLoads::expect(const String& url, bool isText) {
  expected_ = url;
  expectsText_ = isText;
  home_ = url;
}

void TrustedLoads::expectAgain(const String& url) {
  if (last_ && (isSameRequest(*last_, url) || isSameRequest(at_, url))) expected_ = url;
}

void TrustedLoads::substitute(const String& url) {
  substitute_ = url;
  if (last_) known_ = {Origin::of(last_->view()), Origin::of(at_.view())};
}

void TrustedLoads::started() {
  last_.reset();
  at_ = String();
  ended();
}

void TrustedLoads::ended() {
  loading_.reset();
  comes_.reset();
}

bool TrustedLoads::isOfProgram(const String& url) const {
  return std::any_of(known_.begin(), known_.end(),
                     [&](const Origin& origin) { return origin.holds(url.view()); });
}

bool TrustedLoads::isKnown(const String& url) const {
  return isOfProgram(url) || std::any_of(further_.begin(), further_.end(), [&](const Origin& each) {
           return each.holds(url.view());
         });
}

bool TrustedLoads::requested(const String& url) {
  ended();
  at_ = url;
  if (substitute_) {
    at_ = *std::exchange(substitute_, std::nullopt);
    return true;
  }
  if (expected_ && isSameRequest(url, *expected_)) {
    expected_.reset();
    loading_ = last_ = url;
    // Nothing answers before it is there.
    if (expectsText_) comes_ = true;
    return true;
  }
  return isKnown(url);
}

bool TrustedLoads::answered(const String& url) {
  at_ = url;
  comes_ = loading_ || isKnown(url);
  return *comes_;
}

void TrustedLoads::committed(const String& shown) {
  // While the program waits for another address, the engine already tells that one.
  const String url = at_.isEmpty() && !expected_ ? shown : at_;
  if (loading_) {
    known_ = {Origin::of(loading_->view()), Origin::of(url.view())};
    own_ = trusted_ = true;
  } else {
    own_ = isOfProgram(url);
    trusted_ = own_ || isKnown(url);
    if (!trusted_) known_.clear();
  }
  ended();
  address_ = url;
  origin_ = Origin::of(url.view()).text();
}

bool TrustedLoads::changesCaller() const {
  if (!comes_) return false;
  const bool isOwnNext = loading_ || isOfProgram(at_);
  return *comes_ != trusted_ || isOwnNext != own_ || Origin::of(at_.view()).text() != origin_;
}

bool TrustedLoads::admits(const String& url) const {
  const auto leadsTo = [&](const String& address) {
    return address == url || Origin::of(address.view()).holds(url.view());
  };
  return isKnown(url) || (trusted_ && url == address_) || (expected_ && leadsTo(*expected_)) ||
         (loading_ && (leadsTo(*loading_) || leadsTo(at_)));
}

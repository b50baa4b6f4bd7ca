// Resumes a download. Main thread.
#include "engine/webkit/network/ResumedDownload.h"

#include <algorithm>

using Tessel::Platform::String;

namespace {

// Progress is reported less often than data arrives.
constexpr gint64 betweenReports = 50 * G_TIME_SPAN_MILLISECOND;

}  // namespace

String validatorOf(SoupMessageHeaders* headers) {
  if (!headers || soup_message_headers_get_one(headers, "Content-Encoding")) return {};
  const char* tag = soup_message_headers_get_one(headers, "ETag");
  if (tag && *tag == '"') return String(tag);
  return String(soup_message_headers_get_one(headers, "Last-Modified"));
}

void ResumedDownload::start(const String& url, WebKitWebView* view) {
  offset_ = beginning_.part->size();
  SoupMessageHeaders* headers = soup_message_headers_new(SOUP_MESSAGE_HEADERS_REQUEST);
  // Without any byte there is nothing to resume, and a server may refuse such a range.
  if (offset_ > 0) {
    soup_message_headers_set_range(headers, static_cast<goffset>(offset_), -1);
    soup_message_headers_append(headers, "If-Range", beginning_.validator.utf8());
  }
  if (const char* agent = webkit_settings_get_user_agent(webkit_web_view_get_settings(view))) {
    soup_message_headers_append(headers, "User-Agent", agent);
  }
  ResourceRequest request;
  request.url = url;
  request.method = "GET";
  request.headers = headers;
  request.isDecoded = false;
  fetch_ = std::make_unique<ResourceFetch>(*this);
  fetch_->start(request, webkit_website_data_manager_get_cookie_manager(
                             webkit_web_view_get_website_data_manager(view)));
  soup_message_headers_unref(headers);
}

std::optional<std::uint64_t> ResumedDownload::placeOf(int status, SoupMessageHeaders* headers) {
  if (soup_message_headers_get_one(headers, "Content-Encoding")) return std::nullopt;
  if (status == SOUP_STATUS_OK) {
    beginning_.total = static_cast<std::uint64_t>(
        std::max<goffset>(0, soup_message_headers_get_content_length(headers)));
    return 0;
  }
  goffset first = 0;
  goffset last = 0;
  goffset length = -1;
  const bool isRest = status == SOUP_STATUS_PARTIAL_CONTENT && offset_ > 0 &&
                      soup_message_headers_get_content_range(headers, &first, &last, &length) &&
                      first == static_cast<goffset>(offset_);
  if (!isRest) return std::nullopt;
  beginning_.total = static_cast<std::uint64_t>(std::max<goffset>(0, length));
  return offset_;
}

void ResumedDownload::opened(int status, const String&, SoupMessageHeaders* headers) {
  const auto place = placeOf(status, headers);
  if (!place) return end(End::Refused);
  // The whole file may be another version of it.
  if (*place == 0) beginning_.validator = validatorOf(headers);
  isOpen_ = true;
  offset_ = *place;
  if (!beginning_.part->truncate(offset_)) end(End::DiskFails);
}

void ResumedDownload::received(std::string_view bytes) {
  if (!beginning_.part->writeAt(offset_, bytes)) return end(End::DiskFails);
  offset_ += bytes.size();
  const gint64 now = g_get_monotonic_time();
  if (now - lastReport_ < betweenReports) return;
  lastReport_ = now;
  client_.progressed(number_, offset_);
}

void ResumedDownload::done() {
  if (beginning_.total > 0 && offset_ != beginning_.total) return end(End::Broken);
  end(End::Complete);
}

void ResumedDownload::failed(const char*) {
  // Before a response the engine may do better: it has the user's certificates and log-ins.
  end(isOpen_ ? End::Broken : End::Refused);
}

void ResumedDownload::end(End end) {
  client_.ended(number_, end);
}

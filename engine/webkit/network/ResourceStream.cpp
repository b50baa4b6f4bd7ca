// The content of one resource of a page.
#include "engine/webkit/network/ResourceStream.h"

#include <fcntl.h>
#include <gio/gunixinputstream.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

using Tessel::Platform::String;
using Tessel::Platform::UniqueFd;

ResourceStream::ResourceStream()
    : headers_(soup_message_headers_new(SOUP_MESSAGE_HEADERS_RESPONSE)) {}

ResourceStream::~ResourceStream() {
  if (!over_) fail("The page has gone.");
}

void ResourceStream::answer(WebKitURISchemeRequest* request) {
  request_.reset(WEBKIT_URI_SCHEME_REQUEST(g_object_ref(request)));
  if (over_) {
    over_ = false;
    return fail("There is nothing to load.");
  }
  if (collected_) {
    if (complete_) finish();
  } else if (complete_ || !waiting_.empty()) {
    begin();
  }
}

void ResourceStream::open(int status, const String& message) {
  status_ = status;
  message_ = message;
}

void ResourceStream::addHeader(const String& name, const String& value) {
  // Headers about the bytes on the wire do not apply to the decoded ones.
  constexpr std::array transport{"Content-Length", "Content-Encoding", "Transfer-Encoding"};
  const bool isTransport = std::any_of(transport.begin(), transport.end(), [&](const char* header) {
    return g_ascii_strcasecmp(header, name.utf8()) == 0;
  });
  if (!isTransport && !name.isEmpty()) {
    soup_message_headers_append(headers_.get(), name.utf8(), value.utf8());
  }
}

void ResourceStream::write(std::string_view bytes) {
  if (over_ || complete_ || bytes.empty()) return;
  if (waiting_.size() + bytes.size() > mostWaiting) return fail("The resource is too large.");
  waiting_.append(bytes);
  if (collected_) return;
  if (pipe_) {
    flush();
  } else if (request_) {
    begin();
  }
}

void ResourceStream::finish() {
  if (over_) return;
  complete_ = true;
  if (collected_) {
    // The load that waits for it must exist first.
    over_ = request_ != nullptr;
    if (request_) endRequest("The document comes by another way.");
  } else if (pipe_) {
    flush();
  } else if (request_) {
    begin();
  }
}

void ResourceStream::fail(const char* reason) {
  if (over_) return;
  over_ = true;
  failed_ = true;
  complete_ = true;
  if (request_ && !pipe_) endRequest(reason);
  // A response that has begun ends here: the engine takes it for complete.
  source_.stop();
  pipe_.reset();
  waiting_.clear();
}

String ResourceStream::mimeType() const {
  return String(soup_message_headers_get_content_type(headers_.get(), nullptr));
}

String ResourceStream::charset() const {
  GHashTable* parameters = nullptr;
  if (!soup_message_headers_get_content_type(headers_.get(), &parameters)) return {};
  String charset(static_cast<const char*>(g_hash_table_lookup(parameters, "charset")));
  g_hash_table_unref(parameters);
  return charset;
}

void ResourceStream::endRequest(const char* reason) {
  GError* error = g_error_new_literal(WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_FAILED, reason);
  webkit_uri_scheme_request_finish_error(request_.get(), error);
  g_error_free(error);
}

// Status and headers are complete: gives the engine its response.
void ResourceStream::begin() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) return fail("There is no pipe for the resource.");
  pipe_ = UniqueFd(ends[1]);
  ::fcntl(pipe_.get(), F_SETFL, O_NONBLOCK);
  const ObjectPointer<GInputStream> content(g_unix_input_stream_new(ends[0], TRUE));
  const ObjectPointer<WebKitURISchemeResponse> response(
      webkit_uri_scheme_response_new(content.get(), -1));
  webkit_uri_scheme_response_set_status(response.get(), static_cast<guint>(status_),
                                        message_.isEmpty() ? nullptr : message_.utf8());
  if (const char* type = soup_message_headers_get_one(headers_.get(), "Content-Type")) {
    webkit_uri_scheme_response_set_content_type(response.get(), type);
  }
  webkit_uri_scheme_response_set_http_headers(response.get(),
                                              soup_message_headers_ref(headers_.get()));
  webkit_uri_scheme_request_finish_with_response(request_.get(), response.get());
  flush();
}

void ResourceStream::flush() {
  while (!waiting_.empty()) {
    const ssize_t count = ::write(pipe_.get(), waiting_.data(), waiting_.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) {
      if (!source_) source_.watch(pipe_.get(), POLLOUT, [this](short) { flush(); });
      return;
    }
    // The reader has gone.
    if (count < 0) return fail("The page has gone.");
    waiting_.erase(0, static_cast<std::size_t>(count));
  }
  source_.stop();
  if (!complete_) return;
  over_ = true;
  pipe_.reset();
}

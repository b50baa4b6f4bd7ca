// The content of one resource of a page, on its way from the chrome or from a server that the
// program asks itself. Main thread.
#pragma once

#include "engine/webkit/base/ObjectPointer.h"
#include "platform/base/FdSource.h"
#include "platform/base/String.h"
#include "platform/base/UniqueFd.h"

#include <libsoup/soup.h>
#include <webkit2/webkit2.h>

#include <memory>
#include <string>
#include <string_view>

struct FreeHeaders {
  void operator()(SoupMessageHeaders* headers) const { soup_message_headers_unref(headers); }
};
using HeadersPointer = std::unique_ptr<SoupMessageHeaders, FreeHeaders>;

// Content that arrives before the engine's request for it is kept until then.
class ResourceStream {
 public:
  using String = Tessel::Platform::String;
  // The limit of unread bytes; a stream that would exceed it ends with an error.
  static constexpr std::size_t mostWaiting = std::size_t{64} << 20;

  ResourceStream();
  ~ResourceStream();
  ResourceStream(const ResourceStream&) = delete;
  ResourceStream& operator=(const ResourceStream&) = delete;

  // The engine's request for it. From the first bytes on the engine reads the content as it
  // arrives.
  void answer(WebKitURISchemeRequest* request);
  // Collects the content here instead: the engine's request fails once it is complete.
  void collect() { collected_ = true; }

  void open(int status, const String& message);
  void addHeader(const String& name, const String& value);
  void write(std::string_view bytes);
  void finish();
  // The page is told that the resource could not be loaded. Nothing comes after it.
  void fail(const char* reason);

  bool isRequested() const { return request_ != nullptr; }
  bool isOver() const { return over_; }
  bool hasFailed() const { return failed_; }
  std::size_t waiting() const { return waiting_.size(); }
  const std::string& content() const { return waiting_; }
  // From the headers; empty if absent.
  String mimeType() const;
  String charset() const;

 private:
  void begin();
  void endRequest(const char* reason);
  void flush();

  ObjectPointer<WebKitURISchemeRequest> request_;
  HeadersPointer headers_;
  String message_;
  int status_ = SOUP_STATUS_OK;
  std::string waiting_;
  Tessel::Platform::UniqueFd pipe_;    // to the engine, once that has been given an answer
  Tessel::Platform::FdSource source_;  // while the pipe is full
  bool complete_ = false;              // nothing will be added
  bool collected_ = false;
  bool failed_ = false;
  bool over_ = false;  // everything is delivered, or has failed
};

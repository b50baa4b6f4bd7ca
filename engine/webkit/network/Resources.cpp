// The resources of pages that the chrome is asked about.
#include "engine/webkit/network/Resources.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/link/Frame.h"
#include "engine/webkit/network/ResourceFetch.h"
#include "platform/base/Log.h"
#include "platform/base/RandomKey.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

using link_protocol::ResourceVerdict;
using Tessel::Platform::logAlways;
using Tessel::Platform::LogNotice;
using Tessel::Platform::String;

namespace {

constexpr const char* scheme = "pagehost-resource";
// The limit of streams per process; further requests are denied.
constexpr std::size_t mostStreams = 512;
// The timeout of a stream that is not begun or not read.
constexpr gint64 patience = 30 * G_TIME_SPAN_SECOND;
constexpr guint tickSeconds = 5;
// A fetch pauses while the page has so many unread bytes.
constexpr std::size_t enoughWaiting = std::size_t{1} << 20;

constexpr std::pair<const char*, OrvWebTargetType> targets[] = {
    {"audio", OrvWebTargetType::TargetIsMedia},
    {"document", OrvWebTargetType::TargetIsMainFrame},
    {"embed", OrvWebTargetType::TargetIsObject},
    {"empty", OrvWebTargetType::TargetIsXMLHTTPRequest},
    {"font", OrvWebTargetType::TargetIsFontResource},
    {"frame", OrvWebTargetType::TargetIsSubframe},
    {"iframe", OrvWebTargetType::TargetIsSubframe},
    {"image", OrvWebTargetType::TargetIsImage},
    {"object", OrvWebTargetType::TargetIsObject},
    {"script", OrvWebTargetType::TargetIsScript},
    {"serviceworker", OrvWebTargetType::TargetIsWorker},
    {"sharedworker", OrvWebTargetType::TargetIsSharedWorker},
    {"style", OrvWebTargetType::TargetIsStyleSheet},
    {"track", OrvWebTargetType::TargetIsMedia},
    {"video", OrvWebTargetType::TargetIsMedia},
    {"worker", OrvWebTargetType::TargetIsWorker},
};

OrvWebTargetType targetOf(const String& destination) {
  for (const auto& [name, target] : targets) {
    if (destination == String(name)) return target;
  }
  return destination.isEmpty() ? OrvWebTargetType::TargetIsUnknown
                               : OrvWebTargetType::TargetIsSubresource;
}

// A key that no page can guess.
std::string newKey() {
  std::array<std::uint64_t, 2> key{};
  std::string text;
  for (std::uint64_t& half : key) {
    // Without random bits no request can match.
    if (!Tessel::Platform::randomKey(&half)) return "?";
    text += std::to_string(half) + "-";
  }
  return text;
}

// False, and nothing is changed, when the content is not in that character set, UTF-8 for none.
bool toUtf8(String& content, const String& charset) {
  const bool isUtf8 = charset.isEmpty() || g_ascii_strcasecmp(charset.utf8(), "utf-8") == 0;
  const auto length = static_cast<gssize>(content.length());
  if (isUtf8) return g_utf8_validate(content.utf8(), length, nullptr) != FALSE;
  gchar* text =
      g_convert(content.utf8(), length, "UTF-8", charset.utf8(), nullptr, nullptr, nullptr);
  if (text) content = String(text);
  g_free(text);
  return text != nullptr;
}

// An answer clears the fields that it does not name, so an empty field means unchanged.
const String& orElse(const String& answer, const String& original) {
  return answer.isEmpty() ? original : answer;
}

String encoded(ResourceVerdict verdict, const String& referrer = {}, const String& address = {}) {
  return String(link_protocol::encode(link_protocol::ResourceDecision{verdict, address, referrer}));
}

}  // namespace

// One stream, and for a filtered one the load that feeds it.
class Resources::Entry final : public ResourceFetchClient,
                               public std::enable_shared_from_this<Entry> {
 public:
  Entry(unsigned int number, std::weak_ptr<PageContext> page, String url)
      : number_(number), page_(std::move(page)), url_(std::move(url)) {}

  ResourceStream& stream() { return stream_; }
  const std::string& key() const { return key_; }
  std::string address() const {
    return std::string(scheme) + "://" + std::to_string(number_) + "/" + key_;
  }
  void setFiltered() { filtered_ = true; }

  // The page makes the request for it.
  void answer(WebKitURISchemeRequest* request) {
    stream_.answer(request);
    lastMove_ = g_get_monotonic_time();
    if (!filtered_ || stream_.isOver()) return;
    SoupMessageHeaders* headers = webkit_uri_scheme_request_get_http_headers(request);
    const ObjectPointer<GInputStream> body(webkit_uri_scheme_request_get_http_body(request));
    fetch({url_, String(webkit_uri_scheme_request_get_http_method(request)), headers, body.get()});
  }
  // It is the page's document. The engine would show the stream's address as the document's: so its
  // request fails once the content is complete, which is then loaded under its own address.
  void becomeDocument() { stream_.collect(); }
  DocumentEnd documentEnd() const {
    if (stream_.hasFailed()) return {DocumentEnd::Kind::Failed, url_, {}, {}, {}, false};
    if (!stream_.isOver()) return {};
    DocumentEnd end{DocumentEnd::Kind::Ready,
                    url_,
                    String(std::string_view(stream_.content())),
                    stream_.mimeType(),
                    stream_.charset(),
                    false};
    end.isHtml = end.mimeType == String("text/html") && toUtf8(end.content, end.charset);
    return end;
  }
  void take(const ResourceStep& step);
  // The stream has timed out, or its page is gone.
  bool isForgotten() const {
    const bool waits = !fetch_ && g_get_monotonic_time() - lastMove_ > patience;
    return stream_.isOver() || page_.expired() || waits;
  }

 private:
  void fetch(const ResourceRequest& request) {
    const auto page = page_.lock();
    WebKitWebView* view = page ? page->view() : nullptr;
    if (!view) return stream_.fail("The page has gone.");
    fetch_ = std::make_unique<ResourceFetch>(*this);
    fetch_->start(request, webkit_website_data_manager_get_cookie_manager(
                               webkit_web_view_get_website_data_manager(view)));
  }
  // True unless the chrome prevents it; the caller holds the entry.
  template <typename Event>
  bool passes(Event& event) {
    event.streamId = number_;
    if (const auto page = page_.lock()) page->raise(event);
    return !event.isPreventDefault();
  }
  void opened(int status, const String& message, SoupMessageHeaders* headers) override;
  void received(std::string_view bytes) override;
  void done() override;
  void failed(const char* reason) override;
  bool takesMore() const override {
    return stream_.waiting() < enoughWaiting || !stream_.isRequested();
  }

  const unsigned int number_;
  const std::string key_ = newKey();
  std::weak_ptr<PageContext> page_;
  const String url_;
  ResourceStream stream_;
  std::unique_ptr<ResourceFetch> fetch_;
  bool filtered_ = false;
  gint64 lastMove_ = g_get_monotonic_time();
};

void Resources::Entry::take(const ResourceStep& step) {
  lastMove_ = g_get_monotonic_time();
  switch (step.kind) {
    case ResourceStep::Kind::Open:
      return stream_.open(step.status, step.name);
    case ResourceStep::Kind::Header:
      return stream_.addHeader(step.name, step.value);
    case ResourceStep::Kind::Data:
      return stream_.write({step.value.utf8(), step.value.length()});
    case ResourceStep::Kind::Done:
      return stream_.finish();
  }
}

// While the chrome handles the events, finished streams may be removed.
void Resources::Entry::opened(int status, const String& message, SoupMessageHeaders* headers) {
  const auto self = shared_from_this();
  OrvWebNetworkResourceOpenedEvent event;
  event.status = status;
  event.message = message;
  if (passes(event)) stream_.open(event.status(), orElse(event.message(), message));
  SoupMessageHeadersIter iterator;
  soup_message_headers_iter_init(&iterator, headers);
  const char* name = nullptr;
  const char* value = nullptr;
  while (soup_message_headers_iter_next(&iterator, &name, &value)) {
    OrvWebNetworkResourceHeaderReceivedEvent header;
    header.key = String(name);
    header.value = String(value);
    if (passes(header)) {
      stream_.addHeader(orElse(header.key(), String(name)), orElse(header.value(), String(value)));
    }
  }
}

void Resources::Entry::received(std::string_view bytes) {
  const auto self = shared_from_this();
  // The text in the event ends with a zero byte.
  const std::string text(bytes);
  OrvWebNetworkResourceDataReceivedEvent event;
  event.data = text.c_str();
  event.length = static_cast<unsigned int>(text.size());
  if (passes(event)) stream_.write(bytes);
}

void Resources::Entry::done() {
  const auto self = shared_from_this();
  lastMove_ = g_get_monotonic_time();
  OrvWebNetworkResourceDoneEvent event;
  if (passes(event)) stream_.finish();
}

void Resources::Entry::failed(const char* reason) {
  logAlways(LogNotice, "%s could not be loaded for the chrome to filter: %s", url_.utf8(), reason);
  stream_.fail(reason);
}

Resources::Resources() = default;

Resources::~Resources() {
  if (tick_ != 0) g_source_remove(tick_);
}

void Resources::serve(WebKitWebContext* context) {
  webkit_web_context_register_uri_scheme(context, scheme, onRequest, this, nullptr);
  WebKitSecurityManager* security = webkit_web_context_get_security_manager(context);
  webkit_security_manager_register_uri_scheme_as_cors_enabled(security, scheme);
  webkit_security_manager_register_uri_scheme_as_secure(security, scheme);
}

void Resources::onRequest(WebKitURISchemeRequest* request, gpointer data) {
  auto* self = static_cast<Resources*>(data);
  const std::string url = webkit_uri_scheme_request_get_uri(request);
  for (const auto& [number, entry] : self->entries_) {
    // The key keeps pages from reading each other's resources.
    if (entry->address() != url || entry->stream().isRequested()) continue;
    return std::shared_ptr(entry)->answer(request);
  }
  GError* error = g_error_new_literal(
      WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_FILE_DOES_NOT_EXIST, "There is no such resource.");
  webkit_uri_scheme_request_finish_error(request, error);
  g_error_free(error);
}

String Resources::decide(const std::shared_ptr<PageContext>& page,
                         const ResourceQuestion& question) {
  sweep();
  if (entries_.size() >= mostStreams) {
    logAlways(LogNotice, "%s is denied: too many pending resources.", question.url.utf8());
    return encoded(ResourceVerdict::Deny);
  }
  const unsigned int number = ++lastNumber_;
  OrvWebNetworkResourceRequestedEvent event;
  event.url = question.url;
  event.referrer = question.referrer;
  event.securityOrigin = question.origin;
  event.streamId = number;
  event.targetType = targetOf(question.destination);
  // Added before the event: the chrome may provide the resource inside its handler.
  const auto entry = std::make_shared<Entry>(number, page, question.url);
  entries_.emplace(number, entry);
  page->raise(event);
  const OrvWebResourceAction action = event.action();
  const String referrer = orElse(event.referrer(), question.referrer);
  const bool isDocument = event.targetType() == OrvWebTargetType::TargetIsMainFrame;
  const bool isTaken =
      action == OrvWebResourceAction::SUBSTITUTE || action == OrvWebResourceAction::FILTER;
  if (action == OrvWebResourceAction::DENY || event.isPreventDefault()) {
    entries_.erase(number);
    return encoded(ResourceVerdict::Deny);
  }
  if (!isTaken) {
    entries_.erase(number);
    return encoded(ResourceVerdict::Accept, referrer);
  }
  if (tick_ == 0) tick_ = g_timeout_add_seconds(tickSeconds, onTick, this);
  if (action == OrvWebResourceAction::FILTER) entry->setFiltered();
  if (isDocument) entry->becomeDocument();
  return encoded(ResourceVerdict::Redirect, referrer, String(entry->address()));
}

bool Resources::isStream(const char* url) {
  return url && g_str_has_prefix(url, scheme);
}

Resources::DocumentEnd Resources::takeDocument(const char* streamUrl) {
  const auto found = std::find_if(entries_.begin(), entries_.end(), [&](const auto& entry) {
    return entry.second->address() == streamUrl;
  });
  if (found == entries_.end()) return {};
  DocumentEnd end = found->second->documentEnd();
  entries_.erase(found);
  return end;
}

void Resources::step(unsigned int number, const ResourceStep& step) {
  const auto found = entries_.find(number);
  if (found == entries_.end()) return;
  const std::shared_ptr<Entry> entry = found->second;
  entry->take(step);
}

void Resources::sweep() {
  std::erase_if(entries_, [](const auto& entry) { return entry.second->isForgotten(); });
}

gboolean Resources::onTick(gpointer data) {
  auto* self = static_cast<Resources*>(data);
  self->sweep();
  if (!self->entries_.empty()) return G_SOURCE_CONTINUE;
  self->tick_ = 0;
  return G_SOURCE_REMOVE;
}

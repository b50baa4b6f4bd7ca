// Loads a resource instead of the engine.
#include "engine/webkit/network/ResourceFetch.h"

#include <algorithm>
#include <array>

using Tessel::Platform::String;

namespace {

constexpr gsize chunkSize = gsize{64} << 10;
constexpr gsize mostBody = gsize{64} << 20;
constexpr guint secondsOfSilence = 30;  // the read timeout of a load
constexpr guint pauseMilliseconds = 5;

SoupSession* session() {
  static SoupSession* const instance =
      soup_session_new_with_options("timeout", secondsOfSilence, "max-conns-per-host", 6, nullptr);
  return instance;
}

// Headers that belong to a connection or that the session sets itself.
bool isOwnHeader(const char* name) {
  constexpr std::array own{"Host", "Connection", "Content-Length", "Accept-Encoding", "Cookie"};
  return std::any_of(own.begin(), own.end(),
                     [&](const char* header) { return g_ascii_strcasecmp(header, name) == 0; });
}

}  // namespace

ResourceFetch::~ResourceFetch() {
  *handle_ = nullptr;
  g_cancellable_cancel(cancellable_.get());
  if (pause_ != 0) g_source_remove(pause_);
}

// Calls finish with the fetch, unless that is gone.
template <typename Finish>
void ResourceFetch::whenReady(GAsyncResult* result, gpointer data, Finish finish) {
  const std::unique_ptr<Handle> handle(static_cast<Handle*>(data));
  if (ResourceFetch* self = **handle) finish(*self, result);
}

void ResourceFetch::start(const ResourceRequest& request, WebKitCookieManager* cookies) {
  message_.reset(soup_message_new(request.method.utf8(), request.url.utf8()));
  if (!message_) {
    // Not inside this call.
    pause_ = g_idle_add(
        [](gpointer data) -> gboolean {
          auto* self = static_cast<ResourceFetch*>(data);
          self->pause_ = 0;
          self->client_.failed("This address cannot be loaded.");
          return G_SOURCE_REMOVE;
        },
        this);
    return;
  }
  if (!request.isDecoded) {
    soup_message_disable_feature(message_.get(), SOUP_TYPE_CONTENT_DECODER);
  }
  cookies_.reset(WEBKIT_COOKIE_MANAGER(g_object_ref(cookies)));
  if (request.headers) {
    soup_message_headers_foreach(
        request.headers,
        [](const char* name, const char* value, gpointer message) {
          if (isOwnHeader(name)) return;
          soup_message_headers_append(
              soup_message_get_request_headers(static_cast<SoupMessage*>(message)), name, value);
        },
        message_.get());
  }
  if (request.body) {
    readBody(request.body);
  } else {
    addCookies();
  }
}

void ResourceFetch::readBody(GInputStream* body) {
  const ObjectPointer<GOutputStream> memory(g_memory_output_stream_new_resizable());
  g_output_stream_splice_async(
      memory.get(), body,
      static_cast<GOutputStreamSpliceFlags>(G_OUTPUT_STREAM_SPLICE_CLOSE_TARGET),
      G_PRIORITY_DEFAULT, cancellable_.get(),
      [](GObject* stream, GAsyncResult* result, gpointer data) {
        whenReady(result, data, [&](ResourceFetch& self, GAsyncResult* ready) {
          GError* error = nullptr;
          g_output_stream_splice_finish(G_OUTPUT_STREAM(stream), ready, &error);
          if (error) return self.fail(error);
          GBytes* bytes = g_memory_output_stream_steal_as_bytes(G_MEMORY_OUTPUT_STREAM(stream));
          const bool fits = g_bytes_get_size(bytes) <= mostBody;
          // The type is among the headers already.
          if (fits) soup_message_set_request_body_from_bytes(self.message_.get(), nullptr, bytes);
          g_bytes_unref(bytes);
          if (!fits)
            return self.client_.failed("What the page sends is too large to be looked at.");
          self.addCookies();
        });
      },
      new Handle(handle_));
}

void ResourceFetch::addCookies() {
  gchar* url = g_uri_to_string(soup_message_get_uri(message_.get()));
  webkit_cookie_manager_get_cookies(
      cookies_.get(), url, cancellable_.get(),
      [](GObject* manager, GAsyncResult* result, gpointer data) {
        whenReady(result, data, [&](ResourceFetch& self, GAsyncResult* ready) {
          GList* list = webkit_cookie_manager_get_cookies_finish(WEBKIT_COOKIE_MANAGER(manager),
                                                                 ready, nullptr);
          std::string header;
          for (GList* entry = list; entry; entry = entry->next) {
            auto* cookie = static_cast<SoupCookie*>(entry->data);
            gchar* text = soup_cookie_to_cookie_header(cookie);
            header.append(header.empty() ? "" : "; ").append(text);
            g_free(text);
          }
          g_list_free_full(
              list, [](gpointer cookie) { soup_cookie_free(static_cast<SoupCookie*>(cookie)); });
          if (!header.empty()) {
            soup_message_headers_replace(soup_message_get_request_headers(self.message_.get()),
                                         "Cookie", header.c_str());
          }
          self.send();
        });
      },
      new Handle(handle_));
  g_free(url);
}

void ResourceFetch::send() {
  soup_session_send_async(
      session(), message_.get(), G_PRIORITY_DEFAULT, cancellable_.get(),
      [](GObject* sender, GAsyncResult* result, gpointer data) {
        whenReady(result, data, [&](ResourceFetch& self, GAsyncResult* ready) {
          GError* error = nullptr;
          self.content_.reset(soup_session_send_finish(SOUP_SESSION(sender), ready, &error));
          if (!self.content_) return self.fail(error);
          self.onResponse();
        });
      },
      new Handle(handle_));
}

void ResourceFetch::onResponse() {
  takeCookies();
  const Handle handle = handle_;
  client_.opened(static_cast<int>(soup_message_get_status(message_.get())),
                 String(soup_message_get_reason_phrase(message_.get())),
                 soup_message_get_response_headers(message_.get()));
  if (*handle) readOn();
}

void ResourceFetch::takeCookies() {
  GSList* list = soup_cookies_from_response(message_.get());
  for (GSList* entry = list; entry; entry = entry->next) {
    webkit_cookie_manager_add_cookie(cookies_.get(), static_cast<SoupCookie*>(entry->data), nullptr,
                                     nullptr, nullptr);
  }
  g_slist_free_full(list,
                    [](gpointer cookie) { soup_cookie_free(static_cast<SoupCookie*>(cookie)); });
}

void ResourceFetch::readOn() {
  if (!client_.takesMore()) {
    pause_ = g_timeout_add(
        pauseMilliseconds,
        [](gpointer data) -> gboolean {
          auto* self = static_cast<ResourceFetch*>(data);
          self->pause_ = 0;
          self->readOn();
          return G_SOURCE_REMOVE;
        },
        this);
    return;
  }
  g_input_stream_read_bytes_async(
      content_.get(), chunkSize, G_PRIORITY_DEFAULT, cancellable_.get(),
      [](GObject* stream, GAsyncResult* result, gpointer data) {
        whenReady(result, data, [&](ResourceFetch& self, GAsyncResult* ready) {
          GError* error = nullptr;
          GBytes* bytes = g_input_stream_read_bytes_finish(G_INPUT_STREAM(stream), ready, &error);
          if (!bytes) return self.fail(error);
          gsize size = 0;
          const auto* content = static_cast<const char*>(g_bytes_get_data(bytes, &size));
          const Handle handle = self.handle_;
          if (size == 0) {
            // The session reuses the connection for the next fetch only when this is
            // released.
            self.content_.reset();
            self.client_.done();
          } else {
            self.client_.received({content, size});
            if (*handle) self.readOn();
          }
          g_bytes_unref(bytes);
        });
      },
      new Handle(handle_));
}

void ResourceFetch::fail(GError* error) {
  const std::string reason = error ? error->message : "The load failed.";
  g_clear_error(&error);
  client_.failed(reason.c_str());
}

// Loads a resource instead of the engine, so that the chrome can filter it on its way to the page.
// Main thread.
#pragma once

#include "engine/webkit/base/ObjectPointer.h"
#include "platform/base/String.h"

#include <libsoup/soup.h>
#include <webkit2/webkit2.h>

#include <memory>
#include <string>
#include <string_view>

// The client of a fetch. Each of these may destroy the fetch.
class ResourceFetchClient {
 public:
  virtual ~ResourceFetchClient() = default;
  virtual void opened(int status, const Tessel::Platform::String& message,
                      SoupMessageHeaders* headers) = 0;
  virtual void received(std::string_view bytes) = 0;
  virtual void done() = 0;
  virtual void failed(const char* reason) = 0;
  // Whether it accepts more data now; if not, it is asked again a moment later.
  virtual bool takesMore() const = 0;
};

struct ResourceRequest {
  Tessel::Platform::String url;
  Tessel::Platform::String method;
  SoupMessageHeaders* headers = nullptr;  // none for null; only read
  GInputStream* body = nullptr;           // none for null; read to its end
  bool isDecoded = true;                  // else only the identity encoding is accepted
};

// One load, which goes on until it is done or this is destroyed. Cookies are those of the engine's
// session, both ways; redirections are followed. The client is not called inside start().
class ResourceFetch {
 public:
  explicit ResourceFetch(ResourceFetchClient& client) : client_(client) {}
  ~ResourceFetch();
  ResourceFetch(const ResourceFetch&) = delete;
  ResourceFetch& operator=(const ResourceFetch&) = delete;

  void start(const ResourceRequest& request, WebKitCookieManager* cookies);

 private:
  // Shared with callbacks: null once the fetch is destroyed.
  using Handle = std::shared_ptr<ResourceFetch*>;
  template <typename Finish>
  static void whenReady(GAsyncResult* result, gpointer handle, Finish finish);

  void readBody(GInputStream* body);
  void addCookies();
  void send();
  void onResponse();
  void takeCookies();
  void readOn();
  void fail(GError* error);

  ResourceFetchClient& client_;
  Handle handle_ = std::make_shared<ResourceFetch*>(this);
  ObjectPointer<GCancellable> cancellable_{g_cancellable_new()};
  ObjectPointer<SoupMessage> message_;
  ObjectPointer<GInputStream> content_;
  ObjectPointer<WebKitCookieManager> cookies_;
  guint pause_ = 0;
};

// The cookies of the engine's persistent session as a jar that is shared with other processes. The
// engine only reports that something has changed; the change is found by comparing with the
// previous list. Main thread.
#pragma once

#include "engine/CookieJar.h"
#include "engine/webkit/base/ObjectPointer.h"

#include <webkit2/webkit2.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

// As it crosses processes.
struct SharedCookie {
  Tessel::Platform::String name;
  Tessel::Platform::String value;
  Tessel::Platform::String domain;  // with a point in front if it is for subdomains as well
  Tessel::Platform::String path;
  std::int64_t expires = 0;  // seconds since 1970; 0: with the session
  bool secure = false;
  bool httpOnly = false;
  int sameSite = 0;  // SoupSameSitePolicy

  friend bool operator==(const SharedCookie&, const SharedCookie&) = default;
};

class SharedCookies final : public CookieJar {
 public:
  // Keeps the manager as long as it lives.
  explicit SharedCookies(WebKitCookieManager* manager);
  ~SharedCookies() override;
  SharedCookies(const SharedCookies&) = delete;
  SharedCookies& operator=(const SharedCookies&) = delete;

  void onChanged(Tell tell) override;
  bool apply(const Tessel::Platform::String& changes) override;
  void tellAll(const Tell& tell) const override;

 private:
  // Domain, path and name: there is one cookie of each.
  using Key = std::tuple<std::string, std::string, std::string>;
  using Cookies = std::map<Key, SharedCookie>;

  static Key keyOf(const SharedCookie& cookie);
  void lookSoon();
  void look();
  void compare(Cookies now);
  void put(const SharedCookie& cookie, bool keep);
  template <auto Finish>
  static void onPut(GObject* manager, GAsyncResult* result, gpointer self);

  ObjectPointer<WebKitCookieManager> manager_;
  ObjectPointer<GCancellable> cancellable_;
  gulong changed_ = 0;
  Tell tell_;
  Cookies known_;
  // Changes that come from other processes are not sent back to them.
  std::set<Key> applied_;
  unsigned int timer_ = 0;
  int putting_ = 0;       // cookies that the engine has not stored yet
  bool looking_ = false;  // waits for the engine's list
  bool lookAgain_ = false;
};

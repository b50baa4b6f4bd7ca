// The engine's cookies as a jar that other processes share. Main thread.
#include "engine/webkit/network/SharedCookies.h"

#include "engine/FieldLists.h"
#include "engine/RecordJson.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <string_view>
#include <utility>

using Tessel::Platform::String;

namespace {

// Several changes in a row are reported once.
constexpr guint pauseBeforeLook = 20;  // milliseconds

// A cookie has some 4 KiB, so that the text stays far below its bound.
constexpr std::size_t mostInOneText = 64;
constexpr std::size_t longestText = 1u << 20;

struct Changes {
  std::vector<SharedCookie> set;
  std::vector<SharedCookie> removed;

  std::size_t size() const { return set.size() + removed.size(); }
};

}  // namespace

template <>
struct fields::FieldsOf<SharedCookie> {
  static constexpr std::tuple list{
      member("name", &SharedCookie::name),         member("value", &SharedCookie::value),
      member("domain", &SharedCookie::domain),     member("path", &SharedCookie::path),
      member("expires", &SharedCookie::expires),   member("secure", &SharedCookie::secure),
      member("httpOnly", &SharedCookie::httpOnly), member("sameSite", &SharedCookie::sameSite)};
};
template <>
struct fields::FieldsOf<Changes> {
  static constexpr std::tuple list{member("set", &Changes::set),
                                   member("removed", &Changes::removed)};
};

namespace {

using CookiePointer = std::unique_ptr<SoupCookie, decltype(&soup_cookie_free)>;

SharedCookie cookieOf(SoupCookie* cookie) {
  SharedCookie shared;
  shared.name = soup_cookie_get_name(cookie);
  shared.value = soup_cookie_get_value(cookie);
  shared.domain = soup_cookie_get_domain(cookie);
  shared.path = soup_cookie_get_path(cookie);
  if (GDateTime* expires = soup_cookie_get_expires(cookie)) {
    shared.expires = g_date_time_to_unix(expires);
  }
  shared.secure = soup_cookie_get_secure(cookie) != FALSE;
  shared.httpOnly = soup_cookie_get_http_only(cookie) != FALSE;
  shared.sameSite = soup_cookie_get_same_site_policy(cookie);
  return shared;
}

CookiePointer soupCookieOf(const SharedCookie& shared) {
  constexpr int endsWithSession = -1;
  CookiePointer cookie(soup_cookie_new(shared.name.utf8(), shared.value.utf8(),
                                       shared.domain.utf8(), shared.path.utf8(), endsWithSession),
                       soup_cookie_free);
  if (shared.expires != 0) {
    if (GDateTime* expires = g_date_time_new_from_unix_utc(shared.expires)) {
      soup_cookie_set_expires(cookie.get(), expires);
      g_date_time_unref(expires);
    }
  }
  soup_cookie_set_secure(cookie.get(), shared.secure);
  soup_cookie_set_http_only(cookie.get(), shared.httpOnly);
  soup_cookie_set_same_site_policy(cookie.get(), static_cast<SoupSameSitePolicy>(shared.sameSite));
  return cookie;
}

// Rejects cookies that no server could have set: they would end up in the engine's headers.
bool isCookieText(const String& text) {
  const std::string_view bytes(text.utf8(), text.length());
  return std::all_of(bytes.begin(), bytes.end(),
                     [](unsigned char byte) { return byte >= ' ' && byte != 0x7f && byte != ';'; });
}

bool isCookie(const SharedCookie& cookie) {
  return isCookieText(cookie.name) && isCookieText(cookie.value) && isCookieText(cookie.domain) &&
         isCookieText(cookie.path) && cookie.domain.length() > 0 && cookie.path.length() > 0 &&
         cookie.sameSite >= SOUP_SAME_SITE_POLICY_NONE &&
         cookie.sameSite <= SOUP_SAME_SITE_POLICY_STRICT;
}

}  // namespace

SharedCookies::SharedCookies(WebKitCookieManager* manager) : cancellable_(g_cancellable_new()) {
  manager_.reset(WEBKIT_COOKIE_MANAGER(g_object_ref(manager)));
  changed_ = g_signal_connect_swapped(
      manager, "changed",
      G_CALLBACK(+[](gpointer self) { static_cast<SharedCookies*>(self)->lookSoon(); }), this);
  // What the jar has kept since the last run.
  look();
}

SharedCookies::~SharedCookies() {
  if (current() == this) install(nullptr);
  g_signal_handler_disconnect(manager_.get(), changed_);
  g_clear_handle_id(&timer_, g_source_remove);
  g_cancellable_cancel(cancellable_.get());
}

SharedCookies::Key SharedCookies::keyOf(const SharedCookie& cookie) {
  return {cookie.domain.toStdString(), cookie.path.toStdString(), cookie.name.toStdString()};
}

void SharedCookies::onChanged(Tell tell) {
  tell_ = std::move(tell);
}

void SharedCookies::lookSoon() {
  if (timer_ != 0) return;
  timer_ = g_timeout_add_once(
      pauseBeforeLook,
      [](gpointer data) {
        auto* const self = static_cast<SharedCookies*>(data);
        self->timer_ = 0;
        self->look();
      },
      this);
}

void SharedCookies::look() {
  // While the engine applies changes of other processes, its list may be older than they are.
  if (looking_ || putting_ > 0) {
    lookAgain_ = true;
    return;
  }
  looking_ = true;
  lookAgain_ = false;
  webkit_cookie_manager_get_all_cookies(
      manager_.get(), cancellable_.get(),
      [](GObject* manager, GAsyncResult* result, gpointer data) {
        GError* error = nullptr;
        GList* list = webkit_cookie_manager_get_all_cookies_finish(WEBKIT_COOKIE_MANAGER(manager),
                                                                   result, &error);
        const bool isGone = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE;
        const bool failed = error != nullptr;
        g_clear_error(&error);
        Cookies now;
        for (GList* entry = list; entry; entry = entry->next) {
          const SharedCookie cookie = cookieOf(static_cast<SoupCookie*>(entry->data));
          now.emplace(keyOf(cookie), cookie);
        }
        g_list_free_full(list,
                         [](gpointer each) { soup_cookie_free(static_cast<SoupCookie*>(each)); });
        if (isGone) return;
        auto* const self = static_cast<SharedCookies*>(data);
        self->looking_ = false;
        if (self->lookAgain_) {
          self->look();
        } else if (!failed) {
          self->compare(std::move(now));
        }
      },
      this);
}

void SharedCookies::compare(Cookies now) {
  Changes changes;
  const auto flush = [&](std::size_t from) {
    if (changes.size() < from) return;
    if (tell_) tell_(fields::textOf(changes));
    changes = {};
  };
  for (const auto& [key, cookie] : now) {
    const auto before = known_.find(key);
    if (applied_.contains(key) || (before != known_.end() && before->second == cookie)) continue;
    changes.set.push_back(cookie);
    flush(mostInOneText);
  }
  for (const auto& [key, cookie] : known_) {
    if (applied_.contains(key) || now.contains(key)) continue;
    changes.removed.push_back(cookie);
    flush(mostInOneText);
  }
  flush(1);
  known_ = std::move(now);
  applied_.clear();
}

bool SharedCookies::apply(const String& text) {
  Changes changes;
  if (text.length() > longestText || !fields::readText<fields::Reading::Lenient>(text, changes)) {
    return false;
  }
  const auto areCookies = [](const std::vector<SharedCookie>& list) {
    return std::all_of(list.begin(), list.end(), isCookie);
  };
  if (!areCookies(changes.set) || !areCookies(changes.removed)) return false;
  for (const SharedCookie& cookie : changes.set) put(cookie, true);
  for (const SharedCookie& cookie : changes.removed) put(cookie, false);
  return true;
}

template <auto Finish>
void SharedCookies::onPut(GObject* manager, GAsyncResult* result, gpointer data) {
  GError* error = nullptr;
  Finish(WEBKIT_COOKIE_MANAGER(manager), result, &error);
  const bool isGone = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED) != FALSE;
  g_clear_error(&error);
  if (isGone) return;
  auto* const self = static_cast<SharedCookies*>(data);
  if (--self->putting_ == 0) self->look();
}

void SharedCookies::put(const SharedCookie& cookie, bool keep) {
  const Key key = keyOf(cookie);
  if (keep) {
    known_[key] = cookie;
  } else {
    known_.erase(key);
  }
  applied_.insert(key);
  ++putting_;
  // A list that is on its way does not contain it.
  if (looking_) lookAgain_ = true;
  const auto operation =
      keep ? webkit_cookie_manager_add_cookie : webkit_cookie_manager_delete_cookie;
  operation(manager_.get(), soupCookieOf(cookie).get(), cancellable_.get(),
            keep ? onPut<webkit_cookie_manager_add_cookie_finish>
                 : onPut<webkit_cookie_manager_delete_cookie_finish>,
            this);
}

void SharedCookies::tellAll(const Tell& tell) const {
  Changes changes;
  for (const auto& [key, cookie] : known_) {
    changes.set.push_back(cookie);
    if (changes.size() < mostInOneText) continue;
    tell(fields::textOf(changes));
    changes = {};
  }
  if (changes.size() > 0) tell(fields::textOf(changes));
}

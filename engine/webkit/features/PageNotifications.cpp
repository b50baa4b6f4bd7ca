// The notifications that a page shows its user. Main thread.
#include "engine/webkit/features/PageNotifications.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/PageContext.h"

using Tessel::Platform::String;

namespace {

// The notifications a page may show at once; beyond them the oldest closes.
constexpr std::size_t mostShown = 64;

String idOf(WebKitNotification* notification) {
  return String::fromUnsignedInteger(webkit_notification_get_id(notification));
}

}  // namespace

PageNotifications::PageNotifications(PageContext& page, WebKitWebView* view)
    : page_(page), view_(view) {
  g_signal_connect(view_, "show-notification", G_CALLBACK(onShow), this);
}

PageNotifications::~PageNotifications() {
  g_signal_handlers_disconnect_by_data(view_, this);
  for (const auto& [id, notification] : shown_) forget(notification.get());
}

void PageNotifications::forget(WebKitNotification* notification) {
  g_signal_handlers_disconnect_by_data(notification, this);
}

gboolean PageNotifications::onShow(WebKitWebView*, WebKitNotification* notification,
                                   PageNotifications* self) {
  const auto page = self->page_.shared_from_this();
  // If the event is disabled, the engine shows it itself.
  if (!page->wants(OrvWebEvent::NotificationShow)) return FALSE;
  const String id = idOf(notification);
  if (self->shown_.size() >= mostShown) {
    self->step(self->shown_.begin()->first, NotificationStep::Closed);
  }
  self->shown_[id].reset(WEBKIT_NOTIFICATION(g_object_ref(notification)));
  g_signal_connect(notification, "closed", G_CALLBACK(onClosed), self);
  OrvWebNotificationShowEvent event;
  event.id = id;
  event.title = String(webkit_notification_get_title(notification));
  event.body = String(webkit_notification_get_body(notification));
  event.tag = String(webkit_notification_get_tag(notification));
  gchar* origin = g_uri_resolve_relative(page->loadControl().shownAddress().utf8(), "/",
                                         G_URI_FLAGS_NONE, nullptr);
  event.origin = String(origin);
  g_free(origin);
  page->raise(event);
  return TRUE;
}

void PageNotifications::onClosed(WebKitNotification* notification, PageNotifications* self) {
  const auto page = self->page_.shared_from_this();
  OrvWebNotificationCancelEvent event;
  event.id = idOf(notification);
  self->forget(notification);
  self->shown_.erase(event.id());
  page->raise(event);
}

void PageNotifications::step(const String& id, NotificationStep step) {
  const auto found = shown_.find(id);
  if (found == shown_.end()) return;
  if (step == NotificationStep::Clicked) return webkit_notification_clicked(found->second.get());
  // Closed by the chrome, which needs no event for it.
  forget(found->second.get());
  const auto node = shown_.extract(found);
  webkit_notification_close(node.mapped().get());
}

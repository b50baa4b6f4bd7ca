// A page in full screen, its videos above all. Main thread.
#include "engine/webkit/features/PageFullScreen.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/PageContext.h"
#include "platform/graphics/Window.h"

using Tessel::Platform::Graphics::FullScreen;

namespace {

// The engine enters and leaves full screen in steps without reporting the last one, and destroying
// a view between two of them crashes the program. So many milliseconds after the first step they
// are over.
constexpr guint linger = 1000;

template <typename Event>
void setPlace(Event& event, const OrvWebRect& place) {
  event.x = place.x;
  event.y = place.y;
  event.width = place.width;
  event.height = place.height;
}

}  // namespace

PageFullScreen::PageFullScreen(PageContext& page, WebKitWebView* view) : page_(page), view_(view) {
  g_signal_connect(view_, "enter-fullscreen", G_CALLBACK(onEnter), this);
  g_signal_connect(view_, "leave-fullscreen", G_CALLBACK(onLeave), this);
  g_signal_connect_after(view_, "size-allocate", G_CALLBACK(onAllocated), this);
}

PageFullScreen::~PageFullScreen() {
  if (inFullScreen_) page_.window().setFullScreen(FullScreen::No);
  g_signal_handlers_disconnect_by_data(view_, this);
}

bool PageFullScreen::isMoving() const {
  const gint64 since = g_get_monotonic_time() - moment_;
  return inFullScreen_ || (moment_ != 0 && since < linger * G_TIME_SPAN_MILLISECOND);
}

void PageFullScreen::destroy(WebKitWebView* view, bool later) {
  if (!later) return gtk_widget_destroy(GTK_WIDGET(view));
  g_object_ref(view);
  gtk_widget_hide(GTK_WIDGET(view));
  gtk_container_remove(GTK_CONTAINER(gtk_widget_get_parent(GTK_WIDGET(view))), GTK_WIDGET(view));
  g_timeout_add(
      linger,
      [](gpointer data) -> gboolean {
        gtk_widget_destroy(GTK_WIDGET(data));
        g_object_unref(data);
        return G_SOURCE_REMOVE;
      },
      view);
}

gboolean PageFullScreen::onEnter(WebKitWebView*, PageFullScreen* self) {
  const auto page = self->page_.shared_from_this();
  self->moment_ = g_get_monotonic_time();
  self->inFullScreen_ = true;
  OrvWebFullScreenEnteringEvent event;
  page->raise(event);
  if (event.isPreventDefault()) return TRUE;
  if (!page->client()) return FALSE;
  // Where the view is off screen, or nobody manages windows, the engine does nothing of it.
  page->window().setFullScreen(FullScreen::Filling);
  page->raise(OrvWebEvent::FullScreenEnter);
  return FALSE;
}

gboolean PageFullScreen::onLeave(WebKitWebView*, PageFullScreen* self) {
  const auto page = self->page_.shared_from_this();
  self->moment_ = g_get_monotonic_time();
  self->inFullScreen_ = false;
  page->window().setFullScreen(FullScreen::No);
  page->raise(OrvWebEvent::FullScreenExit);
  return FALSE;
}

OrvWebRect PageFullScreen::place() const {
  const auto corner = page_.window().windowLocation();
  return {corner.x, corner.y, gtk_widget_get_allocated_width(GTK_WIDGET(view_)),
          gtk_widget_get_allocated_height(GTK_WIDGET(view_))};
}

void PageFullScreen::videoChanged(bool isVideo, const String& source) {
  const auto page = page_.shared_from_this();
  const auto life = page->viewLife();
  isVideo_ = isVideo;
  source_ = source;
  page->update<&PageState::isVideoFullScreen>(isVideo);
  // The handler may have removed the view, and this with it.
  if (!life.expired()) capableChanged();
}

void PageFullScreen::capableChanged() {
  if (!page_.client()) return;
  const bool tells = isVideo_ && page_.client()->settings().fullScreenVideoCapable;
  if (std::exchange(told_, tells) == tells) return;
  if (!tells) return page_.raise(OrvWebEvent::FullScreenVideoEnded);
  toldAt_ = place();
  OrvWebFullScreenVideoStartedEvent event;
  event.context = source_;
  setPlace(event, toldAt_);
  page_.raise(event);
}

void PageFullScreen::onAllocated(GtkWidget*, GdkRectangle*, PageFullScreen* self) {
  if (!self->told_) return;
  const auto page = self->page_.shared_from_this();
  const OrvWebRect place = self->place();
  if (place == self->toldAt_) return;
  self->toldAt_ = place;
  OrvWebFullScreenVideoWindowUpdatedEvent event;
  setPlace(event, place);
  page->raise(event);
}

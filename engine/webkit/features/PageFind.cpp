// Finding a text in a page. Main thread.
#include "engine/webkit/features/PageFind.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/PageContext.h"

namespace {

// More are not counted: highlighting them would block the page.
constexpr guint mostMatches = 10000;

}  // namespace

PageFind::PageFind(PageContext& page, WebKitWebView* view)
    : page_(page), controller_(webkit_web_view_get_find_controller(view)) {
  g_signal_connect(controller_, "found-text", G_CALLBACK(onFound), this);
  g_signal_connect(controller_, "failed-to-find-text", G_CALLBACK(onNotFound), this);
}

PageFind::~PageFind() {
  g_signal_handlers_disconnect_by_data(controller_, this);
}

void PageFind::find(const String& text, const FindOptions& options) {
  if (text.isEmpty()) {
    text_ = text;
    webkit_find_controller_search_finish(controller_);
    return;
  }
  guint32 flags = WEBKIT_FIND_OPTIONS_NONE;
  if (!options.caseSensitive) flags |= WEBKIT_FIND_OPTIONS_CASE_INSENSITIVE;
  if (options.wrap) flags |= WEBKIT_FIND_OPTIONS_WRAP_AROUND;
  const bool same = text == text_ && flags == options_;
  text_ = text;
  options_ = flags;
  step_ = options.forward ? 1 : -1;
  if (same && options.forward) return webkit_find_controller_search_next(controller_);
  if (same) return webkit_find_controller_search_previous(controller_);
  current_ = -1;
  // The engine highlights as many as it counts.
  webkit_find_controller_search(controller_, text.utf8(), flags,
                                options.highlightAll ? mostMatches : 1);
}

void PageFind::onFound(WebKitFindController*, guint count, PageFind* self) {
  // Only the first search counts; one that goes on reports the match that it went to.
  if (self->current_ < 0) {
    self->count_ = static_cast<int>(std::min(count, mostMatches));
    self->current_ = 0;
  } else if (self->count_ > 0) {
    self->current_ = (self->current_ + self->step_ + self->count_) % self->count_;
  }
  self->report(true);
}

void PageFind::onNotFound(WebKitFindController*, PageFind* self) {
  self->count_ = 0;
  self->current_ = -1;
  self->report(false);
}

void PageFind::report(bool matched) {
  OrvWebFindStringEvent event;
  event.currentIndex = current_;
  event.numMatches = count_;
  event.isMatched = matched;
  page_.shared_from_this()->raise(event);
}

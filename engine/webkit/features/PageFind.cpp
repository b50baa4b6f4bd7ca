// Finding a text in a page. Main thread.
#include "engine/webkit/features/PageFind.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/PageContext.h"

#include <algorithm>
#include <utility>

namespace {

// More are not counted: highlighting them would block the page.
constexpr guint mostMatches = 10000;

// A page that does not answer must not fill the memory.
constexpr std::size_t mostAsked = 1000;

// The match that is shown is the selection, which without the keyboard is a pale grey among yellow.
constexpr const char* currentMatch =
    "::selection { background-color: #ff7b00 !important; color: #000 !important; }";

}  // namespace

PageFind::PageFind(PageContext& page, WebKitWebView* view)
    : page_(page),
      view_(view),
      controller_(webkit_web_view_get_find_controller(view)),
      style_(webkit_user_style_sheet_new(currentMatch, WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                                         WEBKIT_USER_STYLE_LEVEL_USER, nullptr, nullptr)) {
  g_signal_connect(controller_, "found-text", G_CALLBACK(onFound), this);
  g_signal_connect(controller_, "failed-to-find-text", G_CALLBACK(onNotFound), this);
}

PageFind::~PageFind() {
  g_signal_handlers_disconnect_by_data(controller_, this);
  webkit_user_style_sheet_unref(style_);
}

void PageFind::find(const String& text, const FindOptions& options) {
  if (text.isEmpty()) return end();
  guint32 flags = WEBKIT_FIND_OPTIONS_NONE;
  if (!options.caseSensitive) flags |= WEBKIT_FIND_OPTIONS_CASE_INSENSITIVE;
  if (options.wrap) flags |= WEBKIT_FIND_OPTIONS_WRAP_AROUND;
  const bool same = text == text_ && flags == options_;
  text_ = text;
  options_ = flags;
  const int step = options.forward ? 1 : -1;
  if (asked_.size() == mostAsked) asked_.pop_front();
  asked_.push_back({text, flags, same ? step : 0});
  if (same && options.forward) return webkit_find_controller_search_next(controller_);
  if (same) return webkit_find_controller_search_previous(controller_);
  if (!std::exchange(isStyled_, true)) {
    webkit_user_content_manager_add_style_sheet(webkit_web_view_get_user_content_manager(view_),
                                                style_);
  }
  // The engine highlights as many as it counts.
  webkit_find_controller_search(controller_, text.utf8(), flags,
                                options.highlightAll ? mostMatches : 1);
}

void PageFind::committed() {
  asked_.clear();
  count_ = 0;
  current_ = -1;
  if (!text_.isEmpty()) end();
}

void PageFind::end() {
  text_ = String();
  webkit_find_controller_search_finish(controller_);
  if (!std::exchange(isStyled_, false)) return;
  webkit_user_content_manager_remove_style_sheet(webkit_web_view_get_user_content_manager(view_),
                                                 style_);
}

PageFind::Search PageFind::takeAnswered() {
  if (asked_.empty()) return {text_, options_, 0};
  Search search = std::move(asked_.front());
  asked_.pop_front();
  return search;
}

void PageFind::onFound(WebKitFindController*, guint count, PageFind* self) {
  const Search search = self->takeAnswered();
  // Only the search that begins counts; one that goes on reports the match that it went to.
  if (search.step == 0 || self->current_ < 0) {
    self->count_ = static_cast<int>(std::min(count, mostMatches));
    self->current_ = 0;
  } else if (self->count_ > 0) {
    self->current_ = (self->current_ + search.step + self->count_) % self->count_;
  }
  self->report(search, true);
}

void PageFind::onNotFound(WebKitFindController*, PageFind* self) {
  const Search search = self->takeAnswered();
  self->count_ = 0;
  self->current_ = -1;
  self->report(search, false);
}

void PageFind::report(const Search& search, bool matched) {
  OrvWebFindStringEvent event;
  event.caseSensitive = (search.options & WEBKIT_FIND_OPTIONS_CASE_INSENSITIVE) == 0;
  event.currentIndex = current_;
  event.numMatches = count_;
  event.isMatched = matched;
  event.text = search.text;
  page_.shared_from_this()->raise(event);
}

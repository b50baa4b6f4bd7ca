// The history of a page. Main thread.
#include "engine/webkit/features/PageHistory.h"

#include "engine/webkit/base/PageContext.h"

#include <algorithm>
#include <string>

using Tessel::Platform::String;

namespace {

// No valid session is longer: the engine keeps a hundred entries at most.
constexpr std::size_t longestSession = 16u << 20;

}  // namespace

PageHistory::PageHistory(PageContext& page, WebKitWebView* view)
    : page_(page), view_(view), list_(webkit_web_view_get_back_forward_list(view)) {
  g_signal_connect(list_, "changed", G_CALLBACK(onChanged), this);
}

PageHistory::~PageHistory() {
  g_signal_handlers_disconnect_by_data(list_, this);
}

PageHistory::Visible PageHistory::visible() const {
  Visible result;
  // The list behind runs from the nearest entry to the farthest.
  GList* behind = g_list_reverse(webkit_back_forward_list_get_back_list(list_));
  for (GList* entry = behind; entry; entry = entry->next) {
    result.items.push_back(WEBKIT_BACK_FORWARD_LIST_ITEM(entry->data));
  }
  g_list_free(behind);
  Item* current = webkit_back_forward_list_get_current_item(list_);
  if (current) result.items.push_back(current);
  // The one ahead runs from the farthest to the nearest.
  GList* ahead = g_list_reverse(webkit_back_forward_list_get_forward_list(list_));
  for (GList* entry = ahead; entry; entry = entry->next) {
    result.items.push_back(WEBKIT_BACK_FORWARD_LIST_ITEM(entry->data));
  }
  g_list_free(ahead);

  const auto last = std::find(result.items.begin(), result.items.end(), newest_.get());
  if (last != result.items.end()) result.items.erase(last + 1, result.items.end());
  const auto first = std::find(result.items.begin(), result.items.end(), oldest_.get());
  if (first != result.items.end()) {
    result.items.erase(result.items.begin(), first + (oldestIsHidden_ ? 1 : 0));
  }
  const auto here = std::find(result.items.begin(), result.items.end(), current);
  if (here != result.items.end()) {
    result.position = static_cast<int>(here - result.items.begin());
  }
  return result;
}

std::vector<OrvWebHistoryItem> PageHistory::items() const {
  std::vector<OrvWebHistoryItem> list;
  for (Item* item : visible().items) {
    // The engine does not report whether an entry came from a form.
    list.emplace_back(webkit_back_forward_list_item_get_uri(item),
                      webkit_back_forward_list_item_get_original_uri(item),
                      webkit_back_forward_list_item_get_title(item), false);
  }
  return list;
}

void PageHistory::goBy(int steps) {
  goTo(visible().position + steps);
}

void PageHistory::goTo(int position) {
  const Visible now = visible();
  if (position < 0 || position >= static_cast<int>(now.items.size()) || position == now.position) {
    return;
  }
  webkit_web_view_go_to_back_forward_list_item(view_, now.items[static_cast<size_t>(position)]);
}

void PageHistory::clear(bool keepCurrent) {
  Item* current = webkit_back_forward_list_get_current_item(list_);
  if (!current) return;
  oldest_.reset(WEBKIT_BACK_FORWARD_LIST_ITEM(g_object_ref(current)));
  newest_.reset(WEBKIT_BACK_FORWARD_LIST_ITEM(g_object_ref(current)));
  oldestIsHidden_ = !keepCurrent;
  update();
}

String PageHistory::session() const {
  WebKitWebViewSessionState* state = webkit_web_view_get_session_state(view_);
  GBytes* bytes = webkit_web_view_session_state_serialize(state);
  webkit_web_view_session_state_unref(state);
  gsize size = 0;
  const void* data = g_bytes_get_data(bytes, &size);
  gchar* text = g_base64_encode(static_cast<const guchar*>(data), size);
  g_bytes_unref(bytes);
  String result(text);
  g_free(text);
  return result;
}

bool PageHistory::restore(const String& session, int position) {
  if (session.isEmpty() || session.length() > longestSession) return false;
  gsize size = 0;
  guchar* data = g_base64_decode(session.utf8(), &size);
  GBytes* bytes = g_bytes_new_take(data, size);
  WebKitWebViewSessionState* state = webkit_web_view_session_state_new(bytes);
  g_bytes_unref(bytes);
  if (!state) return false;
  oldest_.reset();
  newest_.reset();
  oldestIsHidden_ = false;
  webkit_web_view_restore_session_state(view_, state);
  webkit_web_view_session_state_unref(state);
  const Visible now = visible();
  const bool isThere = position >= 0 && position < static_cast<int>(now.items.size());
  const int target = isThere ? position : now.position;
  if (target >= 0) {
    webkit_web_view_go_to_back_forward_list_item(view_, now.items[static_cast<size_t>(target)]);
  }
  update();
  return true;
}

void PageHistory::onChanged(WebKitBackForwardList*, Item* added, gpointer, PageHistory* self) {
  // A new entry replaces all forward entries.
  if (added) self->newest_.reset();
  self->update();
}

void PageHistory::update() {
  const auto page = page_.shared_from_this();
  const Visible now = visible();
  Item* current = webkit_back_forward_list_get_current_item(list_);
  const String original(current ? webkit_back_forward_list_item_get_original_uri(current)
                                : nullptr);
  const int length = static_cast<int>(now.items.size());
  page->update<&PageState::originalLocation>(original);
  page->update<&PageState::historyLength>(length);
  page->update<&PageState::historyPosition>(std::max(now.position, 0));
  page->update<&PageState::canGoBack>(now.position > 0);
  page->update<&PageState::canGoForward>(now.position + 1 < length);
  page->propertyChanged(OrvWebPropertyChangedEvent::HistoryList);
}

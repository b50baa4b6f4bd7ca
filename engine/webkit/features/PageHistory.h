// The history of a page: the list that the chrome sees, and navigation in it. Main thread.
#pragma once

#include "engine/Records.h"
#include "engine/webkit/base/ObjectPointer.h"

#include <webkit2/webkit2.h>

#include <vector>

class PageContext;

// The engine's list cannot be cleared, so cleared entries are hidden: those outside the bounds are
// neither listed nor reachable.
class PageHistory {
 public:
  using String = Tessel::Platform::String;

  PageHistory(PageContext& page, WebKitWebView* view);
  ~PageHistory();
  PageHistory(const PageHistory&) = delete;
  PageHistory& operator=(const PageHistory&) = delete;

  std::vector<OrvWebHistoryItem> items() const;
  void goBy(int steps);
  void goTo(int position);
  void clear(bool keepCurrent);
  // The whole list of the engine, in text.
  String session() const;
  bool restore(const String& session, int position);

 private:
  using Item = WebKitBackForwardListItem;
  // The entries within the bounds, oldest first, and where among them the page is; -1 when the
  // entry that is shown was cleared as well.
  struct Visible {
    std::vector<Item*> items;
    int position = -1;
  };

  static void onChanged(WebKitBackForwardList*, Item* added, gpointer removed, PageHistory* self);
  Visible visible() const;
  void update();

  PageContext& page_;
  WebKitWebView* view_;
  WebKitBackForwardList* list_;
  ObjectPointer<Item> oldest_;   // nothing before it is seen; null for no bound
  bool oldestIsHidden_ = false;  // nor is it itself
  ObjectPointer<Item> newest_;   // nothing behind it is seen
};

// Where a page has been: the list that the chrome sees, and going along it. Main thread.
#pragma once

#include "engine/Records.h"
#include "engine/webkit/base/ObjectPointer.h"

#include <webkit2/webkit2.h>

#include <vector>

class WebKitPage;

// The engine's list cannot be emptied; what was cleared is hidden instead: entries outside the
// bounds are neither told nor gone to.
class PageHistory {
 public:
  using String = Tessel::Platform::String;

  PageHistory(WebKitPage& page, WebKitWebView* view);
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

  WebKitPage& page_;
  WebKitWebView* view_;
  WebKitBackForwardList* list_;
  ObjectPointer<Item> oldest_;   // nothing before it is seen; null for no bound
  bool oldestIsHidden_ = false;  // nor is it itself
  ObjectPointer<Item> newest_;   // nothing behind it is seen
};

// Finding a text in a page. Main thread.
#pragma once

#include "engine/Page.h"

#include <webkit2/webkit2.h>

#include <deque>

class PageContext;

class PageFind {
 public:
  using String = Tessel::Platform::String;

  PageFind(PageContext& page, WebKitWebView* view);
  ~PageFind();
  PageFind(const PageFind&) = delete;
  PageFind& operator=(const PageFind&) = delete;

  // The same text again goes on to the next match.
  void find(const String& text, const FindOptions& options);
  // Another document has come: what was asked about the one before is not answered any more, and
  // the same text is searched for anew.
  void committed();

 private:
  struct Search {
    String text;
    guint32 options = 0;
    int step = 0;  // to the next match of the search before; 0 for a search that begins
  };

  static void onFound(WebKitFindController*, guint count, PageFind* self);
  static void onNotFound(WebKitFindController*, PageFind* self);
  Search takeAnswered();
  void report(const Search& search, bool matched);
  void end();

  PageContext& page_;
  WebKitWebView* view_;
  WebKitFindController* controller_;  // the view's
  WebKitUserStyleSheet* style_;
  bool isStyled_ = false;
  String text_;
  guint32 options_ = 0;
  // Those that the engine has not answered yet. It answers in order, each once.
  std::deque<Search> asked_;
  // The engine does not tell which match it shows, so they are counted here.
  int current_ = 0;
  int count_ = 0;
};

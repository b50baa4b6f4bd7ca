// Where a page goes, and whether it may: the questions before a load, and the news of the move.
// Main thread.
#pragma once

#include "engine/Enumerations.h"

#include <webkit2/webkit2.h>

class WebKitPage;

class PageNavigation {
 public:
  PageNavigation(WebKitPage& page, WebKitWebView* view);
  ~PageNavigation();
  PageNavigation(const PageNavigation&) = delete;
  PageNavigation& operator=(const PageNavigation&) = delete;

  // A document has taken the place of the one before.
  void committed();
  // Whether the last navigation can be done again by its address alone.
  bool isRepeatable() const;
  // The location is another one.
  void moved();

 private:
  static gboolean onDecide(WebKitWebView*, WebKitPolicyDecision* decision,
                           WebKitPolicyDecisionType type, PageNavigation* self);
  static void onResource(WebKitWebView* view, WebKitWebResource* resource,
                         WebKitURIRequest* request, PageNavigation* self);
  bool decideNavigation(WebKitNavigationAction* action, WebKitPolicyDecision* decision);
  bool decideUnknownScheme(const char* uri, WebKitPolicyDecision* decision);
  bool decideResponse(WebKitResponsePolicyDecision* decision);
  void raiseLocationChange();

  WebKitPage& page_;
  WebKitWebView* view_;
  OrvWebNavigationType type_ = OrvWebNavigationType::Other;  // of the last navigation
};

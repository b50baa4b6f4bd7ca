// The navigations of a page: the decisions before a load, and the report of the new location. Main
// thread.
#pragma once

#include "engine/Enumerations.h"

#include <webkit2/webkit2.h>

class PageContext;

class PageNavigation {
 public:
  PageNavigation(PageContext& page, WebKitWebView* view);
  ~PageNavigation();
  PageNavigation(const PageNavigation&) = delete;
  PageNavigation& operator=(const PageNavigation&) = delete;

  // A document was committed.
  void committed();
  // Whether the last navigation can be done again by its address alone.
  bool isRepeatable() const;
  // The location has changed.
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

  PageContext& page_;
  WebKitWebView* view_;
  OrvWebNavigationType type_ = OrvWebNavigationType::Other;  // of the last navigation
};

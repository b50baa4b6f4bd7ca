// The navigations of a page. Main thread.
#include "engine/webkit/features/PageNavigation.h"

#include "engine/OrvWebEvents.h"
#include "engine/TrustedLoads.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/base/PageContext.h"

#include <algorithm>
#include <iterator>

using Tessel::Platform::String;

namespace {

OrvWebNavigationType typeOf(WebKitNavigationAction* action) {
  switch (webkit_navigation_action_get_navigation_type(action)) {
    case WEBKIT_NAVIGATION_TYPE_LINK_CLICKED:
      return OrvWebNavigationType::LinkClicked;
    case WEBKIT_NAVIGATION_TYPE_FORM_SUBMITTED:
      return OrvWebNavigationType::FormSubmitted;
    case WEBKIT_NAVIGATION_TYPE_BACK_FORWARD:
      return OrvWebNavigationType::BackForward;
    case WEBKIT_NAVIGATION_TYPE_RELOAD:
      return OrvWebNavigationType::Reload;
    case WEBKIT_NAVIGATION_TYPE_FORM_RESUBMITTED:
      return OrvWebNavigationType::FormResubmitted;
    default:
      return OrvWebNavigationType::Other;
  }
}

// What can be shown or fetched here; everything else is for another program.
bool isKnownScheme(const char* scheme) {
  constexpr const char* known[] = {"about", "blob",      "data",  "file",       "ftp",     "http",
                                   "https", "inspector", "local", "javascript", "resource"};
  return std::any_of(std::begin(known), std::end(known),
                     [&](const char* name) { return g_ascii_strcasecmp(name, scheme) == 0; });
}

}  // namespace

PageNavigation::PageNavigation(PageContext& page, WebKitWebView* view) : page_(page), view_(view) {
  g_signal_connect(view_, "decide-policy", G_CALLBACK(onDecide), this);
  g_signal_connect(view_, "resource-load-started", G_CALLBACK(onResource), this);
}

PageNavigation::~PageNavigation() {
  g_signal_handlers_disconnect_by_data(view_, this);
}

gboolean PageNavigation::onDecide(WebKitWebView*, WebKitPolicyDecision* decision,
                                  WebKitPolicyDecisionType type, PageNavigation* self) {
  const auto page = self->page_.shared_from_this();
  if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION) {
    auto* navigation = WEBKIT_NAVIGATION_POLICY_DECISION(decision);
    return self->decideNavigation(
        webkit_navigation_policy_decision_get_navigation_action(navigation), decision);
  }
  if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) {
    return self->decideResponse(WEBKIT_RESPONSE_POLICY_DECISION(decision));
  }
  return FALSE;
}

bool PageNavigation::decideNavigation(WebKitNavigationAction* action,
                                      WebKitPolicyDecision* decision) {
  const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
  const OrvWebNavigationType type = typeOf(action);
  gchar* scheme = g_uri_parse_scheme(uri);
  const bool unknown = scheme && !isKnownScheme(scheme);
  g_free(scheme);
  if (unknown) return decideUnknownScheme(uri, decision);

  OrvWebLocationChangingEvent event;
  event.navigationType = type;
  event.url = String(uri);
  event.button = static_cast<int>(webkit_navigation_action_get_mouse_button(action));
  event.modifierMask = webkit_navigation_action_get_modifiers(action) & keyboardModifiers;
  page_.raise(event);
  if (event.isPreventDefault() || !page_.client()) {
    webkit_policy_decision_ignore(decision);
    return true;
  }
  type_ = type;
  return false;
}

bool PageNavigation::decideUnknownScheme(const char* uri, WebKitPolicyDecision* decision) {
  OrvWebUnknownProtocolEvent event;
  event.url = String(uri);
  gchar* scheme = g_uri_parse_scheme(uri);
  event.scheme = String(scheme);
  g_free(scheme);
  page_.raise(event);
  webkit_policy_decision_ignore(decision);
  if (!page_.client() || event.isPreventDefault()) return true;
  if (!event.protocolHandlerURL().isEmpty()) {
    page_.loadControl().loadAgain(event.protocolHandlerURL());
    return true;
  }
  OrvWebInvokeRequestEvent invoke;
  invoke.uri = String(uri);
  page_.raise(invoke);
  return true;
}

// The engine's policy decision before a load does not say whether it is for the main frame; the
// request and the response do.
void PageNavigation::onResource(WebKitWebView* view, WebKitWebResource* resource,
                                WebKitURIRequest* request, PageNavigation* self) {
  if (resource != webkit_web_view_get_main_resource(view)) return;
  const auto page = self->page_.shared_from_this();
  const String url(webkit_uri_request_get_uri(request));
  if (page->loadControl().mayGo(url, page->loadControl().trustedLoads().requested(url))) return;
  webkit_web_view_stop_loading(view);
}

bool PageNavigation::decideResponse(WebKitResponsePolicyDecision* decision) {
  if (webkit_response_policy_decision_is_main_frame_main_resource(decision)) {
    const auto page = page_.shared_from_this();
    const String url(
        webkit_uri_request_get_uri(webkit_response_policy_decision_get_request(decision)));
    if (!page->loadControl().mayGo(url, page->loadControl().trustedLoads().answered(url))) {
      webkit_policy_decision_ignore(WEBKIT_POLICY_DECISION(decision));
      return true;
    }
  }
  if (webkit_response_policy_decision_is_mime_type_supported(decision)) return false;
  OrvWebUnsupportedMimeTypeEvent event;
  event.url =
      String(webkit_uri_request_get_uri(webkit_response_policy_decision_get_request(decision)));
  page_.raise(event);
  // What cannot be displayed is downloaded.
  webkit_policy_decision_download(WEBKIT_POLICY_DECISION(decision));
  return true;
}

// Repeating a form would submit it twice, repeating a history navigation would add an entry.
bool PageNavigation::isRepeatable() const {
  return type_ == OrvWebNavigationType::LinkClicked || type_ == OrvWebNavigationType::Other ||
         type_ == OrvWebNavigationType::Reload;
}

void PageNavigation::committed() {
  raiseLocationChange();
}

void PageNavigation::moved() {
  // During a load the engine shows its address before the commit, which reports it. All other
  // changes are navigations within the document.
  if (webkit_web_view_is_loading(view_)) return;
  raiseLocationChange();
}

void PageNavigation::raiseLocationChange() {
  OrvWebLocationChangeEvent event;
  event.navigationType = type_;
  event.url = String(webkit_web_view_get_uri(view_));
  page_.raise(event);
}

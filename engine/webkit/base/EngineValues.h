// The engine's objects as plain values of ours. Main thread.
#pragma once

#include "engine/Enumerations.h"
#include "engine/Records.h"
#include "engine/SecurityRecords.h"

#include <webkit2/webkit2.h>

#include <vector>

// The modifiers of the keyboard in the toolkit's state of an event: shift 1, lock 2, control 4, alt
// 8 and four others. The rest of it is buttons.
inline constexpr unsigned int keyboardModifiers = 0xFF;

OrvWebJavaScriptResultType resultTypeOf(JSCValue* value);

// A PNG in base64; empty for no surface.
Tessel::Platform::String pngInBase64(cairo_surface_t* surface);

// A certificate in PEM form.
Tessel::Platform::String pemOf(GTlsCertificate* certificate);

// The icon as a PNG, with its address and size; the empty one for no surface.
OrvWebFavicon faviconFrom(cairo_surface_t* surface, const Tessel::Platform::String& url);

// The items that the chrome has a name for, in their order.
std::vector<OrvWebContextMenuItem> menuItemsOf(WebKitContextMenu* menu);

// Whether what is typed now has that attribute, one of CSS.
bool hasTypingAttribute(WebKitEditorState* state, const Tessel::Platform::String& name);

// A connection that was refused, by its server's certificate.
SSLConnectionInfo connectionInfoFrom(const char* uri, GTlsCertificate* certificate,
                                     GTlsCertificateFlags problems);

// That of the answer that the document came with; 0 for none.
guint statusOf(WebKitWebView* view);
bool isFailedStatus(guint status);

// Whether the view keeps nothing of what its pages leave behind.
bool isForgetful(WebKitWebView* view);

// As "https://example.org"; empty for a view that shows nothing.
Tessel::Platform::String originOf(const Tessel::Platform::String& url);

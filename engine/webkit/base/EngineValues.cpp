// The engine's objects as plain values of ours. Main thread.
#include "engine/webkit/base/EngineValues.h"

#include <utility>

using Tessel::Platform::String;

namespace {

// What the engine's items are called by the chrome; those that it has no name for are left out.
constexpr std::pair<WebKitContextMenuAction, OrvWebContextMenuItem> menuItems[] = {
    {WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK, OrvWebContextMenuItem::OpenLink},
    {WEBKIT_CONTEXT_MENU_ACTION_OPEN_LINK_IN_NEW_WINDOW, OrvWebContextMenuItem::OpenLinkInNewTab},
    {WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_LINK_TO_DISK, OrvWebContextMenuItem::SaveLinkAs},
    {WEBKIT_CONTEXT_MENU_ACTION_COPY_LINK_TO_CLIPBOARD, OrvWebContextMenuItem::CopyLink},
    {WEBKIT_CONTEXT_MENU_ACTION_OPEN_IMAGE_IN_NEW_WINDOW, OrvWebContextMenuItem::ViewImage},
    {WEBKIT_CONTEXT_MENU_ACTION_DOWNLOAD_IMAGE_TO_DISK, OrvWebContextMenuItem::SaveImage},
    {WEBKIT_CONTEXT_MENU_ACTION_COPY_IMAGE_URL_TO_CLIPBOARD, OrvWebContextMenuItem::CopyImageLink},
    {WEBKIT_CONTEXT_MENU_ACTION_COPY, OrvWebContextMenuItem::Copy},
    {WEBKIT_CONTEXT_MENU_ACTION_CUT, OrvWebContextMenuItem::Cut},
    {WEBKIT_CONTEXT_MENU_ACTION_PASTE, OrvWebContextMenuItem::Paste},
    {WEBKIT_CONTEXT_MENU_ACTION_DELETE, OrvWebContextMenuItem::Delete},
    {WEBKIT_CONTEXT_MENU_ACTION_SELECT_ALL, OrvWebContextMenuItem::SelectAll},
    {WEBKIT_CONTEXT_MENU_ACTION_INSPECT_ELEMENT, OrvWebContextMenuItem::InspectElement},
};

constexpr std::pair<GTlsCertificateFlags, const char*> certificateProblems[] = {
    {G_TLS_CERTIFICATE_UNKNOWN_CA, "nobody known has signed it"},
    {G_TLS_CERTIFICATE_BAD_IDENTITY, "it is for another server"},
    {G_TLS_CERTIFICATE_NOT_ACTIVATED, "it is not valid yet"},
    {G_TLS_CERTIFICATE_EXPIRED, "it has expired"},
    {G_TLS_CERTIFICATE_REVOKED, "it was revoked"},
    {G_TLS_CERTIFICATE_INSECURE, "it is not secure enough"},
};

}  // namespace

OrvWebJavaScriptResultType resultTypeOf(JSCValue* value) {
  if (jsc_value_is_undefined(value)) return OrvWebJavaScriptResultType::JSUndefined;
  if (jsc_value_is_null(value)) return OrvWebJavaScriptResultType::JSNull;
  if (jsc_value_is_boolean(value)) return OrvWebJavaScriptResultType::JSBoolean;
  if (jsc_value_is_number(value)) return OrvWebJavaScriptResultType::JSNumber;
  if (jsc_value_is_string(value)) return OrvWebJavaScriptResultType::JSString;
  return OrvWebJavaScriptResultType::JSObject;
}

String pngInBase64(cairo_surface_t* surface) {
  if (!surface) return String();
  GdkPixbuf* pixels =
      gdk_pixbuf_get_from_surface(surface, 0, 0, cairo_image_surface_get_width(surface),
                                  cairo_image_surface_get_height(surface));
  gchar* data = nullptr;
  gsize size = 0;
  String encoded;
  if (pixels && gdk_pixbuf_save_to_buffer(pixels, &data, &size, "png", nullptr, nullptr)) {
    gchar* text = g_base64_encode(reinterpret_cast<const guchar*>(data), size);
    encoded = String(text);
    g_free(text);
    g_free(data);
  }
  g_clear_object(&pixels);
  return encoded;
}

OrvWebFavicon faviconFrom(cairo_surface_t* surface, const String& url) {
  if (!surface) return OrvWebFavicon();
  return OrvWebFavicon(pngInBase64(surface), url, cairo_image_surface_get_width(surface),
                       cairo_image_surface_get_height(surface));
}

String pemOf(GTlsCertificate* certificate) {
  gchar* pem = nullptr;
  g_object_get(certificate, "certificate-pem", &pem, nullptr);
  String result(pem);
  g_free(pem);
  return result;
}

std::vector<OrvWebContextMenuItem> menuItemsOf(WebKitContextMenu* menu) {
  std::vector<OrvWebContextMenuItem> items;
  for (GList* entry = webkit_context_menu_get_items(menu); entry; entry = entry->next) {
    const auto action =
        webkit_context_menu_item_get_stock_action(WEBKIT_CONTEXT_MENU_ITEM(entry->data));
    for (const auto& [stock, item] : menuItems) {
      if (stock == action) items.push_back(item);
    }
  }
  return items;
}

SSLConnectionInfo connectionInfoFrom(const char* uri, GTlsCertificate* certificate,
                                     GTlsCertificateFlags problems) {
  const auto taken = [](gchar* text) {
    String result(text);
    g_free(text);
    return result;
  };
  SSLConnectionInfo info;
  if (GUri* parsed = g_uri_parse(uri, G_URI_FLAGS_PARSE_RELAXED, nullptr)) {
    info.host = String(g_uri_get_host(parsed));
    g_uri_unref(parsed);
  }
  for (const auto& [flag, words] : certificateProblems) {
    if (problems & flag) info.problems.emplace_back(words);
  }
  info.subject = taken(g_tls_certificate_get_subject_name(certificate));
  info.issuer = taken(g_tls_certificate_get_issuer_name(certificate));
  info.certificate = pemOf(certificate);
  return info;
}

bool hasTypingAttribute(WebKitEditorState* state, const String& name) {
  constexpr std::pair<const char*, guint> attributes[] = {
      {"bold", WEBKIT_EDITOR_TYPING_ATTRIBUTE_BOLD},
      {"italic", WEBKIT_EDITOR_TYPING_ATTRIBUTE_ITALIC},
      {"underline", WEBKIT_EDITOR_TYPING_ATTRIBUTE_UNDERLINE},
      {"strikethrough", WEBKIT_EDITOR_TYPING_ATTRIBUTE_STRIKETHROUGH}};
  const guint set = webkit_editor_state_get_typing_attributes(state);
  for (const auto& [attribute, bit] : attributes) {
    if (name == String(attribute)) return (set & bit) != 0;
  }
  return false;
}

guint statusOf(WebKitWebView* view) {
  WebKitWebResource* document = webkit_web_view_get_main_resource(view);
  WebKitURIResponse* response = document ? webkit_web_resource_get_response(document) : nullptr;
  return response ? webkit_uri_response_get_status_code(response) : 0;
}

bool isFailedStatus(guint status) {
  return status >= 400;
}

String originOf(const String& url) {
  WebKitSecurityOrigin* origin =
      url.isEmpty() ? nullptr : webkit_security_origin_new_for_uri(url.utf8());
  if (!origin) return String();
  gchar* text = webkit_security_origin_to_string(origin);
  String result(text);
  g_free(text);
  webkit_security_origin_unref(origin);
  return result;
}

bool isForgetful(WebKitWebView* view) {
  return webkit_website_data_manager_is_ephemeral(webkit_web_view_get_website_data_manager(view)) !=
         FALSE;
}

// Applies a web view's settings to the engine's view. Main thread.
#include "engine/webkit/features/PageSettings.h"

#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/network/LocalScheme.h"
#include "platform/base/Log.h"

#include <algorithm>
#include <cstring>

using Tessel::Platform::logAlways;
using Tessel::Platform::LogError;
using Tessel::Platform::String;

namespace {

// Settings that are features of the engine: the name it knows each by.
struct Feature {
  WebViewSetting setting;
  const char* name;
  bool WebViewSettings::*value;
};
constexpr Feature features[] = {
    {WebViewSetting::isEnableCookies, "Cookie", &WebViewSettings::isEnableCookies},
    {WebViewSetting::isEnableDNSPrefetch, "LinkDNSPrefetch", &WebViewSettings::isEnableDNSPrefetch},
    {WebViewSetting::isEnableGeolocation, "GeolocationAPI", &WebViewSettings::isEnableGeolocation},
    {WebViewSetting::isEnableWebSockets, "WebSocket", &WebViewSettings::isEnableWebSockets},
};

void setFeature(WebKitSettings* settings, const char* name, bool enabled) {
  static WebKitFeatureList* all = webkit_settings_get_all_features();
  for (gsize i = 0; i < webkit_feature_list_get_length(all); ++i) {
    WebKitFeature* feature = webkit_feature_list_get(all, i);
    if (std::strcmp(webkit_feature_get_identifier(feature), name) != 0) continue;
    webkit_settings_set_feature_enabled(settings, feature, enabled);
    return;
  }
}

const char* nullIfEmpty(const String& text) {
  return text.isEmpty() ? nullptr : text.utf8();
}

// Negative sizes count as 0.
guint sizeOf(int pixels) {
  return pixels > 0 ? static_cast<guint>(pixels) : 0;
}

GdkRGBA colorOf(unsigned int argb) {
  const auto part = [&](unsigned int shift) { return ((argb >> shift) & 0xFF) / 255.0; };
  return {part(16), part(8), part(0), part(24)};
}

// Longer style sheets are taken for a mistake.
constexpr gsize longestStyleSheet = 8u << 20;

}  // namespace

WebKitSettings* PageSettings::make(const WebViewSettings& values) {
  WebKitSettings* settings = webkit_settings_new();
#define SETTING(type, getter, setter, start, property) \
  apply(settings, WebViewSetting::getter, values);
#include "engine/WebViewSettings.def"
  return settings;
}

PageSettings::PageSettings(PageContext& page, WebKitWebView* view)
    : page_(page), view_(view), inputMethods_(webkit_web_view_get_input_method_context(view)) {
  if (inputMethods_) g_object_ref(inputMethods_);
  const WebViewSettings values = page.client()->settings();
  const WebViewSettings defaults;
#define SETTING(type, getter, setter, start, property) \
  if (!(values.getter == defaults.getter)) applyToView(WebViewSetting::getter, values);
#include "engine/WebViewSettings.def"
}

PageSettings::~PageSettings() {
  g_clear_object(&inputMethods_);
}

bool PageSettings::takesUserAgent(const String& text) {
  // The engine refuses what no header can hold as well, but logs a warning.
  const std::string_view bytes = text.view();
  const bool isPlain =
      std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= ' ' && c <= '~'; });
  if (!isPlain || bytes.starts_with(' ') || bytes.ends_with(' ')) return false;
  WebKitSettings* const scratch = webkit_settings_new();
  webkit_settings_set_user_agent(scratch, nullIfEmpty(text));
  const bool taken = text.isEmpty() || text == String(webkit_settings_get_user_agent(scratch));
  g_object_unref(scratch);
  return taken;
}

void PageSettings::changed(WebViewSetting setting) {
  const WebViewSettings& values = page_.client()->settings();
  apply(webkit_web_view_get_settings(view_), setting, values);
  applyToView(setting, values);
}

void PageSettings::apply(WebKitSettings* settings, WebViewSetting setting,
                         const WebViewSettings& values) {
  for (const Feature& feature : features) {
    if (feature.setting == setting) setFeature(settings, feature.name, values.*feature.value);
  }
  switch (setting) {
    case WebViewSetting::isBlockPopups:
      webkit_settings_set_javascript_can_open_windows_automatically(settings,
                                                                    !values.isBlockPopups);
      break;
    case WebViewSetting::isEnableConsoleLogging:
      webkit_settings_set_enable_write_console_messages_to_stdout(settings,
                                                                  values.isEnableConsoleLogging);
      break;
    case WebViewSetting::isEnableJavaScript:
      // The page's own scripts; the program's calls go on.
      webkit_settings_set_enable_javascript_markup(settings, values.isEnableJavaScript);
      break;
    case WebViewSetting::isEnableSpatialNavigation:
      webkit_settings_set_enable_spatial_navigation(settings, values.isEnableSpatialNavigation);
      break;
    case WebViewSetting::isEnableWebContentCache:
      webkit_settings_set_enable_page_cache(settings, values.isEnableWebContentCache);
      break;
    case WebViewSetting::isEnableWebInspector:
      webkit_settings_set_enable_developer_extras(settings, values.isEnableWebInspector);
      break;
    case WebViewSetting::isLoadImages:
      webkit_settings_set_auto_load_images(settings, values.isLoadImages);
      break;
    case WebViewSetting::defaultFontSize:
      webkit_settings_set_default_font_size(settings, sizeOf(values.defaultFontSize));
      break;
    case WebViewSetting::minimumFontSize:
      webkit_settings_set_minimum_font_size(settings, sizeOf(values.minimumFontSize));
      break;
    case WebViewSetting::defaultTextEncoding:
      webkit_settings_set_default_charset(settings, values.defaultTextEncoding.utf8());
      break;
    case WebViewSetting::userAgent:
      // Null brings the engine's own back.
      webkit_settings_set_user_agent(settings, nullIfEmpty(values.userAgent));
      break;
    default:
      break;
  }
}

void PageSettings::applyToView(WebViewSetting setting, const WebViewSettings& values) {
  switch (setting) {
    case WebViewSetting::backgroundColor: {
      const GdkRGBA color = colorOf(values.backgroundColor);
      webkit_web_view_set_background_color(view_, &color);
      break;
    }
    case WebViewSetting::forcedTextEncoding:
      webkit_web_view_set_custom_charset(view_, nullIfEmpty(values.forcedTextEncoding));
      break;
    case WebViewSetting::isEnableInputMethodSupport:
      webkit_web_view_set_input_method_context(
          view_, values.isEnableInputMethodSupport ? inputMethods_ : nullptr);
      break;
    case WebViewSetting::isEnableCrossSiteXHR:
      applyOrigins();
      break;
    case WebViewSetting::isEnableCookies:
      // Its own cookies are a page's feature; those that come with answers are the session's.
      webkit_cookie_manager_set_accept_policy(webkit_website_data_manager_get_cookie_manager(
                                                  webkit_web_view_get_website_data_manager(view_)),
                                              values.isEnableCookies
                                                  ? WEBKIT_COOKIE_POLICY_ACCEPT_NO_THIRD_PARTY
                                                  : WEBKIT_COOKIE_POLICY_ACCEPT_NEVER);
      break;
    case WebViewSetting::isScrolling:
    case WebViewSetting::userStyleSheetLocation:
      applyStyles(values);
      break;
    case WebViewSetting::sensitivity:
      gtk_widget_set_can_focus(GTK_WIDGET(view_),
                               values.sensitivity != OrvWebSensitivity::SensitivityNoFocus);
      break;
    default:
      break;
  }
}

void PageSettings::applyStyles(const WebViewSettings& values) {
  WebKitUserContentManager* manager = webkit_web_view_get_user_content_manager(view_);
  webkit_user_content_manager_remove_all_style_sheets(manager);
  const auto add = [&](const char* text) {
    WebKitUserStyleSheet* sheet =
        webkit_user_style_sheet_new(text, WEBKIT_USER_CONTENT_INJECT_ALL_FRAMES,
                                    WEBKIT_USER_STYLE_LEVEL_USER, nullptr, nullptr);
    webkit_user_content_manager_add_style_sheet(manager, sheet);
    webkit_user_style_sheet_unref(sheet);
  };
  if (!values.isScrolling) add("html, body { overflow: hidden !important; }");
  std::string text;
  if (!values.userStyleSheetLocation.isEmpty() &&
      readStyleSheet(values.userStyleSheetLocation, text)) {
    add(text.c_str());
  }
}

bool PageSettings::readStyleSheet(const String& location, std::string& text) const {
  const auto complain = [&](const char* why) {
    logAlways(LogError, "The style sheet %s is not used: %s.", location.utf8(), why);
    return false;
  };
  const std::string_view address = location.view();
  if (address.starts_with("data:")) {
    const std::size_t comma = address.find(',');
    if (comma == std::string_view::npos) return complain("its address has no data");
    const std::string_view type = address.substr(0, comma);
    gchar* plain = g_uri_unescape_string(location.utf8() + comma + 1, nullptr);
    if (!plain) return complain("its data is not well formed");
    text = plain;
    g_free(plain);
    if (!type.ends_with(";base64")) return true;
    gsize size = 0;
    guchar* decoded = g_base64_decode(text.c_str(), &size);
    text.assign(reinterpret_cast<const char*>(decoded), size);
    g_free(decoded);
    return true;
  }
  GFile* file = nullptr;
  if (address.starts_with("local://")) {
    file = g_file_new_build_filename(page_.services().localRoots.of(address).c_str(),
                                     std::string(pathOf(address)).c_str(), nullptr);
  } else if (address.starts_with("/")) {
    file = g_file_new_for_path(location.utf8());
  } else if (address.starts_with("file:")) {
    file = g_file_new_for_uri(location.utf8());
  } else {
    return complain("it is neither a file of this machine nor a data: address");
  }
  gchar* content = nullptr;
  gsize size = 0;
  GError* error = nullptr;
  const bool read = g_file_load_contents(file, nullptr, &content, &size, nullptr, &error) != FALSE;
  g_object_unref(file);
  if (!read) {
    complain(error->message);
    g_error_free(error);
    return false;
  }
  const bool fits = size <= longestStyleSheet;
  if (fits) text.assign(content, size);
  g_free(content);
  return fits || complain("it is too long");
}

void PageSettings::setAllowedOrigins(std::vector<String> patterns) {
  allowedOrigins_ = std::move(patterns);
  applyOrigins();
}

void PageSettings::applyOrigins() {
  std::vector<String> patterns = allowedOrigins_;
  const bool all = page_.client()->settings().isEnableCrossSiteXHR;
  if (all) patterns = {"*://*/*"};
  for (const String& pattern : appliedOrigins_) {
    if (!all && std::ranges::find(patterns, pattern) == patterns.end()) originsTakenBack_ = true;
  }
  appliedOrigins_ = std::move(patterns);
  std::vector<const char*> list;
  for (const String& pattern : appliedOrigins_) list.push_back(pattern.utf8());
  list.push_back(nullptr);
  webkit_web_view_set_cors_allowlist(view_, list.data());
}

// What the desktop has registered, and opening with it. Main thread.
#include "platform/invocation/Invocation.h"

#include "platform/desktop/NavigatorJson.h"

#include <gio/gio.h>

#include <array>
#include <memory>
#include <string_view>

namespace Tessel::Platform {

namespace {

struct Free {
  void operator()(char* text) const { g_free(text); }
  void operator()(GError* error) const { g_error_free(error); }
  void operator()(gpointer object) const { g_object_unref(object); }
};
using Text = std::unique_ptr<char, Free>;
using File = std::unique_ptr<GFile, Free>;
using AppInfo = std::unique_ptr<GAppInfo, Free>;

constexpr std::size_t mostTargets = 100;

// Opening one of these means running it. Those that are programs by nature come first; of texts,
// only what says of itself how it is started.
constexpr std::array<const char*, 8> refusedTypes{
    "application/x-executable",        "application/x-sharedlib", "application/x-pie-executable",
    "application/x-ms-dos-executable", "application/x-msi",       "application/x-java-archive",
    "application/vnd.appimage",        "application/x-desktop"};

bool isProgram(const char* type) {
  for (const char* refused : refusedTypes) {
    if (g_content_type_is_a(type, refused)) return true;
  }
  // Scripts are texts, too, and are opened as such.
  return g_content_type_can_be_executable(type) && !g_content_type_is_a(type, "text/plain");
}

String readFile(GFile* file, InvokeWish& wish) {
  GError* error = nullptr;
  GFileInfo* info = g_file_query_info(file, G_FILE_ATTRIBUTE_STANDARD_CONTENT_TYPE,
                                      G_FILE_QUERY_INFO_NONE, nullptr, &error);
  if (!info) {
    const std::unique_ptr<GError, Free> owned(error);
    return error->message;
  }
  const char* type = g_file_info_get_content_type(info);
  wish.type = type ? type : "application/octet-stream";
  g_object_unref(info);
  const Text uri(g_file_get_uri(file));
  wish.uri = uri.get();
  return isProgram(wish.type.c_str()) ? String("Programs are not opened") : String();
}

String readAddress(const String& uri, InvokeWish& wish) {
  const Text scheme(g_uri_parse_scheme(uri.utf8()));
  if (!scheme) return "The uri is no address";
  const Text lower(g_ascii_strdown(scheme.get(), -1));
  if (std::string_view(lower.get()) == "file") {
    const File file(g_file_new_for_uri(uri.utf8()));
    return readFile(file.get(), wish);
  }
  wish.uri = uri.toStdString();
  wish.type = std::string("x-scheme-handler/") + lower.get();
  return String();
}

InvokeTarget targetOf(GAppInfo* info) {
  const char* id = g_app_info_get_id(info);
  const char* name = g_app_info_get_display_name(info);
  return {id ? id : "", name ? name : "", false};
}

AppInfo chosen(const InvokeWish& wish) {
  if (wish.target.empty()) {
    return AppInfo(g_app_info_get_default_for_type(wish.type.c_str(), FALSE));
  }
  AppInfo found;
  GList* all = g_app_info_get_all_for_type(wish.type.c_str());
  for (GList* each = all; each && !found; each = each->next) {
    auto* info = static_cast<GAppInfo*>(each->data);
    if (targetOf(info).id == wish.target) found.reset(G_APP_INFO(g_object_ref(info)));
  }
  g_list_free_full(all, g_object_unref);
  return found;
}

}  // namespace

String readInvokeWish(const String& json, InvokeWish& wish) {
  rapidjson::Document document;
  if (!NavigatorJson::parse(json.view(), document) || !document.IsObject()) {
    return "The request is no object of JSON";
  }
  wish.target = NavigatorJson::member(document, "target").toStdString();
  const String uri = NavigatorJson::member(document, "uri");
  const String path = NavigatorJson::member(document, "file");
  const String type = NavigatorJson::member(document, "type");
  if (!uri.isEmpty()) return readAddress(uri, wish);
  if (!path.isEmpty()) {
    if (!path.view().starts_with("/")) return "The file is not named by its whole path";
    const File file(g_file_new_for_path(path.utf8()));
    return readFile(file.get(), wish);
  }
  wish.type = type.toStdString();
  return type.isEmpty() ? String("The request names no uri, file or type") : String();
}

std::vector<InvokeTarget> invokeTargets(const InvokeWish& wish) {
  std::vector<InvokeTarget> targets;
  const AppInfo standard(g_app_info_get_default_for_type(wish.type.c_str(), FALSE));
  if (standard) {
    targets.push_back(targetOf(standard.get()));
    targets.back().isDefault = true;
  }
  GList* all = g_app_info_get_all_for_type(wish.type.c_str());
  for (GList* each = all; each && targets.size() < mostTargets; each = each->next) {
    InvokeTarget target = targetOf(static_cast<GAppInfo*>(each->data));
    if (target.id.empty() || (standard && target.id == targets.front().id)) continue;
    targets.push_back(std::move(target));
  }
  g_list_free_full(all, g_object_unref);
  return targets;
}

String openWith(const InvokeWish& wish, InvokeTarget& opened) {
  if (wish.uri.empty()) return "The request names no uri or file";
  const AppInfo info = chosen(wish);
  if (!info) return concat("No such application is registered for ", wish.type);
  opened = targetOf(info.get());
  // GLib turns addresses of files into paths where the application wants those.
  std::string uri = wish.uri;
  GList uris{uri.data(), nullptr, nullptr};
  GError* error = nullptr;
  if (g_app_info_launch_uris(info.get(), &uris, nullptr, &error)) return String();
  const std::unique_ptr<GError, Free> owned(error);
  return error->message;
}

}  // namespace Tessel::Platform

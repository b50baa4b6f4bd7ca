// The system font, by fontconfig. Main thread.
#include "platform/desktop/FontInfo.h"

#include "platform/base/Log.h"

#include <fontconfig/fontconfig.h>
#include <gio/gio.h>

#include <set>
#include <string>
#include <vector>

namespace Tessel::Platform {

namespace {

// Debounces bursts of changes, as editors and package installations cause them.
constexpr guint settleMilliseconds = 300;
// Bounds the number of watches: font directories may be large.
constexpr std::size_t mostWatched = 256;

std::set<std::string> take(FcStrList* list) {
  std::set<std::string> paths;
  if (!list) return paths;
  while (const FcChar8* path = FcStrListNext(list)) {
    if (paths.size() < mostWatched) paths.insert(reinterpret_cast<const char*>(path));
  }
  FcStrListDone(list);
  return paths;
}

const FcChar8* bytes(const String& text) {
  return reinterpret_cast<const FcChar8*>(text.utf8());
}

String match(const String& family, const String& language) {
  FcPattern* pattern = FcPatternCreate();
  FcPatternAddString(pattern, FC_FAMILY, bytes(family));
  if (!language.isEmpty()) FcPatternAddString(pattern, FC_LANG, bytes(language));
  FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
  FcDefaultSubstitute(pattern);
  FcResult result = FcResultMatch;
  FcPattern* found = FcFontMatch(nullptr, pattern, &result);
  FcPatternDestroy(pattern);
  if (!found) return String();
  FcChar8* name = nullptr;
  String text;
  if (FcPatternGetString(found, FC_FAMILY, 0, &name) == FcResultMatch) {
    text = String(reinterpret_cast<const char*>(name));
  }
  FcPatternDestroy(found);
  return text;
}

}  // namespace

struct FontInfo::Watch {
  std::vector<GFileMonitor*> monitors;
  guint settles = 0;
};

FontInfo& FontInfo::instance() {
  static auto* info = new FontInfo;
  return *info;
}

FontInfo::FontInfo() : family_(match(wish_, String())) {}

String FontInfo::fontFamily(const String& style, const String& language) const {
  if (style.isEmpty() && language.isEmpty()) return family_;
  return match(style.isEmpty() ? wish_ : style, language);
}

void FontInfo::setWish(const String& family, float points) {
  wish_ = family;
  const String resolved = match(wish_, String());
  if (resolved == family_ && points == points_) return;
  onFontInfoChange(resolved, points);
}

void FontInfo::onFontInfoChange(const String& family, float points) {
  family_ = family;
  points_ = points;
  listeners_.forEach(
      [&](FontInfoListener& listener) { listener.onFontInfoChange(family, points); });
}

void FontInfo::watchFiles() {
  if (!watch_) watch_ = std::make_unique<Watch>();
  for (GFileMonitor* monitor : watch_->monitors) g_object_unref(monitor);
  watch_->monitors.clear();
  std::set<std::string> paths = take(FcConfigGetConfigFiles(nullptr));
  paths.merge(take(FcConfigGetFontDirs(nullptr)));
  // Watched even if it does not exist yet: the user's settings may be created there.
  paths.insert(std::string(g_get_user_config_dir()) + "/fontconfig");
  paths.insert(std::string(g_get_user_config_dir()) + "/fontconfig/fonts.conf");
  const auto changed = +[](GFileMonitor*, GFile*, GFile*, GFileMonitorEvent, gpointer self) {
    static_cast<FontInfo*>(self)->filesHaveChanged();
  };
  for (const std::string& path : paths) {
    GFile* file = g_file_new_for_path(path.c_str());
    if (GFileMonitor* monitor = g_file_monitor(file, G_FILE_MONITOR_NONE, nullptr, nullptr)) {
      g_signal_connect(monitor, "changed", G_CALLBACK(changed), this);
      watch_->monitors.push_back(monitor);
    }
    g_object_unref(file);
  }
}

void FontInfo::filesHaveChanged() {
  if (watch_->settles) return;
  watch_->settles = g_timeout_add(
      settleMilliseconds,
      [](gpointer self) -> gboolean {
        static_cast<FontInfo*>(self)->lookAgain();
        return G_SOURCE_REMOVE;
      },
      this);
}

void FontInfo::lookAgain() {
  watch_->settles = 0;
  if (!FcInitReinitialize()) {
    logAlways(LogError, "The fonts have changed, and fontconfig could not read its files again.");
    return;
  }
  watchFiles();
  setWish(wish_, points_);
}

}  // namespace Tessel::Platform

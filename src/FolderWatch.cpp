// Tells when files below a folder change: a monitor of GLib (inotify) for each folder. Main thread.
#include "src/FolderWatch.h"

#include "platform/base/Log.h"

#include <gio/gio.h>

#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

namespace {

// Milliseconds: an editor writes a file in several steps, a tool several files.
constexpr unsigned int settleTime = 150;

bool isWatched(const fs::path& path) {
  const std::string name = path.filename();
  return !name.starts_with(".") && name != "node_modules";
}

std::string pathOf(GFile* file) {
  gchar* const path = file ? g_file_get_path(file) : nullptr;
  std::string text = path ? path : "";
  g_free(path);
  return text;
}

}  // namespace

struct FolderWatch::Callbacks {
  static void onChanged(GFileMonitor* monitor, GFile* file, GFile* other, GFileMonitorEvent event,
                        FolderWatch* self) {
    const bool isRenamed = event == G_FILE_MONITOR_EVENT_RENAMED;
    if (isRenamed || event == G_FILE_MONITOR_EVENT_DELETED ||
        event == G_FILE_MONITOR_EVENT_MOVED_OUT) {
      // Perhaps the monitor's own folder.
      g_object_ref(monitor);
      self->forget(pathOf(file));
      g_object_unref(monitor);
    }
    // What an editor keeps beside a file is hidden, or ends with a tilde.
    const std::string name = pathOf(isRenamed && other ? other : file);
    if (name != self->root_ && (!isWatched(name) || name.ends_with("~"))) return;
    std::error_code ignored;
    if (isRenamed || event == G_FILE_MONITOR_EVENT_CREATED ||
        event == G_FILE_MONITOR_EVENT_MOVED_IN) {
      if (fs::is_directory(fs::symlink_status(name, ignored))) self->add(name);
    }
    self->noteChange();
  }
};

FolderWatch::FolderWatch(std::string folder, std::function<void()> changed)
    : root_(std::move(folder)), changed_(std::move(changed)) {
  add(root_);
}

FolderWatch::~FolderWatch() {
  if (timer_ != 0) g_source_remove(timer_);
  for (const auto& [folder, monitor] : monitors_) {
    g_signal_handlers_disconnect_by_data(monitor, this);
    g_object_unref(monitor);
  }
}

// NOLINTNEXTLINE(misc-no-recursion): mostFolders bounds the depth
void FolderWatch::add(const std::string& folder) {
  if (!monitors_.contains(folder) && !watch(folder)) return;
  std::error_code ignored;
  for (const fs::directory_entry& each : fs::directory_iterator(folder, ignored)) {
    if (each.symlink_status(ignored).type() != fs::file_type::directory) continue;
    if (isWatched(each.path())) add(each.path());
  }
}

bool FolderWatch::watch(const std::string& folder) {
  if (monitors_.size() >= mostFolders) {
    Tessel::Platform::logAlways(Tessel::Platform::LogNotice,
                                "Changes in %s are not seen: there are too many folders.",
                                folder.c_str());
    return false;
  }
  GFile* const file = g_file_new_for_path(folder.c_str());
  GError* error = nullptr;
  GFileMonitor* const monitor =
      g_file_monitor_directory(file, G_FILE_MONITOR_WATCH_MOVES, nullptr, &error);
  g_object_unref(file);
  if (!monitor) {
    Tessel::Platform::logAlways(Tessel::Platform::LogError, "Changes in %s are not seen: %s",
                                folder.c_str(), error->message);
    g_error_free(error);
    return false;
  }
  monitors_.emplace(folder, monitor);
  g_signal_connect(monitor, "changed", G_CALLBACK(Callbacks::onChanged), this);
  return true;
}

void FolderWatch::forget(const std::string& folder) {
  std::erase_if(monitors_, [&](const auto& entry) {
    const auto& [each, monitor] = entry;
    // The first folder's monitor sees when it is there again: tools empty theirs by deleting it.
    const bool goes = each.starts_with(folder + "/") || (each == folder && each != root_);
    if (!goes) return false;
    g_signal_handlers_disconnect_by_data(monitor, this);
    g_object_unref(monitor);
    return true;
  });
}

void FolderWatch::noteChange() {
  if (timer_ != 0) g_source_remove(timer_);
  timer_ = g_timeout_add(
      settleTime,
      [](gpointer data) -> gboolean {
        auto* self = static_cast<FolderWatch*>(data);
        self->timer_ = 0;
        self->changed_();
        return G_SOURCE_REMOVE;
      },
      this);
}

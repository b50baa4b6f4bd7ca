// Tells when files below a folder change. Main thread.
#pragma once

#include <functional>
#include <map>
#include <string>

typedef struct _GFileMonitor GFileMonitor;

class FolderWatch {
 public:
  // Calls `changed` once for changes that come together, a moment after the last of them. Hidden
  // folders and node_modules are left out, as is what lies beyond so many folders; symbolic links
  // are not followed.
  FolderWatch(std::string folder, std::function<void()> changed);
  ~FolderWatch();
  FolderWatch(const FolderWatch&) = delete;
  FolderWatch& operator=(const FolderWatch&) = delete;

  static constexpr std::size_t mostFolders = 512;

 private:
  struct Callbacks;

  void add(const std::string& folder);
  bool watch(const std::string& folder);
  // The folder has gone, and all below it.
  void forget(const std::string& folder);
  void noteChange();

  const std::string root_;
  std::function<void()> changed_;
  std::map<std::string, GFileMonitor*> monitors_;
  unsigned int timer_ = 0;
};

// Viewers: programs of this kind, each with a window and a chrome of its own, that this one has
// opened to show something. Main thread.
//
// Both sides talk by their controls. A viewer knows who opened it as "opener".
#pragma once

#include "platform/base/String.h"

#include <functional>
#include <map>
#include <set>
#include <string>

namespace Tessel::Platform {

class Viewers {
 public:
  static constexpr std::size_t most = 8;
  // In a viewer's environment: the process that opened it, what it is called there, and the JSON
  // that it was asked to show.
  static constexpr const char* openerVariable = "PAGEHOST_VIEWER_OF";
  static constexpr const char* nameVariable = "PAGEHOST_VIEWER_NAME";
  static constexpr const char* requestVariable = "PAGEHOST_INVOKE_REQUEST";
  static constexpr const char* opener = "opener";

  using Stopped = std::function<void(const String& viewer)>;
  using Relayed = std::function<void(const String& viewer, const String& problem)>;

  // The program is this one's own unless it is named.
  Viewers(Stopped stopped, Relayed relayed, std::string program = "/proc/self/exe");
  ~Viewers();
  Viewers(const Viewers&) = delete;
  Viewers& operator=(const Viewers&) = delete;

  // Opens a viewer on an address. The problem, else nothing.
  String open(const String& viewer, const String& uri, const String& request);
  // Ends it as closing its window does; others are ignored.
  void close(const String& viewer);
  // Has its chrome, or the opener's, hear onViewerRelay; whether it did is told later.
  void relay(const String& viewer, const String& message);

 private:
  struct Viewer {
    int pid;
    unsigned watch;
  };
  struct Call;
  int pidOf(const String& viewer, String& calledThere) const;

  const Stopped stopped_;
  const Relayed relayed_;
  const std::string program_;
  std::map<String, Viewer> viewers_;
  std::set<Call*> calls_;  // owned; those that wait for an answer
};

}  // namespace Tessel::Platform

// Detects scripts of a page that do not end. Main thread.
//
// The page's process is asked, over the link, whether its main loop runs; while a script goes on it
// does not. Only pages with a time limit are asked, a few times a second at most.
#pragma once

#include <webkit2/webkit2.h>

#include <memory>

class PageContext;

class HangMonitor {
 public:
  HangMonitor(PageContext& page, WebKitWebView* view);
  ~HangMonitor();
  HangMonitor(const HangMonitor&) = delete;
  HangMonitor& operator=(const HangMonitor&) = delete;

  // The page has another time limit, in milliseconds; none below 1.
  void limitChanged();
  // The page's process has answered.
  void alive();
  // The page waits for the user: not counted until its process answers again.
  void pause();
  // The same, and ends at the latest when the last copy of what it gives back is gone.
  std::shared_ptr<void> pauseFor();
  // Whether a script goes on that JavaScriptInterrupted was raised for.
  bool isStuck() const { return stuck_; }
  void processEnded();
  // Terminates the page's process with the script, and so the pages that share it.
  void endProcess();

 private:
  static gboolean onTick(gpointer self);
  void tick();
  void goOn();

  PageContext& page_;
  WebKitWebView* view_;
  guint timer_ = 0;
  int limit_ = 0;
  int interval_ = 0;
  // In timer ticks, not by the clock: while this process was busy, an answer may have arrived that
  // is not read yet.
  int waited_ = 0;
  bool asked_ = false;
  bool paused_ = false;
  bool askedSincePause_ = false;
  bool stuck_ = false;
};

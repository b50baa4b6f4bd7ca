// What one process of the program is set to. UI thread, but for instance().
#pragma once

#include "platform/base/Geometry.h"
#include "platform/base/String.h"
#include "platform/os/PageSandbox.h"

namespace Tessel::Platform {

class Settings {
 public:
  // Created on first use, by any thread; never destroyed.
  static Settings& instance();

  // True in the process that runs the chrome: its main loop ends with its last web view.
  bool isChromeProcess() const { return chromeProcess_; }
  void setChromeProcess(bool chromeProcess) { chromeProcess_ = chromeProcess; }

  // Pixels; the window is created with it and keeps it up to date. 1280 by 800 until set.
  IntSize applicationSize() const { return applicationSize_; }
  void setApplicationSize(IntSize size) { applicationSize_ = size; }

  // Names the folder that holds this process's web data (claimDataFolder).
  const String& applicationSandbox() const { return applicationSandbox_; }
  void setApplicationSandbox(const String& name) { applicationSandbox_ = name; }

  // What confines the web processes of this process; None before the engine has started.
  PageSandbox pageSandbox() const { return pageSandbox_; }
  void setPageSandbox(PageSandbox sandbox) { pageSandbox_ = sandbox; }

  // Only stored and returned; the toolkit chooses its own buffering.
  int numberOfBackingStoreFrontBuffers() const { return frontBuffers_; }
  void setNumberOfBackingStoreFrontBuffers(int count) { frontBuffers_ = count; }

  // One rectangle for the whole process, whichever web view it was set through.
  IntRect layerTilerPrefillRect() const { return prefillRect_; }
  void setLayerTilerPrefillRect(IntRect rect) { prefillRect_ = rect; }

 private:
  Settings() = default;

  bool chromeProcess_ = false;
  IntSize applicationSize_{1280, 800};
  String applicationSandbox_;
  PageSandbox pageSandbox_ = PageSandbox::None;
  int frontBuffers_ = 0;
  IntRect prefillRect_;
};

}  // namespace Tessel::Platform

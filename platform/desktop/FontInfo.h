// The system font: its family as fontconfig resolves it, and its size. Main thread.
#pragma once

#include "platform/base/ListenerList.h"
#include "platform/desktop/Listeners.h"

#include <memory>

namespace Tessel::Platform {

class FontInfo final : public FontInfoListener {
 public:
  // Created on first use; never destroyed.
  static FontInfo& instance();

  // The family that fontconfig resolves for a style ("serif", "monospace", a family name) and a
  // language ("de"). With both empty, the system font. Empty if no fonts are installed.
  String fontFamily(const String& style, const String& language) const;
  // Size of the system font, in points.
  float fontSize() const { return points_; }

  // Not owned.
  void addListener(FontInfoListener* listener) { listeners_.add(listener); }
  void removeListener(FontInfoListener* listener) { listeners_.remove(listener); }

  // The font the desktop configures, such as "Sans" and 10; listeners are told if it changes.
  void setWish(const String& family, float points);
  // Starts watching for changes of fonts and fontconfig files. Needs the main loop.
  void watchFiles();
  // Stores the values as the system font and notifies the listeners.
  void onFontInfoChange(const String& family, float points) override;

 private:
  struct Watch;
  FontInfo();
  void filesHaveChanged();
  void lookAgain();

  String wish_ = "sans-serif";
  String family_;
  float points_ = 10;
  ListenerList<FontInfoListener> listeners_;
  std::unique_ptr<Watch> watch_;
};

}  // namespace Tessel::Platform

// The system's font: its family as fontconfig resolves it, and its size. Main thread.
#pragma once

#include "platform/base/ListenerList.h"
#include "platform/desktop/Listeners.h"

#include <memory>

namespace Tessel::Platform {

class FontInfo final : public FontInfoListener {
 public:
  // Created on first use; never destroyed.
  static FontInfo& instance();

  // The family that text of that style ("serif", "monospace", the name of a family) and language
  // ("de") is shown in. Both empty: the system's font. Empty when there are no fonts at all.
  String fontFamily(const String& style, const String& language) const;
  // Of the system's font, in points.
  float fontSize() const { return points_; }

  // Not owned.
  void addListener(FontInfoListener* listener) { listeners_.add(listener); }
  void removeListener(FontInfoListener* listener) { listeners_.remove(listener); }

  // What the desktop wishes, such as "Sans" and 10; told on when it is a change.
  void setWish(const String& family, float points);
  // Notices from now on when fonts or fontconfig's files change. Needs the main loop.
  void watchFiles();
  // Takes the values over as the system's font and tells the listeners.
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

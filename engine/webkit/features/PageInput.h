// The keyboard, the pointer and fingers in a page, and the text that is typed there. Main thread.
#pragma once

#include "engine/OrvWebEvents.h"
#include "engine/webkit/base/ObjectPointer.h"
#include "engine/webkit/features/InputMethod.h"

#include <webkit2/webkit2.h>

#include <bitset>
#include <optional>

class PageContext;

// Gives the view its input method.
class PageInput final : public InputMethodClient {
 public:
  PageInput(PageContext& page, WebKitWebView* view);
  ~PageInput() override;

  // The page did not handle the last arrow key.
  void keyLeft();

  bool textFocused() override;
  void textUnfocused() override;
  void caretMoved(int position, int anchor) override;
  void textCommitted(int characters) override;
  void compositionEnded() override;

 private:
  static gboolean onFocus(GtkWidget*, GdkEventFocus* event, PageInput* self);
  static gboolean onPointer(GtkWidget*, GdkEvent* event, PageInput* self);
  static gboolean onTouch(GtkWidget*, GdkEvent* event, PageInput* self);
  static gboolean onKey(GtkWidget*, GdkEventKey* event, PageInput* self);
  static gboolean onKeyLeft(GtkWidget*, GdkEventKey* event, PageInput* self);
  static void onMoveFocus(GtkWindow* window, GtkDirectionType, PageInput* self);

  bool wantsNotification(OrvWebEvent::Type type) const;
  bool notifyOfKey(const GdkEventKey& event, bool isRepeated);
  void notify(OrvWebInputNotification what);

  PageContext& page_;
  WebKitWebView* view_;
  ObjectPointer<WebKitInputMethodContext> method_;
  bool takesText_ = false;  // the focused element accepts text
  int commits_ = 0;         // committed texts that the caret has not passed yet
  int committedEnd_ = 0;    // where it will be
  int position_ = 0;        // of the caret, when it was last told
  int anchor_ = 0;
  std::optional<OrvWebUnhandledKeyInputEvent> arrow_;  // pressed together with Alt
  std::bitset<256> heldKeys_;  // by the numbers that the keyboard has for them
};

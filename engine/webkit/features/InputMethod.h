// The user's input method for one engine view: the toolkit's, with a client that observes what
// passes between it and the page. Main thread.
#pragma once

#include <webkit2/webkit2.h>

// Hears of text input. Places are counted in characters, within the text around the caret that the
// engine tells of.
class InputMethodClient {
 public:
  InputMethodClient() = default;
  virtual ~InputMethodClient() = default;
  InputMethodClient(const InputMethodClient&) = delete;
  InputMethodClient& operator=(const InputMethodClient&) = delete;

  // Something that takes text has the keyboard, or has it no more. False keeps the input method
  // from coming up: what is typed with the keys arrives all the same.
  virtual bool textFocused() = 0;
  virtual void textUnfocused() = 0;
  // The caret, and the other end of what is selected: the same place when nothing is.
  virtual void caretMoved(int position, int anchor) = 0;
  virtual void textCommitted(int characters) = 0;
  virtual void compositionEnded() = 0;
};

// An input method for that view, which must be alive as long as it is used there. The caller owns
// the reference. The client hears of it until it is taken away by null.
WebKitInputMethodContext* inputMethodNew(GtkWidget* view);
void inputMethodSetClient(WebKitInputMethodContext* method, InputMethodClient* client);

// The native functions "ccl.*": the chrome's way to the analytics client. UI thread only.
#pragma once

#include "platform/ccl/Ccl.h"

#include <optional>

// Keeps the client and the keys of the events to come. It starts no thread and holds nothing open,
// so that it can be made before the process forks.
class CclBinding {
 public:
  // Created on first use, never destroyed; registers the functions.
  static CclBinding& instance();

  // The functions, by the names that the chrome has for them. What they return is a CclCode, but
  // for init, which says whether there is a client now.
  int init(const char* application, const char* version);
  int shutdown();
  int setCCLEnabled(std::optional<bool> enabled);
  int isCCLEnabled() { return ccl_is_ccl_enabled(client_); }

  int onApplicationStart() { return ccl_onapplication_start(client_, keys_); }
  int onApplicationEnd() { return ccl_onapplication_end(client_, keys_); }
  int onApplicationForeground() { return ccl_onapplication_foreground(client_, keys_); }
  int onApplicationBackground() { return ccl_onapplication_background(client_, keys_); }
  int onApplicationError() { return ccl_onapplication_error(client_, keys_); }
  int onButtonClick() { return ccl_onbutton_click(client_, keys_); }
  int onContentView() { return ccl_oncontent_view(client_, keys_); }

  using OptionalText = std::optional<const char*>;
  int onSearchEvent(OptionalText text) { return withText(ccl_onsearch_event, text); }
  int onActivityStart(OptionalText text) { return withText(ccl_onactivity_start, text); }
  int onActivityEnd(OptionalText text) { return withText(ccl_onactivity_end, text); }
  int onActivityPause(OptionalText text) { return withText(ccl_onactivity_pause, text); }
  int onAdClickEvent(OptionalText text) { return withText(ccl_onadclick_event, text); }
  int onConversionEvent(OptionalText text) { return withText(ccl_onconversion_event, text); }
  int onCustomEvent(const char* name) { return ccl_oncustom_event(client_, name, keys_); }

  void eventKeysCreate();
  int eventKeysAdd(const char* key, const char* value, bool recorded, bool kept);
  void eventKeysDelete();
  void eventKeysPrint();

 private:
  using EventWithText = int(CclClient* client, const CclEventKeys* keys, const char* text);

  CclBinding();
  int withText(EventWithText* event, OptionalText text) {
    return event(client_, keys_, text.value_or(nullptr));
  }

  // Null when not initialised, and when there are none.
  CclClient* client_ = nullptr;
  CclEventKeys* keys_ = nullptr;
};

// The settings of a web view and the state of its page as plain structures, made from their
// tables. UI thread.
#pragma once

#include "engine/Enumerations.h"
#include "engine/OrvWebEvent.h"
#include "engine/Records.h"
#include "engine/SecurityRecords.h"
#include "platform/base/String.h"

struct WebViewSettings {
#define SETTING(type, getter, setter, start, property) type getter = start;
#include "engine/WebViewSettings.def"
};

// Names a setting; the names are those of the getters.
enum class WebViewSetting : int {
#define SETTING(type, getter, setter, start, property) getter,
#include "engine/WebViewSettings.def"
};

struct PageState {
#define STATE(type, getter, start, property) type getter = start;
#include "engine/PageState.def"
};

// The property that reports a change of a member of PageState.
template <auto Member>
inline constexpr auto statePropertyOf = OrvWebPropertyChangedEvent::PropertyMax;
#define STATE(type, getter, start, property)                  \
  template <>                                                 \
  inline constexpr auto statePropertyOf<&PageState::getter> = \
      OrvWebPropertyChangedEvent::property;
#include "engine/PageState.def"

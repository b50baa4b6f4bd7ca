// The native functions "ccl.*". UI thread only.
#include "bindings/CclBinding.h"

#include "registry/BindingManager.h"
#include "webview/WebViewManager.h"

#include <array>
#include <cstring>
#include <optional>
#include <utility>

using Tessel::Platform::String;

namespace {

// One call: what its function works on, and what it was given.
struct Call {
  CclBinding& binding;
  const OrvWebJavaScriptCallbackEvent& event;

  // From 1; null when it was not given.
  const char* argument(unsigned int index) const {
    if (index >= event.numArgs()) return nullptr;
    const char* text = event.args()[index];
    return text ? text : "";
  }
  bool is(unsigned int index, const char* text) const {
    const char* given = argument(index);
    return given && std::strcmp(given, text) == 0;
  }
};

// What the chrome gets, if anything.
using Result = std::optional<int>;

Result initialize(Call& call) {
  CclClient*& client = call.binding.client;
  if (!client) client = ccl_init(call.argument(1), call.argument(2));
  return client ? 1 : 0;
}

Result deleteKeys(Call& call) {
  if (CclEventKeys* keys = std::exchange(call.binding.keys, nullptr)) ccl_event_keys_delete(keys);
  return {};
}

Result shutDown(Call& call) {
  deleteKeys(call);
  return ccl_shutdown(std::exchange(call.binding.client, nullptr));
}

Result setEnabled(Call& call) {
  const int wish = call.is(1, "true") ? 1 : -1;
  return ccl_set_ccl_enabled(call.binding.client, call.is(1, "false") ? 0 : wish);
}

Result createKeys(Call& call) {
  deleteKeys(call);
  call.binding.keys = ccl_event_keys_create();
  return {};
}

unsigned short keyFlags(const Call& call) {
  if (!call.argument(3)) return CclKeyRecorded | CclKeyKept;
  if (call.is(3, "false")) return 0;
  return call.is(4, "false") ? CclKeyRecorded : CclKeyRecorded | CclKeyKept;
}

Result addKey(Call& call) {
  if (!call.binding.keys) {
    WebViewManager::instance().informChromeOfError(
        "eventKeysCreate() should be called before eventKeysAdd()");
    return CclNoKeys;
  }
  return ccl_event_keys_add(call.binding.keys, call.argument(1), call.argument(2), keyFlags(call));
}

Result printKeys(Call& call) {
  if (call.binding.keys) ccl_event_keys_print(call.binding.keys);
  return {};
}

template <auto function>
Result event(Call& call) {
  return function(call.binding.client, call.binding.keys);
}

template <auto function>
Result eventWithText(Call& call) {
  return function(call.binding.client, call.binding.keys, call.argument(1));
}

struct Row {
  const char* name;
  // How errors name it, and how many arguments it takes with its name; null when nobody counts.
  const char* internalName;
  int required;
  int maximum;
  Result (*run)(Call& call);
};

constexpr std::array rows{
    Row{"ccl.init", "jsInit", 3, -1, initialize},
    Row{"ccl.shutdown", nullptr, 0, -1, shutDown},
    Row{"ccl.setCCLEnabled", "jsSetCCLEnabled", 2, -1, setEnabled},
    Row{"ccl.isCCLEnabled", nullptr, 0, -1,
        [](Call& call) -> Result { return ccl_is_ccl_enabled(call.binding.client); }},
    Row{"ccl.onApplicationStart", nullptr, 0, -1, event<ccl_onapplication_start>},
    Row{"ccl.onApplicationEnd", nullptr, 0, -1, event<ccl_onapplication_end>},
    Row{"ccl.onApplicationForeground", nullptr, 0, -1, event<ccl_onapplication_foreground>},
    Row{"ccl.onApplicationBackground", nullptr, 0, -1, event<ccl_onapplication_background>},
    Row{"ccl.onApplicationError", nullptr, 0, -1, event<ccl_onapplication_error>},
    Row{"ccl.onButtonClick", nullptr, 0, -1, event<ccl_onbutton_click>},
    Row{"ccl.onSearchEvent", "jsOnSearchEvent", 1, 2, eventWithText<ccl_onsearch_event>},
    Row{"ccl.onContentView", nullptr, 0, -1, event<ccl_oncontent_view>},
    Row{"ccl.onActivityStart", "jsOnActivityStart", 1, 2, eventWithText<ccl_onactivity_start>},
    Row{"ccl.onActivityEnd", "jsOnActivityEnd", 1, 2, eventWithText<ccl_onactivity_end>},
    Row{"ccl.onActivityPause", "jsOnActivityPause", 1, 2, eventWithText<ccl_onactivity_pause>},
    Row{"ccl.onAdClickEvent", "jsOnAdClickEvent", 1, 2, eventWithText<ccl_onadclick_event>},
    Row{"ccl.onConversionEvent", "jsOnConversionEvent", 1, 2,
        eventWithText<ccl_onconversion_event>},
    Row{"ccl.onCustomEvent", "jsOnCustomEvent", 2, -1,
        [](Call& call) -> Result {
          return ccl_oncustom_event(call.binding.client, call.argument(1), call.binding.keys);
        }},
    Row{"ccl.eventKeysCreate", nullptr, 0, -1, createKeys},
    Row{"ccl.eventKeysAdd", "jsEventKeysAdd", 3, 5, addKey},
    Row{"ccl.eventKeysDelete", nullptr, 0, -1, deleteKeys},
    Row{"ccl.eventKeysPrint", nullptr, 0, -1, printKeys},
};

template <std::size_t index>
void handle(OrvWebJavaScriptCallbackEvent* event) {
  constexpr const Row& row = rows[index];
  if (row.internalName &&
      BindingManager::checkArgumentCount(static_cast<int>(event->numArgs()), row.required,
                                         row.internalName, row.maximum)) {
    return;
  }
  Call call{CclBinding::instance(), *event};
  if (const Result result = row.run(call)) {
    event->setResult(String::fromSignedInteger(*result));
  }
}

template <std::size_t... indices>
void registerAll(std::index_sequence<indices...>) {
  (BindingManager::instance().registerBinding(rows[indices].name, handle<indices>), ...);
}

}  // namespace

CclBinding& CclBinding::instance() {
  static auto* binding = new CclBinding;
  return *binding;
}

CclBinding::CclBinding() {
  registerAll(std::make_index_sequence<rows.size()>());
}

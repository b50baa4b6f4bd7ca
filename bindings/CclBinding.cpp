// The native functions "ccl.*". UI thread only.
#include "bindings/CclBinding.h"

#include "registry/NativeFunctions.h"
#include "webview/WebViewManager.h"

#include <utility>

CclBinding& CclBinding::instance() {
  static auto* binding = new CclBinding;
  return *binding;
}

CclBinding::CclBinding() {
  arguments::registerFunctions<"CclBinding", CclBinding>(BindingManager::instance());
}

int CclBinding::init(const char* application, const char* version) {
  if (!client_) client_ = ccl_init(application, version);
  return client_ ? 1 : 0;
}

int CclBinding::shutdown() {
  eventKeysDelete();
  return ccl_shutdown(std::exchange(client_, nullptr));
}

int CclBinding::setCCLEnabled(std::optional<bool> enabled) {
  constexpr int neither = -1;
  return ccl_set_ccl_enabled(client_, enabled ? static_cast<int>(*enabled) : neither);
}

void CclBinding::eventKeysCreate() {
  eventKeysDelete();
  keys_ = ccl_event_keys_create();
}

int CclBinding::eventKeysAdd(const char* key, const char* value, bool recorded, bool kept) {
  if (!keys_) {
    WebViewManager::instance().informChromeOfError(
        "eventKeysCreate() should be called before eventKeysAdd()");
    return CclNoKeys;
  }
  const int keptToo = kept ? CclKeyRecorded | CclKeyKept : CclKeyRecorded;
  return ccl_event_keys_add(keys_, key, value, static_cast<unsigned short>(recorded ? keptToo : 0));
}

void CclBinding::eventKeysDelete() {
  if (CclEventKeys* keys = std::exchange(keys_, nullptr)) ccl_event_keys_delete(keys);
}

void CclBinding::eventKeysPrint() {
  if (keys_) ccl_event_keys_print(keys_);
}

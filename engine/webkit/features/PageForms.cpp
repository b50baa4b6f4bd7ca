// The forms of a page. Main thread.
#include "engine/webkit/features/PageForms.h"

#include "engine/OrvWebEvents.h"
#include "engine/autofill/FormHistory.h"
#include "engine/webkit/base/EngineValues.h"
#include "engine/webkit/base/PageContext.h"
#include "engine/webkit/features/PagePrompts.h"

#include <algorithm>
#include <utility>

using Tessel::Platform::String;

namespace {

// Log-ins belong to servers: no other origin can have any.
bool isOfServer(const String& origin) {
  return origin.view().starts_with("https://") || origin.view().starts_with("http://");
}

}  // namespace

PageForms::PageForms(PageContext& page, PagePrompts& prompts, WebKitWebView* view)
    : page_(page), prompts_(prompts), view_(view) {
  g_signal_connect(view_, "load-changed", G_CALLBACK(onLoadChanged), this);
}

PageForms::~PageForms() {
  g_signal_handlers_disconnect_by_data(view_, this);
}

void PageForms::fieldText(const String& name, const String& beginning) {
  if (isForgetful(view_) || !page_.client()->settings().isEnableFormAutofill ||
      !page_.wants(OrvWebEvent::FormAutofillRequestEvent)) {
    return;
  }
  auto items = page_.services().formHistory.offered(name, beginning);
  if (items.empty()) return endOffer();
  if (offering_ && items == offered_) return;
  offering_ = true;
  offered_ = items;
  const auto page = page_.shared_from_this();
  const auto life = page->viewLife();
  OrvWebFormAutofillRequestEvent event;
  event.items = std::move(items);
  page->raise(event);
  // If prevented, no list is shown, so that none has to be cancelled.
  if (event.isPreventDefault() && !life.expired()) offering_ = false;
}

void PageForms::endOffer() {
  offered_.clear();
  if (std::exchange(offering_, false)) {
    const auto page = page_.shared_from_this();
    page->raise(OrvWebEvent::FormAutofillCancelEvent);
  }
}

void PageForms::fill(const String& text) {
  if (offering_) page_.act(PageAction::fillText, {text});
}

void PageForms::typed(const std::vector<JavaScriptVariant>& details) {
  if (isForgetful(view_) || !page_.client()->settings().isEnableFormAutofill) return;
  std::vector<std::pair<String, String>> texts;
  for (std::size_t i = 0; i + 1 < details.size(); i += 2) {
    texts.emplace_back(details[i].stringValue(), details[i + 1].stringValue());
  }
  page_.services().formHistory.remember(texts);
}

bool PageForms::savesLogins() const {
  return !isForgetful(view_) && page_.client()->settings().isEnableCredentialAutofill;
}

void PageForms::loginForm(const String& origin, const String& username) {
  if (!savesLogins()) return;
  // A document may report before the engine reports its commit; its own claim of an origin is not
  // enough to give it a password.
  if (origin != originOf(page_.loadControl().shownAddress())) {
    waitingOrigin_ = origin;
    return;
  }
  fillLogin(origin, username);
}

void PageForms::fillLogin(const String& origin, const String& username) {
  if (!isOfServer(origin)) return;
  for (const SavedLogin& login : page_.services().passwords.of(origin)) {
    if (!username.isEmpty() && login.username != username) continue;
    return page_.act(PageAction::fillLogin, {origin, login.username, login.password});
  }
}

void PageForms::loginSent(const SavedLogin& login) {
  if (!savesLogins() || !isOfServer(login.place) ||
      login.place != originOf(page_.loadControl().shownAddress()))
    return;
  prompts_.offerToSave(login);
}

void PageForms::onLoadChanged(WebKitWebView*, WebKitLoadEvent event, PageForms* self) {
  if (event != WEBKIT_LOAD_COMMITTED) return;
  const auto page = self->page_.shared_from_this();
  const String waiting = std::exchange(self->waitingOrigin_, String());
  if (page->client() && self->savesLogins() && !waiting.isEmpty() &&
      waiting == originOf(page->loadControl().shownAddress())) {
    self->fillLogin(waiting, String());
  }
  self->endOffer();
}

// The reports of the module in a web process. Main thread.
#include "engine/webkit/PageReports.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/PageLoad.h"
#include "engine/webkit/PageParts.h"
#include "engine/webkit/WebKitPage.h"
#include "platform/base/ErrorReport.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>
#include <utility>

using link_protocol::ReportKind;
using link_protocol::Watched;
using Tessel::Platform::concat;
using Tessel::Platform::reportError;
using Tessel::Platform::String;

namespace {

// Reads a report's details; missing ones read as empty.
class Details {
 public:
  explicit Details(const std::vector<JavaScriptVariant>& values) : values_(values) {}

  String text(std::size_t index) const {
    return index < values_.size() ? values_[index].stringValue() : String();
  }
  double number(std::size_t index) const {
    return index < values_.size() ? values_[index].numberValue() : 0;
  }
  int integer(std::size_t index) const {
    constexpr double largest = std::numeric_limits<int>::max();
    const double value = number(index);
    return std::isfinite(value) ? static_cast<int>(std::clamp(value, -largest, largest)) : 0;
  }
  bool flag(std::size_t index) const {
    return index < values_.size() && values_[index].booleanValue();
  }
  const std::vector<JavaScriptVariant>& values() const { return values_; }

 private:
  const std::vector<JavaScriptVariant>& values_;
};

// Reads a detail by the type of its target.
void read(const Details& details, std::size_t index, String& value) {
  value = details.text(index);
}
void read(const Details& details, std::size_t index, int& value) {
  value = details.integer(index);
}
void read(const Details& details, std::size_t index, bool& value) {
  value = details.flag(index);
}
void read(const Details& details, std::size_t, OrvWebPoint& value) {
  value = {details.integer(0), details.integer(1)};
}
template <typename T>
void read(const Details& details, std::size_t index, ValueField<T>& field) {
  T value{};
  read(details, index, value);
  field = value;
}

// An event without details.
template <OrvWebEvent::Type Type>
String raise(WebKitPage& page) {
  page.raise(Type);
  return {};
}

// An event whose fields are the report's details, in their order.
template <typename Event, auto... Fields>
String raiseEvent(WebKitPage& page, const Details& details) {
  Event event;
  std::size_t index = 0;
  (read(details, index++, event.*Fields), ...);
  page.raise(event);
  return {};
}

// A piece of state whose value is the report's.
template <auto Member>
String update(WebKitPage& page, const Details& details) {
  std::remove_cvref_t<decltype(PageState().*Member)> value{};
  read(details, 0, value);
  page.update<Member>(value);
  return {};
}

String onFunctionResult(WebKitPage& page, const Details& details) {
  if (details.values().size() != 2) return {};
  OrvWebJavaScriptFunctionResultEvent event;
  event.resultId = details.text(0);
  event.result = details.values()[1];
  page.raise(event);
  return {};
}

// A text, a file and a line; what was no script's has no line, or no file either.
String onProblem(WebKitPage& page, const Details& details) {
  if (!page.client() || !page.drivesApplication() || details.values().size() != 3) return {};
  const double line = details.values()[2].numberValue();
  String place = details.text(1);
  if (!place.isEmpty() && line > 0) place = concat(place, ":", String::fromNumber(line));
  page.client()->problem(place.isEmpty() ? details.text(0) : concat(place, ": ", details.text(0)));
  return {};
}

String onWindowObjectCleared(WebKitPage& page) {
  OrvWebJavaScriptWindowObjectClearedEvent event;
  page.raise(event);
  return event.script();
}

String onResource(WebKitPage& page, const Details& details) {
  // The chrome would wait for itself; and content that was supplied needs no decision.
  if (!page.client() || page.drivesApplication() || page.loads().isSupplied(details.text(0))) {
    return {};
  }
  return page.services().resources.decide(
      page.shared_from_this(),
      {details.text(0), details.text(1), details.text(2), details.text(3)});
}

// A message of the page, or its answer, was too large for the link.
String onOversized(const Details& details) {
  constexpr std::size_t longestName = 200;
  reportError(concat("A message of a page is too large and is dropped: \"",
                     details.text(0).view().substr(0, longestName), "\", ",
                     String::fromNumber(details.number(1)), " bytes."));
  return {};
}

String onContent(WebKitPage& page, const Details& details) {
  page.update<&PageState::contentRectangle>(
      OrvWebRect{0, 0, details.integer(0), details.integer(1)});
  return {};
}

String onPinch(WebKitPage& page, const Details& details) {
  const double factor = details.number(0);
  if (std::isfinite(factor) && factor > 0) page.setPinch(factor);
  return {};
}

String onRendered(WebKitPage& page, const Details& details) {
  OrvWebContentRenderedEvent event;
  event.contentX = details.integer(0);
  event.contentY = details.integer(1);
  event.content =
      OrvWebRect{details.integer(0), details.integer(1), details.integer(2), details.integer(3)};
  event.contentWidth = details.integer(4);
  event.contentHeight = details.integer(5);
  page.raise(event);
  return {};
}

String onElement(WebKitPage& page, const Details& details) {
  if (!page.client()) return {};
  const OrvWebContext before = page.client()->pageState().currentContext;
  OrvWebContext context = before;
  std::size_t index = 0;
  const auto take = [&](auto&... fields) { (read(details, index++, fields), ...); };
  take(context.alt, context.isAudio, context.isFocusable, context.isPassword, context.isSingleLine,
       context.isVideo, context.mimeType, context.pattern, context.text);
  const bool wasAsked = details.flag(index);
  if (wasAsked && context == before) {
    page.propertyChanged(OrvWebPropertyChangedEvent::CurrentContext);
  }
  page.update<&PageState::currentContext>(context);
  return {};
}

String onKeyLeft(WebKitPage& page) {
  if (page.parts()) page.parts()->input.keyLeft();
  return {};
}

String onMayCall(WebKitPage& page, const Details& details) {
  return page.loads().trustedLoads().admits(details.text(0)) ? "1" : "";
}

String onAlive(WebKitPage& page) {
  if (page.parts()) page.parts()->hangMonitor.alive();
  if (page.client()) page.client()->alive();
  return {};
}

String onWidth(WebKitPage& page, const Details& details) {
  if (page.parts()) page.parts()->fit.measured(details.integer(0), details.integer(1));
  return {};
}

template <typename... Parameters>
String onForms(WebKitPage& page, void (PageForms::*handle)(Parameters...),
               const std::type_identity_t<Parameters>&... details) {
  if (page.parts() && page.client()) (page.parts()->forms.*handle)(details...);
  return {};
}

String onVideoFullScreen(WebKitPage& page, const Details& details) {
  if (page.parts()) page.parts()->fullScreen.videoChanged(details.flag(0), details.text(1));
  return {};
}

String onLockOrientation(WebKitPage& page, const Details& details) {
  return page.parts() ? page.parts()->apis.lockOrientation(details.flag(0)) : String();
}

String onUnlockOrientation(WebKitPage& page) {
  if (page.parts()) page.parts()->apis.unlockOrientation();
  return {};
}

String onProtocolHandler(WebKitPage& page, OrvWebProtocolHandlerType what, const Details& details) {
  if (!page.parts()) return {};
  return page.parts()->apis.protocolHandler(
      what, {details.text(0), details.text(1), details.text(2), details.text(3)});
}

String onIsSearchProviderInstalled(WebKitPage& page, const Details& details) {
  if (!page.parts()) return {};
  return String(std::to_string(page.parts()->apis.isSearchProviderInstalled(details.text(0))));
}

constexpr std::pair<Watched, OrvWebEvent::Type> watchedEvents[] = {
    {Watched::WindowObjectCleared, OrvWebEvent::JavaScriptWindowObjectCleared},
    {Watched::Selection, OrvWebEvent::SelectionChanged},
    {Watched::Caret, OrvWebEvent::CaretChanged},
    {Watched::Rendering, OrvWebEvent::ContentRendered},
    {Watched::Clipboard, OrvWebEvent::ClipboardWrite},
    {Watched::Clipboard, OrvWebEvent::ClipboardRead},
    {Watched::FormControls, OrvWebEvent::FormControlEvent},
    {Watched::Keys, OrvWebEvent::UnhandledKeyInput},
};

}  // namespace

String handleReport(WebKitPage& page, const link_protocol::PageReport& report) {
  using Caret = OrvWebCaretChangedEvent;
  using Selection = OrvWebSelectionChangedEvent;
  using Exception = OrvWebJavaScriptExceptionEvent;
  using Control = OrvWebFormControlEvent;
  using Handlers = OrvWebProtocolHandlerType;
  using SearchProvider = OrvWebAddSearchProviderRequestEvent;
  const Details details(report.details);
  switch (report.kind) {
    case ReportKind::scrolled:
      return update<&PageState::scrollPosition>(page, details);
    case ReportKind::content:
      return onContent(page, details);
    case ReportKind::encoding:
      return update<&PageState::textEncoding>(page, details);
    case ReportKind::pinch:
      return onPinch(page, details);
    case ReportKind::rendered:
      return onRendered(page, details);
    case ReportKind::tooltip:
      return update<&PageState::tooltip>(page, details);
    case ReportKind::element:
      return onElement(page, details);
    case ReportKind::caret:
      return raiseEvent<Caret, &Caret::rectX, &Caret::rectY, &Caret::rectWidth, &Caret::rectHeight>(
          page, details);
    case ReportKind::selection:
      return raiseEvent<Selection, &Selection::startX, &Selection::startY, &Selection::startWidth,
                        &Selection::startHeight, &Selection::endX, &Selection::endY,
                        &Selection::endWidth, &Selection::endHeight>(page, details);
    case ReportKind::controls:
      return raiseEvent<Control, &Control::isNextActive, &Control::isPreviousActive,
                        &Control::isVisible>(page, details);
    case ReportKind::videoFullScreen:
      return onVideoFullScreen(page, details);
    case ReportKind::clipboardRead:
      return raise<OrvWebEvent::ClipboardRead>(page);
    case ReportKind::clipboardWrite:
      return raise<OrvWebEvent::ClipboardWrite>(page);
    case ReportKind::keyLeft:
      return onKeyLeft(page);
    case ReportKind::width:
      return onWidth(page, details);
    case ReportKind::fieldText:
      return onForms(page, &PageForms::fieldText, details.text(0), details.text(1));
    case ReportKind::fieldLeft:
      return onForms(page, &PageForms::endOffer);
    case ReportKind::typed:
      return onForms(page, &PageForms::typed, details.values());
    case ReportKind::loginForm:
      return onForms(page, &PageForms::loginForm, details.text(0), details.text(1));
    case ReportKind::login:
      return onForms(page, &PageForms::loginSent,
                     SavedLogin{details.text(0), details.text(1), details.text(2)});
    case ReportKind::lockOrientation:
      return onLockOrientation(page, details);
    case ReportKind::unlockOrientation:
      return onUnlockOrientation(page);
    case ReportKind::registerProtocolHandler:
      return onProtocolHandler(page, Handlers::Register, details);
    case ReportKind::isProtocolHandlerRegistered:
      return onProtocolHandler(page, Handlers::IsRegistered, details);
    case ReportKind::unregisterProtocolHandler:
      return onProtocolHandler(page, Handlers::Unregister, details);
    case ReportKind::addSearchProvider:
      return raiseEvent<SearchProvider, &SearchProvider::url>(page, details);
    case ReportKind::isSearchProviderInstalled:
      return onIsSearchProviderInstalled(page, details);
    case ReportKind::documentLoaded:
      return raise<OrvWebEvent::DocumentLoaded>(page);
    case ReportKind::windowObjectCleared:
      return onWindowObjectCleared(page);
    case ReportKind::mayCall:
      return onMayCall(page, details);
    case ReportKind::resource:
      return onResource(page, details);
    case ReportKind::exception:
      return raiseEvent<Exception, &Exception::exception, &Exception::file, &Exception::line>(
          page, details);
    case ReportKind::problem:
      return onProblem(page, details);
    case ReportKind::functionResult:
      return onFunctionResult(page, details);
    case ReportKind::oversized:
      return onOversized(details);
    case ReportKind::alive:
      return onAlive(page);
  }
  return {};
}

std::uint32_t watchedBy(const PageClient& client) {
  std::uint32_t watched = 0;
  for (const auto& [what, type] : watchedEvents) {
    if (client.wants(type)) watched |= static_cast<std::uint32_t>(what);
  }
  const auto add = [&](bool isOn, Watched what) {
    if (isOn) watched |= static_cast<std::uint32_t>(what);
  };
  add(client.wants(OrvWebEvent::NetworkResourceRequested) &&
          client.settings().isEnableNetworkResourceRequestedEvents,
      Watched::Resources);
  add(client.settings().isZoomToFitWidthOnLoad, Watched::Width);
  if (!client.settings().isPrivateBrowsing) {
    add(client.settings().isEnableFormAutofill, Watched::FormTexts);
    add(client.settings().isEnableCredentialAutofill, Watched::Logins);
  }
  return watched;
}

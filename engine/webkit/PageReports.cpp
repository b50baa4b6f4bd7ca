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
String raise(WebKitPage& page, const Details&) {
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

String onWindowObjectCleared(WebKitPage& page, const Details&) {
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
String onOversized(WebKitPage&, const Details& details) {
  constexpr std::size_t longestName = 200;
  reportError(concat("A message of a page is too large and is left out: \"",
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

String onKeyLeft(WebKitPage& page, const Details&) {
  if (page.parts()) page.parts()->input.keyLeft();
  return {};
}

String onMayCall(WebKitPage& page, const Details& details) {
  return page.loads().trustedLoads().admits(details.text(0)) ? "1" : "";
}

String onAlive(WebKitPage& page, const Details&) {
  if (page.parts()) page.parts()->hangMonitor.alive();
  if (page.client()) page.client()->alive();
  return {};
}

String onWidth(WebKitPage& page, const Details& details) {
  if (page.parts()) page.parts()->fit.measured(details.integer(0), details.integer(1));
  return {};
}

String onVideoFullScreen(WebKitPage& page, const Details& details) {
  if (page.parts()) page.parts()->fullScreen.videoChanged(details.flag(0), details.text(1));
  return {};
}

String onLockOrientation(WebKitPage& page, const Details& details) {
  return page.parts() ? page.parts()->apis.lockOrientation(details.flag(0)) : String();
}

String onUnlockOrientation(WebKitPage& page, const Details&) {
  if (page.parts()) page.parts()->apis.unlockOrientation();
  return {};
}

template <OrvWebProtocolHandlerType What>
String onProtocolHandler(WebKitPage& page, const Details& details) {
  if (!page.parts()) return {};
  return page.parts()->apis.protocolHandler(
      What, {details.text(0), details.text(1), details.text(2), details.text(3)});
}

String onIsSearchProviderInstalled(WebKitPage& page, const Details& details) {
  if (!page.parts()) return {};
  return String(std::to_string(page.parts()->apis.isSearchProviderInstalled(details.text(0))));
}

String onClipboard(WebKitPage& page, const Details& details) {
  page.raise(details.text(0) == String("read") ? OrvWebEvent::ClipboardRead
                                               : OrvWebEvent::ClipboardWrite);
  return {};
}

using Handler = String (*)(WebKitPage&, const Details&);
using Caret = OrvWebCaretChangedEvent;
using Selection = OrvWebSelectionChangedEvent;
using Exception = OrvWebJavaScriptExceptionEvent;
using Control = OrvWebFormControlEvent;
using Handlers = OrvWebProtocolHandlerType;
using SearchProvider = OrvWebAddSearchProviderRequestEvent;
constexpr std::pair<const char*, Handler> handlers[] = {
    {"addSearchProvider", raiseEvent<SearchProvider, &SearchProvider::url>},
    {"alive", onAlive},
    {"caret",
     raiseEvent<Caret, &Caret::rectX, &Caret::rectY, &Caret::rectWidth, &Caret::rectHeight>},
    {"clipboard", onClipboard},
    {"content", onContent},
    {"controls",
     raiseEvent<Control, &Control::isNextActive, &Control::isPreviousActive, &Control::isVisible>},
    {"documentLoaded", raise<OrvWebEvent::DocumentLoaded>},
    {"element", onElement},
    {"encoding", update<&PageState::textEncoding>},
    {"exception", raiseEvent<Exception, &Exception::exception, &Exception::file, &Exception::line>},
    {"functionResult", onFunctionResult},
    {"keyLeft", onKeyLeft},
    {"isProtocolHandlerRegistered", onProtocolHandler<Handlers::IsRegistered>},
    {"isSearchProviderInstalled", onIsSearchProviderInstalled},
    {"lockOrientation", onLockOrientation},
    {"mayCall", onMayCall},
    {"oversized", onOversized},
    {"pinch", onPinch},
    {"registerProtocolHandler", onProtocolHandler<Handlers::Register>},
    {"rendered", onRendered},
    {"resource", onResource},
    {"scrolled", update<&PageState::scrollPosition>},
    {"selection", raiseEvent<Selection, &Selection::startX, &Selection::startY,
                             &Selection::startWidth, &Selection::startHeight, &Selection::endX,
                             &Selection::endY, &Selection::endWidth, &Selection::endHeight>},
    {"tooltip", update<&PageState::tooltip>},
    {"unlockOrientation", onUnlockOrientation},
    {"unregisterProtocolHandler", onProtocolHandler<Handlers::Unregister>},
    {"videoFullScreen", onVideoFullScreen},
    {"width", onWidth},
    {"windowObjectCleared", onWindowObjectCleared},
};

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

String handleReport(WebKitPage& page, const FunctionCall& report) {
  if (page.parts() && page.parts()->forms.take(report)) return {};
  for (const auto& [name, handler] : handlers) {
    if (report.path.front() == String(name)) return handler(page, Details(report.arguments));
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

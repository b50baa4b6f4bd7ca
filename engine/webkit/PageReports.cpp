// What the module in a web process tells about a page. Main thread.
#include "engine/webkit/PageReports.h"

#include "engine/OrvWebEvents.h"
#include "engine/webkit/WebKitPage.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

using link_protocol::Watched;
using Tessel::Platform::String;

namespace {

// Reads a report's details; those that are missing are empty.
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

String onDocumentLoaded(WebKitPage& page, const Details&) {
  page.raise(OrvWebEvent::DocumentLoaded);
  return {};
}

String onException(WebKitPage& page, const Details& details) {
  OrvWebJavaScriptExceptionEvent event;
  event.exception = details.text(0);
  event.file = details.text(1);
  event.line = details.integer(2);
  page.raise(event);
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

String onScrolled(WebKitPage& page, const Details& details) {
  page.update<&PageState::scrollPosition>(OrvWebPoint{details.integer(0), details.integer(1)});
  return {};
}

String onContent(WebKitPage& page, const Details& details) {
  page.update<&PageState::contentRectangle>(
      OrvWebRect{0, 0, details.integer(0), details.integer(1)});
  return {};
}

String onEncoding(WebKitPage& page, const Details& details) {
  page.update<&PageState::textEncoding>(details.text(0));
  return {};
}

String onTooltip(WebKitPage& page, const Details& details) {
  page.update<&PageState::tooltip>(details.text(0));
  return {};
}

String onPinch(WebKitPage& page, const Details& details) {
  const double factor = details.number(0);
  if (std::isfinite(factor) && factor > 0) page.setPinch(factor);
  return {};
}

String onVideoFullScreen(WebKitPage& page, const Details& details) {
  page.update<&PageState::isVideoFullScreen>(details.flag(0));
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

String onSelection(WebKitPage& page, const Details& details) {
  OrvWebSelectionChangedEvent event;
  event.startX = details.integer(0);
  event.startY = details.integer(1);
  event.startWidth = details.integer(2);
  event.startHeight = details.integer(3);
  event.endX = details.integer(4);
  event.endY = details.integer(5);
  event.endWidth = details.integer(6);
  event.endHeight = details.integer(7);
  page.raise(event);
  return {};
}

String onElement(WebKitPage& page, const Details& details) {
  OrvWebContext context =
      page.client() ? page.client()->pageState().currentContext : OrvWebContext();
  context.alt = details.text(0);
  context.isAudio = details.flag(1);
  context.isFocusable = details.flag(2);
  context.isPassword = details.flag(3);
  context.isSingleLine = details.flag(4);
  context.isVideo = details.flag(5);
  context.mimeType = details.text(6);
  context.pattern = details.text(7);
  context.text = details.text(8);
  const bool wasAsked = details.flag(9);
  if (wasAsked && page.client() && page.client()->pageState().currentContext == context) {
    page.propertyChanged(OrvWebPropertyChangedEvent::CurrentContext);
  }
  page.update<&PageState::currentContext>(context);
  return {};
}

String onCaret(WebKitPage& page, const Details& details) {
  OrvWebCaretChangedEvent event;
  event.rectX = details.integer(0);
  event.rectY = details.integer(1);
  event.rectWidth = details.integer(2);
  event.rectHeight = details.integer(3);
  page.raise(event);
  return {};
}

String onClipboard(WebKitPage& page, const Details& details) {
  page.raise(details.text(0) == String("read") ? OrvWebEvent::ClipboardRead
                                               : OrvWebEvent::ClipboardWrite);
  return {};
}

String onControls(WebKitPage& page, const Details& details) {
  OrvWebFormControlEvent event;
  event.isNextActive = details.flag(0);
  event.isPreviousActive = details.flag(1);
  event.isVisible = details.flag(2);
  page.raise(event);
  return {};
}

using Handler = String (*)(WebKitPage&, const Details&);
constexpr std::pair<const char*, Handler> handlers[] = {
    {"caret", onCaret},
    {"clipboard", onClipboard},
    {"content", onContent},
    {"controls", onControls},
    {"documentLoaded", onDocumentLoaded},
    {"element", onElement},
    {"encoding", onEncoding},
    {"exception", onException},
    {"functionResult", onFunctionResult},
    {"pinch", onPinch},
    {"rendered", onRendered},
    {"scrolled", onScrolled},
    {"selection", onSelection},
    {"tooltip", onTooltip},
    {"videoFullScreen", onVideoFullScreen},
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
};

}  // namespace

String handleReport(WebKitPage& page, const FunctionCall& report) {
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
  return watched;
}

// Questions about a web view from outside the chrome. UI thread.
#include "webview/ViewQuestions.h"

#include "platform/desktop/NavigatorJson.h"
#include "webview/WebView.h"
#include "webview/WebViewManager.h"
#include "webview/commands/IPCSenderWebView.h"

#include <glib.h>

namespace NavigatorJson = Tessel::Platform::NavigatorJson;
using Tessel::Platform::concat;
using Tessel::Platform::String;

namespace {

// Addresses may hold whole pages.
constexpr std::size_t longestText = 4096;

String cut(const String& text) {
  if (text.length() <= longestText) return text;
  const char* const end = g_utf8_find_prev_char(text.utf8(), text.utf8() + longestText);
  return text.view().substr(0, static_cast<std::size_t>(end - text.utf8()));
}

String stateOf(const WebView& view) {
  return NavigatorJson::text([&](NavigatorJson::Writer& writer) {
    writer.StartObject();
    NavigatorJson::writeMember(writer, "address", cut(view.location()));
    NavigatorJson::writeMember(writer, "title", cut(view.title()));
    writer.Key("visible");
    writer.Bool(view.isVisible());
    writer.Key("private");
    writer.Bool(view.isPrivateBrowsing());
    writer.Key("progress");
    writer.Int(view.loadProgress());
    writer.EndObject();
  });
}

}  // namespace

std::optional<ViewQuestion> viewQuestionOf(int number) {
  const auto question = static_cast<ViewQuestion>(number);
  const bool isOne = question == ViewQuestion::State || question == ViewQuestion::Evaluate;
  return isOne ? std::optional(question) : std::nullopt;
}

void askHere(WebView& webView, ViewQuestion question, const String& script,
             const ViewAnswered& answered) {
  if (question == ViewQuestion::State) return answered({true, stateOf(webView)});
  webView.evaluate(script, [answered](OrvWebJavaScriptResultType type, const String& text) {
    if (type == OrvWebJavaScriptResultType::JSException) return answered({false, text});
    // As in JSON's own arrays, where undefined and functions have no form.
    answered({true, text.isEmpty() ? String("null") : text});
  });
}

void askView(unsigned int handle, ViewQuestion question, const String& script,
             const ViewAnswered& answered) {
  const WebViewManager& manager = WebViewManager::instance();
  if (WebView* const here = manager.webViewForHandle(handle)) {
    return askHere(*here, question, script, answered);
  }
  const IPCSenderWebView* const remote = manager.remoteWebViewForHandle(handle);
  if (remote && remote->host()) return remote->host()->ask(handle, question, script, answered);
  answered({false, concat("There is no web view ", String::fromUnsignedInteger(handle))});
}

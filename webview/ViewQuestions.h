// Questions about a web view from outside the chrome, answered in the process that the web view is
// in without raising events. Nobody waits for answers: they are told by a call. UI thread.
#pragma once

#include "platform/base/String.h"

#include <functional>
#include <optional>

class WebView;

enum class ViewQuestion : int {
  State,     // an object with address, title, visible, private and progress; texts are cut short
  Evaluate,  // the value of a script
};

// What crosses between processes as a number.
std::optional<ViewQuestion> viewQuestionOf(int number);

struct ViewAnswer {
  bool good = false;
  Tessel::Platform::String text;  // JSON, or what is wrong
};
using ViewAnswered = std::function<void(const ViewAnswer&)>;

// Asks a web view of this process. The answer does not come if the web view goes first.
void askHere(WebView& webView, ViewQuestion question, const Tessel::Platform::String& script,
             const ViewAnswered& answered);

// Asks a web view of whatever process. Of another process the answer comes also when that has
// ended.
void askView(unsigned int handle, ViewQuestion question, const Tessel::Platform::String& script,
             const ViewAnswered& answered);

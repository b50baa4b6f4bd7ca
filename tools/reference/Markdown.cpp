// The reference in Markdown. Any thread: text processing.
#include "tools/reference/Writers.h"

#include <algorithm>

namespace reference {

namespace {

constexpr const char* introduction = R"(# Native functions

<!-- Written by tools/generate-reference.sh from the program's tables: change those. -->

A page that has native functions, as the chrome does, calls them with
`orv.callNative(name, ...arguments)`. The call returns when the function has run, with a text.
[chrome/native.d.ts](../chrome/native.d.ts) says the same in TypeScript, the events included;
[events.md](events.md) is about those.

**Arguments are texts.** JavaScript's numbers and truth values become texts on their way, null and
undefined the empty text; `JSON.stringify` makes those that are JSON. The functions of web views take
the handle of the web view first, as `webview.create` returned it; positions are counted after it,
from 0. A truth value is true for the text `true` and false for every other, `1` among them, where a
function does not say otherwise. A number is read as far as it is one; a text that does not start with
one counts as 0. In lists of JSON, elements of another kind than expected are left out.

**Results are texts.** Truth values come as `1` and `0`, or as words where a function says so, numbers
in decimal, enumerations by name, records as JSON. A function without a result, and a call that fails,
give the empty text.

**Mistakes** are told to the chrome by `chrome.native.error(text)`; the call does nothing then:

- a function that does not exist: `Binding for native function: "NAME" does not exist.`
- a wrong count: `Native function: "NAME" was called with: COUNT arguments when it requires: COUNT`,
  with ` (COUNT with optional args)` where some may be left out. Too many are as wrong as too few.
- a web view that is not there, or has not raised `Created` yet: `WebView: HANDLE has not been created
  yet, so the call to "NAME" will be ignored.`
- a text that an argument does not accept, marked *checked* below: `Argument error when trying to call
  native function: "NAME" with argument "TEXT" at position: POSITION`

In these texts functions of web views go by their names without `webview.` and count the arguments
after the handle. The others count their own name too, and go by names such as `jsCreate`.

)";

std::string grouped(const std::vector<Function>& functions) {
  std::string text =
      "\nWhich origins may call what is said by [groups](security.md#native-functions):\n\n"
      "| group | what it gives | functions |\n|---|---|---|\n";
  std::string examples = "\nAn example of each:\n\n```js\n";
  for (const auto& [name, meaning, example] : functionGroups) {
    const auto count =
        std::count_if(functions.begin(), functions.end(),
                      [name = name](const auto& each) { return each.group == name; });
    text.append("| ").append(name).append(" | ").append(meaning);
    text.append(" | ").append(std::to_string(count)).append(" |\n");
    examples.append("// ").append(name).append("\n").append(example).append("\n");
  }
  return text + examples + "```\n";
}

std::string counted(const std::vector<Function>& functions) {
  std::string text = "| effect on this engine | | functions |\n|---|---|---|\n";
  for (std::size_t i = 0; i < effectTexts.size(); ++i) {
    const auto count = std::count_if(functions.begin(), functions.end(), [&](const auto& function) {
      return function.effect == static_cast<Effect>(i);
    });
    text.append("| ").append(effectTexts[i].name).append(" | ").append(effectTexts[i].meaning);
    text.append(" | ").append(std::to_string(count)).append(" |\n");
  }
  return text.append("| together | | ").append(std::to_string(functions.size())).append(" |\n");
}

// name(view, needed[, optional])
std::string headline(const Function& function) {
  std::string list = function.ofWebView ? "view" : "";
  std::string closing;
  for (const Argument& argument : function.arguments) {
    if (argument.optional) list.append("[");
    if (argument.optional) closing.append("]");
    if (!list.empty()) list.append(", ");
    if (argument.type.repeated) list.append("...");
    list.append(argument.name);
  }
  return function.name + "(" + list + closing + ")";
}

std::string described(const Function& function) {
  std::string text = "### " + headline(function) + "\n\n";
  text.append("*").append(textOf(function.effect).name).append(", ").append(function.group);
  text.append(".* ").append(function.text);
  text.append("\n\n");
  for (const Argument& argument : function.arguments) {
    text.append("- `").append(argument.name).append("`: ").append(argument.type.words);
    if (argument.type.refusable) text.append("; checked");
    if (argument.optional) {
      text.append("; ");
      text.append(argument.fallback.empty() ? "the empty text" : "`" + argument.fallback + "`");
      text.append(" when left out");
    }
    text.push_back('\n');
  }
  return text.append("- result: ").append(function.result.words).append("\n\n");
}

std::string eventTable(const Reference& reference) {
  std::string text =
      "## Events\n\n[events.md](events.md) says when they are raised. A chrome enables those that "
      "it "
      "wants; without that, the last column holds. Those with an answer wait for it.\n\n"
      "| event | brings | answer | where it is not enabled |\n|---|---|---|---|\n";
  const auto code = [](const std::string& name) { return name.empty() ? "" : "`" + name + "`"; };
  for (const Event& event : reference.events.events) {
    text.append("| ").append(event.name).append(" | ").append(code(event.body));
    text.append(" | ").append(code(event.answer)).append(" | ").append(event.unheard);
    text.append(" |\n");
  }
  return text.append(
      "| ProcessCrash | | | It is always told: the child process of the web view has ended, and "
      "the "
      "web view is gone. |\n| Property*NAME*Event | the text of the property | | " +
      std::string("It is told while PropertyChanged and this property are enabled. |\n\n"));
}

}  // namespace

std::string markdown(const Reference& reference) {
  std::string text = introduction + counted(reference.functions) + grouped(reference.functions) +
                     "\n## Functions\n\n";
  for (const Function& function : reference.functions) text.append(described(function));
  text.append(eventTable(reference))
      .append("## Records\n\nThe members of the records above, in TypeScript's words.\n\n");
  for (const auto& [name, members] : reference.records) {
    text.append("- `").append(name).append("`:");
    for (const Member& member : members) {
      text.append(&member == &members.front() ? " `" : ", `");
      text.append(member.key).append(": ").append(member.type).append("`");
    }
    text.push_back('\n');
  }
  text.append("\n## Enumerations\n\n");
  for (const Enumeration& enumeration : enumerations()) {
    text.append("- `").append(enumeration.name).append("`:");
    for (const std::string& name : enumeration.names) {
      text.append(&name == &enumeration.names.front() ? " `" : ", `").append(name).append("`");
    }
    text.push_back('\n');
  }
  return text;
}

}  // namespace reference

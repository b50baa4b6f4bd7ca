// The reference in TypeScript, for type checkers and editors. Any thread: text processing.
#include "platform/base/String.h"
#include "tools/reference/Writers.h"

#include <type_traits>

namespace reference {

namespace {

constexpr const char* introduction =
    R"(// What a chrome calls, and what it is called with. Written by tools/generate-reference.sh from the
// program's tables: change those.
//
//   import type { ChromeEvents, JsonText, OrvWebRect } from './native.d.ts';
//   const view = orv.callNative('webview.create', group);

declare const json: unique symbol;
/** The JSON of a T: JSON.stringify makes it, JSON.parse reads it. */
export type JsonText<T> = string & { readonly [json]: T };
export type NumberText = `${number}`;
/** A truth value that a function returns; '1' and '0' are no truth values of arguments. */
export type BooleanText = '1' | '0';
/** A truth value that an event brings, and some functions return. */
export type TruthText = 'true' | 'false';

export type Numeric = number | bigint | NumberText;
export type Flag = boolean | TruthText;
declare const pem: unique symbol;
/** A certificate in PEM form. */
export type PemText = string & { readonly [pem]: true };
export type WindowAnimationCurve = 'Linear' | 'EaseInCurve' | 'EaseOutCurve';
export type CertificateText = JsonText<SSLCertificateInfo> | JsonText<SSLConnectionInfo> | PemText;

)";

constexpr const char* closing = R"(
export interface NativeCalls {
  /** Every value crosses as text. A call that fails returns '', whatever the type says. */
  callNative<Name extends keyof NativeFunctions>(
    name: Name, ...values: Parameters<NativeFunctions[Name]>): ReturnType<NativeFunctions[Name]>;
}

/** What an event brings: JSON of its body, or the text of a property's value. */
export type EventData<Name> =
  Name extends keyof ChromeEvents ? (ChromeEvents[Name] extends '' ? '' : JsonText<ChromeEvents[Name]>)
  : Name extends keyof PropertyEvents ? PropertyEvents[Name] : string;
/** What webEvent may return for an event: JSON of an answer, for those that are sent. */
export type EventAnswer<Name> =
  Name extends keyof ChromeAnswers ? JsonText<ChromeAnswers[Name]> | '' | void : void;

/** What happens to an object. FirstReadComplete and NewData bring {NAME: {ATTRIBUTES}} as JSON, what
 * has failed a sentence, the others nothing. After Closed and OpenFailed the object is no more. */
export type PPSEventName =
  | 'FirstReadComplete' | 'NewData' | 'Opened' | 'Closed' | 'OpenFailed' | 'ReadFailed' | 'WriteFailed';

/** The functions that a chrome has, for the program to call. */
export interface ChromeFunctions {
  internal: {
    webEvent(handle: number, name: string, data: string, integer: number): string | void;
    pps?: { onEvent(id: number, name: PPSEventName, text?: string): void };
    windowAnimations?: {
      onWindowAnimationFinished(id: number): void;
      onDragTouchRelease(): void;
    };
  };
  native: { error(text: string): void };
}

declare global {
  const orv: NativeCalls;
  interface Window { chrome?: ChromeFunctions }
}
)";

// Escapes the end of a comment.
std::string comment(const std::string& text, const char* indent) {
  std::string safe = text;
  for (auto at = safe.find("*/"); at != std::string::npos; at = safe.find("*/", at)) {
    safe.replace(at, 2, "* /");
  }
  return std::string(indent) + "/** " + safe + " */\n";
}

template <typename Names>
std::string unionOf(const std::string& name, const Names& names) {
  constexpr std::size_t longestLine = 96;
  std::string text = "export type " + name + " =\n ";
  std::size_t length = 1;
  for (const std::string& one : names) {
    if (length > 1 && length + one.size() + 5 > longestLine) {
      text.append("\n ");
      length = 1;
    }
    text.append(" | '").append(one).append("'");
    length += one.size() + 5;
  }
  return text.append(";\n");
}

std::string declared(const std::string& name, const std::string& base,
                     const std::vector<Member>& members, bool optional) {
  std::string text = "export interface " + name;
  if (!base.empty()) text.append(" extends ").append(base);
  if (members.empty()) return text.append(" {}\n");
  text.append(" {\n");
  for (const Member& member : members) {
    text.append("  ").append(member.key).append(optional ? "?: " : ": ");
    text.append(member.type).append(";\n");
  }
  return text.append("}\n");
}

std::string declared(const Function& function) {
  std::string list = function.ofWebView ? "view: Numeric" : "";
  for (const Argument& argument : function.arguments) {
    if (!list.empty()) list.append(", ");
    if (argument.type.repeated) list.append("...");
    list.append(argument.name).append(argument.optional ? "?: " : ": ");
    list.append(argument.type.typeScript);
  }
  return comment(std::string(textOf(function.effect).name) + ", " + function.group + ". " +
                     function.text,
                 "  ") +
         "  '" + function.name + "'(" + list + "): " + function.result.typeScript + ";\n";
}

// The parameters "(a, b)" of that signature, as "a: string, b: number".
template <typename Signature>
struct Parameters;
template <typename Result, typename... Types>
struct Parameters<Result(Types...)> {
  static std::string typed(const std::string& names) {
    constexpr bool isText[] = {std::is_class_v<std::decay_t<Types>>..., false};
    std::string text;
    std::size_t place = 1;
    for (std::size_t i = 0; i < sizeof...(Types); ++i) {
      const std::size_t end = names.find_first_of(",)", place);
      text.append(text.empty() ? "" : ", ").append(names.substr(place, end - place));
      text.append(isText[i] ? ": string" : ": number");
      place = end + 2;
    }
    return text;
  }
};

using Tessel::Platform::String;

#define LISTENER(name, Result, parameters, arguments, words)    \
  text.append(comment(words, "  "))                             \
      .append("  " #name "?(")                                  \
      .append(Parameters<Result parameters>::typed(#arguments)) \
      .append("): void;\n");

std::string applicationListener() {
  std::string text = "\n/** chrome.internal.application, which a chrome provides. */\n";
  text.append("export interface ApplicationListener {\n");
#define APPLICATION_NOTIFICATION LISTENER
#define LOCALE_NOTIFICATION LISTENER
#define FONT_NOTIFICATION LISTENER
#include "platform/desktop/Notifications.def"
  return text.append("}\n");
}

std::string invocationListener() {
  std::string text = "\n/** chrome.internal.invocation, which a chrome provides. */\n";
  text.append("export interface InvocationListener {\n");
#define INVOCATION_NOTIFICATION LISTENER
#include "platform/desktop/Notifications.def"
  return text.append("}\n");
}
#undef LISTENER

}  // namespace

std::string typeScript(const Reference& reference) {
  std::string text = introduction;
  for (const Enumeration& enumeration : enumerations()) {
    text.append(unionOf(enumeration.name, enumeration.names));
  }
  std::vector<std::string> names;
  for (const Event& event : reference.events.events) names.push_back(event.name);
  text.append(unionOf("WebEventName", names));
  names.clear();
  for (const PropertyEvent& event : reference.events.properties) names.push_back(event.property);
  text.append(unionOf("PropertyName", names)).push_back('\n');

  for (const auto& [name, members] : reference.records) {
    text.append(declared(name, {}, members, false));
  }
  text.append("\n// What events bring.\n");
  for (const Interface& body : reference.events.bodies) {
    text.append(declared(body.name, body.base, body.members, false));
  }
  text.append(
      "\n// What their answers may bring. In an answer that is not empty, a text that is left out\n"
      "// counts as the empty one.\n");
  for (const Interface& answer : reference.events.answers) {
    text.append(declared(answer.name, answer.base, answer.members, true));
  }

  text.append("\n/** Every event with what it brings; '' where it brings nothing. */\n");
  text.append("export interface ChromeEvents {\n");
  for (const auto* list : {&reference.events.events, &reference.events.ofProgram}) {
    for (const Event& event : *list) {
      text.append("  ").append(event.name).append(": ");
      text.append(event.body.empty() ? "''" : event.body).append(";\n");
    }
  }
  // No engine raises it: it is about the process that the engine was in.
  text.append(
      "  /** The child process of the web view has ended, and the web view is gone. Of a page's "
      "own\n"
      "   * process that ends NetworkError tells: status -1 crashed, -2 took too much memory, -3 "
      "was\n"
      "   * ended by somebody. */\n  ProcessCrash: '';\n");
  text.append(
      "}\n\n/** The events that wait for an answer. */\nexport interface ChromeAnswers {\n");
  for (const Event& event : reference.events.events) {
    if (event.answer.empty()) continue;
    text.append("  ").append(event.name).append(": ").append(event.answer).append(";\n");
  }
  text.append("}\n\n/** The events of changed properties, with the text that they bring. */\n");
  text.append("export interface PropertyEvents {\n");
  for (const PropertyEvent& event : reference.events.properties) {
    text.append("  ").append(event.name).append(": ").append(event.type).append(";\n");
  }
  text.append("}\n").append(applicationListener()).append(invocationListener());
  text.append("\n/** Every native function. */\nexport interface NativeFunctions {\n");
  for (const Function& function : reference.functions) text.append(declared(function));
  return text.append("}\n").append(closing);
}

}  // namespace reference

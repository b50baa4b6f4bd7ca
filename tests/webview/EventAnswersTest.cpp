// What the chrome's answers do to the events that take them: every key, and every kind of value.
#include "tests/support/ChromeFixture.h"
#include "tests/webview/EventFactsData.h"
#include "webview/events/EventFields.h"
#include "webview/events/EventForwarding.h"

#include <map>
#include <set>
#include <sstream>

namespace {

using test_support::eventFacts;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string shown(bool value) {
  return value ? "true" : "false";
}
std::string shown(int value) {
  return std::to_string(value);
}
std::string shown(unsigned int value) {
  return std::to_string(value);
}
std::string shown(const Tessel::Platform::String& value) {
  return value.toStdString();
}
template <typename Enumeration>
requires std::is_enum_v<Enumeration> std::string shown(Enumeration value) {
  return std::to_string(static_cast<int>(value));
}

// Values that a kind takes, with what they then read as; the last one is not what events start
// with.
using Taken = std::vector<std::pair<std::string, std::string>>;
const std::map<std::string, Taken> taken{
    {"bool", {{"false", "false"}, {"true", "true"}}},
    {"string",
     {{R"("cut\u0000here")", "cut"},
      {"null", ""},
      {R"("x")", "x"},
      {R"("")", ""},
      {R"("y")", "y"},
      {R"("\u0000")", ""},
      {R"("a\"\\\n\u00e4\ud83d\ude00")", "a\"\\\n\xc3\xa4\xf0\x9f\x98\x80"}}},
    {"int", {{"0", "0"}, {"2147483647", "2147483647"}, {"-2147483648", "-2147483648"}}},
    {"uint", {{"0", "0"}, {"7", "7"}, {"4294967295", "4294967295"}}},
};
// Values of other kinds, all of them well-formed.
const std::map<std::string, std::vector<std::string>> refused{
    {"bool", {"0", "1", R"("true")", R"("false")", "null", "[false]", "{}"}},
    {"string", {"5", "true", "false", "1.5", R"(["a"])", R"({"a":"b"})"}},
    {"int",
     {"2147483648", "-2147483649", "2.0", "1e3", "18446744073709551616", R"("5")", "true", "null",
      "[1]", "{}"}},
    {"uint", {"-1", "4294967296", "2.0", "1e3", R"("5")", "true", "null", "[1]", "{}"}},
    {"keyword", {"0", "1", "true", "null", R"(["DENY"])", "{}"}},
};

class EventAnswersTest : public test_support::ChromeFixture {
 protected:
  template <typename Class>
  static Class make() {
    if constexpr (std::is_same_v<Class, Callback>) {
      return Callback({"f"});
    } else {
      return Class();
    }
  }
  static std::string member(const std::string& key, const std::string& value) {
    return "{\"" + key + "\":" + value + "}";
  }
  static std::string kindOf(int type, const std::string& key) {
    std::istringstream stream(eventFacts[type].answers);
    for (std::string name, kind; stream >> name >> kind;) {
      if (name == key) return kind;
    }
    return "not answered";
  }

  // A key of one class of events, with how the event tells what it was set to.
  template <typename Class, typename Read>
  void check(const char* key, Read read, const char* enumeration = "") {
    auto event = make<Class>();
    const std::string kind = kindOf(event.type(), key);
    SCOPED_TRACE(std::string(eventFacts[event.type()].name) + " " + key + " " + kind);
    checked.insert(std::string(eventFacts[event.type()].name) + " " + key);
    const Taken values = kind == "keyword" ? wordsOf(enumeration) : taken.at(kind);
    for (const auto& [value, expected] : values) {
      jsonOnObject(event, member(key, value));
      EXPECT_EQ(shown(read(event)), expected) << value;
    }
    const std::string kept = shown(read(event));
    for (const std::string& value : refused.at(kind)) {
      jsonOnObject(event, member(key, value));
      EXPECT_EQ(shown(read(event)), kept) << value;
    }
    const std::string first =
        member(key, values.front().first + ",\"" + key + "\":" + values.back().first);
    jsonOnObject(event, first);
    EXPECT_EQ(shown(read(event)), values.front().second) << first;
    jsonOnObject(event, member(key, values.back().first));
    jsonOnObject(event, "{}");
    EXPECT_EQ(shown(read(event)), kind == "string" ? "" : kept) << "when it is not there";
  }
  static Taken wordsOf(const std::string& enumeration) {
    Taken words;
    for (const auto& facts : test_support::enumerationFacts) {
      std::istringstream stream(enumeration == facts.type ? facts.names : "");
      int number = facts.first;
      for (std::string word; stream >> word; ++number) {
        words.emplace_back("\"" + word + "\"", std::to_string(number));
      }
    }
    return words;
  }

  std::string argumentError(const char* word, const char* function) {
    return std::string("Argument error when trying to call native function: \"jsonOnObject_") +
           function + "\" with argument \"" + word + "\" at position: 0";
  }
  // A new event, as the answer leaves it.
  template <typename Class>
  static Class answered(const std::string& answer) {
    Class event;
    jsonOnObject(event, answer);
    return event;
  }

  std::set<std::string> checked;
};

TEST_F(EventAnswersTest, EveryKeyOfEveryEventTakesItsKindAndNoOther) {
#define CHECK_KEY(Class, key, accessor, ...) \
  check<Class>(                              \
      #key, [](const Class& event) { return event.accessor(); }, ##__VA_ARGS__)
  CHECK_KEY(Callback, setResult, result);
  CHECK_KEY(OrvWebJavaScriptWindowObjectClearedEvent, setScript, script);
  CHECK_KEY(OrvWebOpenWindowEvent, setAction, action, "OrvWebOpenWindowAction");
  CHECK_KEY(OrvWebOpenWindowEvent, setIsPopup, isPopup);
  CHECK_KEY(OrvWebOpenWindowEvent, setWait, wait);
  CHECK_KEY(OrvWebUnknownProtocolEvent, setProtocolHandlerURL, protocolHandlerURL);
  CHECK_KEY(OrvWebUnknownProtocolEvent, setScheme, scheme);
  CHECK_KEY(OrvWebDialogRequestedEvent, setAlertType, alertType);
  CHECK_KEY(OrvWebDialogRequestedEvent, setData, data);
  CHECK_KEY(OrvWebDialogRequestedEvent, setIsNew, isNew);
  CHECK_KEY(OrvWebDialogRequestedEvent, setIsProxy, isProxy);
  CHECK_KEY(OrvWebDialogRequestedEvent, setPassword, password);
  CHECK_KEY(OrvWebDialogRequestedEvent, setResult, result);
  CHECK_KEY(OrvWebDialogRequestedEvent, setURL, url);
  CHECK_KEY(OrvWebDialogRequestedEvent, setUsername, username);
  CHECK_KEY(OrvWebDialogRequestedEvent, setWait, wait);
  CHECK_KEY(OrvWebDialogRequestedEvent, setWaitHandle, waitHandle);
  CHECK_KEY(OrvWebNetworkResourceRequestedEvent, setAction, action, "OrvWebResourceAction");
  CHECK_KEY(OrvWebNetworkResourceRequestedEvent, setBody, body);
  CHECK_KEY(OrvWebNetworkResourceRequestedEvent, setReferrer, referrer);
  CHECK_KEY(OrvWebNetworkResourceRequestedEvent, setSecurityOrigin, securityOrigin);
  CHECK_KEY(OrvWebNetworkResourceOpenedEvent, setMessage, message);
  CHECK_KEY(OrvWebNetworkResourceOpenedEvent, setStatus, status);
  CHECK_KEY(OrvWebNetworkResourceHeaderReceivedEvent, setKey, key);
  CHECK_KEY(OrvWebNetworkResourceHeaderReceivedEvent, setValue, value);
  CHECK_KEY(OrvWebDownloadRequestEvent, setAction, action, "OrvWebDownloadAction");
  CHECK_KEY(OrvWebDownloadRequestEvent, setFilename, filename);
  CHECK_KEY(OrvWebDownloadRequestEvent, setMimeType, mimeType);
  CHECK_KEY(OrvWebDownloadRequestEvent, setTempFile, tempFilename);
  CHECK_KEY(OrvWebProtocolHandlerEvent, setResult, result);
  CHECK_KEY(OrvWebProtocolHandlerEvent, setTitle, title);
  CHECK_KEY(OrvWebChooseFileEvent, setFileChosen, fileChosen);
  CHECK_KEY(OrvWebChooseFileEvent, setWait, wait);
  CHECK_KEY(OrvWebChooseFileEvent, setWaitHandle, waitHandle);
  CHECK_KEY(OrvWebIsSearchProviderInstalledEvent, setResult, result);
  CHECK_KEY(OrvWebNotificationPermissionCheckEvent, setResult, result);
  CHECK_KEY(OrvWebNotificationPermissionCheckEvent, setWait, wait);
  CHECK_KEY(OrvWebNotificationPermissionCheckEvent, setWaitHandle, waitHandle);
#undef CHECK_KEY
  // What every one of them takes.
  [&]<int... Types>(std::integer_sequence<int, Types...>) {
    const auto checkCommon = [&]<typename Class>(std::type_identity<Class>) {
      if constexpr (std::is_base_of_v<OrvWebSendEvent, Class>) {
        check<Class>("setModal", [](const Class& event) { return event.isModal(); });
        check<Class>("setPreventDefault",
                     [](const Class& event) { return event.isPreventDefault(); });
      }
    };
    (checkCommon(std::type_identity<typename fields::EventClass<Types>::type>()), ...);
  }
  (std::make_integer_sequence<int, Event::typeCount>());

  std::set<std::string> all;
  for (const auto& facts : eventFacts) {
    std::istringstream stream(facts.answers);
    for (std::string key, kind; stream >> key >> kind;) all.insert(facts.name + (" " + key));
  }
  all.erase("OpenWindow setView");  // see below
  EXPECT_EQ(checked, all);
  EXPECT_THAT(errors(), IsEmpty());
}

TEST_F(EventAnswersTest, UnknownWordsAreReportedAndTheRestIsApplied) {
  const auto open = answered<OrvWebOpenWindowEvent>(
      R"({"setWait":true,"setAction":"Create","setIsPopup":true,"setModal":true})");
  EXPECT_EQ(open.action(), OrvWebOpenWindowAction::CREATE);
  EXPECT_TRUE(open.wait() && open.isPopup() && open.isModal());
  EXPECT_THAT(errors(), ElementsAre(argumentError("Create", "OrvWebOpenWindowEvent")));

  const auto requested = answered<OrvWebNetworkResourceRequestedEvent>(
      R"({"setAction":"DENY ","setBody":"b","setAction":"DENY"})");
  EXPECT_EQ(requested.action(), OrvWebResourceAction::ACCEPT);
  EXPECT_EQ(requested.body(), "b");
  EXPECT_THAT(errors(), ElementsAre(argumentError("DENY ", "OrvWebNetworkResourceRequestedEvent")));

  // A word of another event's.
  OrvWebDownloadRequestEvent download;
  download.action = OrvWebDownloadAction::ActionPending;
  jsonOnObject(download, R"({"setAction":"ACCEPT","setFilename":"/f"})");
  jsonOnObject(download, R"({"setAction":""})");
  EXPECT_EQ(download.action(), OrvWebDownloadAction::ActionPending);
  EXPECT_THAT(errors(), ElementsAre(argumentError("ACCEPT", "OrvWebDownloadRequestEvent"),
                                    argumentError("", "OrvWebDownloadRequestEvent")));
}

TEST_F(EventAnswersTest, WebViewsAreTakenByTheirHandle) {
  const unsigned int handle = createWebView();
  OrvWebOpenWindowEvent open;
  const auto viewAfter = [&](const std::string& value) {
    jsonOnObject(open, member("setView", value));
    return open.view();
  };
  const std::string text = std::to_string(handle);
  EXPECT_EQ(viewAfter("\"1\""), root);
  EXPECT_EQ(viewAfter("\"" + text + "\",\"setView\":\"1\""), &webView(handle));
  // Digits end where something else begins.
  EXPECT_EQ(viewAfter("\" 1x\""), root);
  for (const char* value : {"1", "null", "true", R"(["1"])", "{}"}) {
    open.view = &webView(handle);
    EXPECT_EQ(viewAfter(value), &webView(handle)) << value;
  }
  EXPECT_THAT(errors(), IsEmpty());

  for (const char* value : {"0", "99999", "4294967295", "abc", "", "x1"}) {
    EXPECT_EQ(viewAfter("\"" + std::string(value) + "\""), &webView(handle));
    EXPECT_THAT(errors(), ElementsAre(std::string("Can't get webview for this handle: ") + value));
  }
  for (const char* value :
       {"4294967296", "4294967297", "-1", "18446744073709551616", "99999999999999999999999"}) {
    EXPECT_EQ(viewAfter("\"" + std::string(value) + "\""), &webView(handle));
    EXPECT_THAT(errors(), ElementsAre(argumentError(value, "OrvWebOpenWindowEvent")));
  }
}

TEST_F(EventAnswersTest, KeysAreAppliedInTheirOwnOrder) {
  const auto open = answered<OrvWebOpenWindowEvent>(
      R"({"setView":"4294967296","setWait":true,"setAction":"no","setView":"1"})");
  EXPECT_TRUE(open.wait());
  EXPECT_EQ(open.view(), nullptr);
  EXPECT_THAT(errors(), ElementsAre(argumentError("no", "OrvWebOpenWindowEvent"),
                                    argumentError("4294967296", "OrvWebOpenWindowEvent")));
}

TEST_F(EventAnswersTest, TextsThatAreNotAnsweredAreEmptied) {
  OrvWebDialogRequestedEvent dialog;
  dialog.data = "d";
  dialog.message = "m";
  dialog.result = "r";
  dialog.url = "u";
  dialog.alertType = 3;
  jsonOnObject(dialog, R"({"setUsername":"u","setPassword":"p","setMessage":"x"})");
  EXPECT_EQ(concat(dialog.data(), dialog.result(), dialog.url()), "");
  EXPECT_EQ(concat(dialog.username(), dialog.password()), "up");
  // What is no setter's stays.
  EXPECT_EQ(dialog.message(), "m");
  EXPECT_EQ(dialog.alertType(), 3);

  for (const char* none : {"", "  ", "null", "[]", R"("setResult")", R"({"setResult":"x"}})",
                           R"({"setResult":"x")", "\xef\xbb\xbf", R"({setResult:"x"})"}) {
    OrvWebProtocolHandlerEvent handler;
    handler.title = "t";
    handler.result = "r";
    jsonOnObject(handler, none);
    EXPECT_EQ(concat(handler.title(), handler.result()), "tr") << none;
    jsonOnObject(handler, R"({"setModal":true})");
    EXPECT_EQ(concat(handler.title(), handler.result()), "");
  }
}

TEST_F(EventAnswersTest, EventsThatAreNotSentTakeNoAnswer) {
  OrvWebAutomationLogEvent log;
  log.message = "m";
  const std::string body = jsonFromObject(log).toStdString();
  jsonOnObject(log, R"({"setMessage":"x","setModal":true})");
  EXPECT_EQ(jsonFromObject(log).toStdString(), body);
  EXPECT_THAT(errors(), IsEmpty());
}

}  // namespace

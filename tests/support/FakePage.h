// Pages without an engine: they remember what they are told and let a test speak for the engine.
// Main thread, but for the two ways to call a function, one thread at a time.
#pragma once

#include "engine/OrvWebView.h"
#include "engine/Page.h"

#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

namespace test_support {

class FakePage final : public Page {
 public:
  using Window = Tessel::Platform::Graphics::Window;

  FakePage(PageClient& itsClient, Window& itsWindow) : client(itsClient), window(itsWindow) {}

  // To raise events through. It and the window go with the web view.
  PageClient& client;
  Window& window;
  const String windowId = window.identifier();

  // Operations with their arguments, in order, such as "load(local:///)".
  std::vector<std::string> trace;
  std::vector<FunctionCall> posted;
  std::vector<FunctionCall> called;
  // Answers called functions; undefined without it.
  std::function<JavaScriptVariant(const FunctionCall&)> answer;
  std::vector<OrvWebHistoryItem> historyItems;
  std::vector<OrvWebHeader> headers;
  std::vector<WebViewSetting> changedSettings;
  bool callbackObjectEnabled = true;
  bool callbackObjectBound = false;
  bool closed = false;

  // Raises an event and gives it back as its handler left it.
  template <typename Event>
  Event raise(Event event) {
    if constexpr (std::is_same_v<Event, OrvWebJavaScriptCallbackEvent>) {
      event.setCaller("local://", true);
    }
    client.raise(event);
    return event;
  }

  void close() override { closed = true; }
  // What loads do, in processes that no test can reach into.
  static inline std::function<void(FakePage&, const String&)> onLoad;
  void load(const String& url) override {
    note("load", url);
    if (onLoad) onLoad(*this, url);
  }
  void loadText(const String& text, const String& type, const String& base) override {
    note("loadText", concat(text, ", ", type, ", ", base));
  }
  void reload() override { note("reload"); }
  void stop() override { note("stop"); }
  void goBack() override { note("goBack"); }
  void goForward() override { note("goForward"); }
  std::vector<OrvWebHistoryItem> history() override { return historyItems; }
  void goTo(int position) override { note("goTo", number(position)); }
  void clearHistory(bool keepCurrent) override { note("clearHistory", text(keepCurrent)); }
  void requestSession() override { note("requestSession"); }
  bool restoreSession(const String& session, int position) override {
    note("restoreSession", session, number(position));
    return true;
  }
  void tryClose() override { note("tryClose"); }
  void wantedEventsChanged() override { ++wantedEventChanges; }
  void setAllowedOrigins(const std::vector<String>& patterns) override {
    allowedOrigins = patterns;
  }
  void knownCertificatesChanged() override { note("knownCertificatesChanged"); }
  void act(const char* action, std::vector<JavaScriptVariant> arguments) override {
    std::string list;
    for (const JavaScriptVariant& argument : arguments) {
      if (!list.empty()) list += ", ";
      list += argument.type() == JavaScriptVariant::Boolean
                  ? text(argument.booleanValue())
                  : String::fromNumber(argument.numberValue()).utf8();
    }
    note(action, list);
  }
  using Page::act;
  void setZoom(double level) override {
    note("setZoom", String::fromNumber(level));
    client.update<&PageState::scale>(level);
  }
  void capture(double scale, const OrvWebRect& part, const OrvWebSize& size) override {
    note("capture", String::fromNumber(scale), number(part.width), number(size.height));
  }
  void clear(SiteData data) override { note("clear", number(static_cast<int>(data))); }
  void requestCookies(const String& url) override { note("requestCookies", url); }
  void stepResource(unsigned int stream, const ResourceStep& step) override {
    note("stepResource", number(static_cast<int>(stream)), number(static_cast<int>(step.kind)),
         number(step.status), concat(step.name, ", ", step.value));
  }
  void addCookies(const String& url, const std::vector<String>& cookies) override {
    note("addCookies", url, number(static_cast<int>(cookies.size())));
  }
  void continueHandshake(unsigned int connection, bool trust) override {
    note("continueHandshake", number(static_cast<int>(connection)), text(trust));
  }
  void stepNotification(const String& id, NotificationStep step) override {
    note("stepNotification", id, step == NotificationStep::Clicked ? "clicked" : "closed");
  }
  bool hasTypingAttribute(const String& name) override { return name == String("bold"); }
  void fillField(const String& text) override { note("fillField", text); }
  void forget(Remembered what) override {
    note("forget", what == Remembered::Texts ? "texts" : "logins");
  }
  void keepProxyLogin(const String& username, const String& password) override {
    note("keepProxyLogin", username, password);
  }
  void runMenuItem(OrvWebContextMenuItem item) override {
    note("runMenuItem", number(static_cast<int>(item)));
  }
  void inspectorMessage(const String& message, bool connected) override {
    note("inspectorMessage", message, text(connected));
  }
  void settingChanged(WebViewSetting setting) override { changedSettings.push_back(setting); }
  void setRequestHeaders(const std::vector<OrvWebHeader>& list) override { headers = list; }
  void setCallbackObjectEnabled(bool enabled) override { callbackObjectEnabled = enabled; }
  void bindCallbackObject(bool bound, const std::vector<String>&) override {
    callbackObjectBound = bound;
  }
  void setDrivesApplication(const String& hint) override { note("setDrivesApplication", hint); }
  void runScript(const String& script, bool isolated, const String& resultId) override {
    note("runScript", script, isolated ? "isolated" : "normal", resultId);
  }
  void findString(const String& text, const FindOptions& options) override {
    finds.emplace_back(text, options);
  }
  void answerQuestion(unsigned int number, const QuestionAnswer& answer) override {
    answers.emplace_back(number, answer);
  }
  void answerOrigin(PagePermission, const String& origin, bool granted) override {
    note("answerOrigin", origin, granted ? "granted" : "refused");
  }
  void answerOpenWindow(unsigned int number, std::shared_ptr<Page> page) override {
    windows.emplace_back(number, page);
  }
  void download(const String& url, const String& filename) override {
    note("download", url, filename);
  }
  void stepDownload(unsigned int id, DownloadStep step) override {
    note("stepDownload", String::fromUnsignedInteger(id),
         String::fromSignedInteger(static_cast<int>(step)));
  }
  void updateDownload(unsigned int id, bool save, const String& filename) override {
    note("updateDownload", String::fromUnsignedInteger(id), save ? "save" : "discard", filename);
  }
  void postFunction(const FunctionCall& call, const String& resultId) override {
    posted.push_back(call);
    resultIds.push_back(resultId);
  }

  std::vector<std::pair<String, FindOptions>> finds;
  std::vector<std::pair<unsigned int, QuestionAnswer>> answers;
  std::vector<std::pair<unsigned int, std::shared_ptr<Page>>> windows;
  std::vector<String> resultIds;
  JavaScriptVariant callFunction(const FunctionCall& call) override {
    called.push_back(call);
    return answer ? answer(call) : JavaScriptVariant();
  }

  std::vector<String> allowedOrigins;
  int wantedEventChanges = 0;

 private:
  static String number(int value) { return String::fromSignedInteger(value); }
  static const char* text(bool value) { return value ? "true" : "false"; }

  template <typename... Arguments>
  void note(const char* operation, const Arguments&... arguments) {
    std::string text;
    ((text.append(text.empty() ? "" : ", ").append(String(arguments).view())), ...);
    trace.push_back(std::string(operation) + "(" + text + ")");
  }
};

// The only factory of the process; in use from the first call of instance().
class FakePageFactory final : public PageFactory {
 public:
  static FakePageFactory& instance() {
    static auto* factory = new FakePageFactory;
    install(factory);
    return *factory;
  }

  // The page of a web view; null when it has none.
  std::shared_ptr<FakePage> pageOf(const OrvWebView& view) const {
    for (const auto& candidate : pages_) {
      auto page = candidate.lock();
      if (page && page->windowId == view.windowUniqueId()) return page;
    }
    return nullptr;
  }

 private:
  std::shared_ptr<Page> createPage(PageClient& client, FakePage::Window& window) override {
    auto page = std::make_shared<FakePage>(client, window);
    pages_.push_back(page);
    return page;
  }

  std::vector<std::weak_ptr<FakePage>> pages_;
};

}  // namespace test_support

// Fake pages without an engine: they record calls and let a test act as the engine. Main thread,
// except for the two ways to call a function, one thread at a time.
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

  // For raising events. It and the window are destroyed with the web view.
  PageClient& client;
  Window& window;
  const String windowId = window.identifier();

  // Loads with their arguments, in order, such as "load(local:///)".
  std::vector<std::string> trace;
  std::vector<FunctionCall> posted;
  std::vector<FunctionCall> called;
  // Answers called functions; undefined without it.
  std::function<JavaScriptVariant(const FunctionCall&)> answer;
  std::vector<ScriptDone> scripts;  // those that wait for their value
  std::vector<OrvWebHeader> headers;
  std::vector<std::pair<unsigned int, PromptAnswer>> answers;
  bool closed = false;
  // The behaviour of loads, for processes that a test cannot access.
  static inline std::function<void(FakePage&, const String&)> onLoad;

  // Raises an event and returns it as modified by its handler.
  template <typename Event>
  Event raise(Event event) {
    if constexpr (std::is_same_v<Event, OrvWebJavaScriptCallbackEvent>) {
      event.setCaller("local://", true);
    }
    client.raise(event);
    return event;
  }

  void close() override { closed = true; }
  void load(const String& url) override {
    trace.push_back(concat("load(", url, ")").toStdString());
    if (onLoad) onLoad(*this, url);
  }
  void loadText(const String& text, const String& type, const String& base) override {
    trace.push_back(concat("loadText(", text, ", ", type, ", ", base, ")").toStdString());
  }
  void setRequestHeaders(const std::vector<OrvWebHeader>& list) override { headers = list; }
  void answerPrompt(unsigned int number, const PromptAnswer& answer) override {
    answers.emplace_back(number, answer);
  }
  void postFunction(const FunctionCall& call, const String&) override { posted.push_back(call); }
  void runScript(const String& script, const ScriptOptions&, ScriptDone done) override {
    trace.push_back(concat("runScript(", script, ")").toStdString());
    scripts.push_back(std::move(done));
  }
  JavaScriptVariant callFunction(const FunctionCall& call) override {
    called.push_back(call);
    return answer ? answer(call) : JavaScriptVariant();
  }

  // The rest is for engines.
  void settingChanged(WebViewSetting) override {}
  void setCallbackObjectEnabled(bool) override {}
  void bindCallbackObject(bool, const std::vector<String>&) override {}
  void answerOpenWindow(unsigned int, std::shared_ptr<Page>) override {}
  void reload() override {}
  void stop() override {}
  void setAutoReload(bool) override {}
  void endProcess(const OrvWebMemoryExcess*) override {}
  void goBack() override {}
  void goForward() override {}
  std::vector<OrvWebHistoryItem> history() override { return {}; }
  void goTo(int) override {}
  void clearHistory(bool) override {}
  void requestSession() override {}
  bool restoreSession(const String&, int) override { return true; }
  void tryClose() override {}
  void wantedEventsChanged() override {}
  void setAllowedOrigins(const std::vector<String>&) override {}
  void knownCertificatesChanged() override {}
  void act(PageAction, std::vector<JavaScriptVariant>) override {}
  void setZoom(double) override {}
  void capture(double, const OrvWebRect&, const OrvWebSize&) override {}
  void clear(SiteData) override {}
  void requestCookies(const String&) override {}
  void stepResource(unsigned int, const ResourceStep&) override {}
  void addCookies(const String&, const std::vector<String>&) override {}
  void continueHandshake(unsigned int, bool) override {}
  void stepNotification(const String&, NotificationStep) override {}
  bool hasTypingAttribute(const String&) override { return false; }
  void fillField(const String&) override {}
  void forget(AutofillData) override {}
  void keepProxyLogin(const String&, const String&) override {}
  void runMenuItem(OrvWebContextMenuItem) override {}
  void inspectorMessage(const String&, bool) override {}
  void setDrivesApplication(const String&) override {}
  bool askWhetherAlive() override { return false; }
  void findString(const String&, const FindOptions&) override {}
  void answerOrigin(PagePermission, const String&, bool) override {}
  void download(const String&, const String&) override {}
  void stepDownload(unsigned int, DownloadStep) override {}
  void updateDownload(unsigned int, bool, const String&) override {}
};

// The only factory of the process; in use from the first call of instance().
class FakePageFactory final : public PageFactory {
 public:
  static FakePageFactory& instance() {
    static auto* factory = new FakePageFactory;
    install(factory);
    return *factory;
  }

  // The page of a web view; null if it has none.
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

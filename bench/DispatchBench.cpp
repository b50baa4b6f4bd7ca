// The hot paths inside the program, compared with their floors: finding and running a native
// function with a bare look-up in the same kind of map, and writing an event's body with a bare
// JSON writer for the same keys.
#include "engine/OrvWebEvents.h"
#include "registry/BindingManager.h"
#include "webview/WebViewManager.h"
#include "webview/commands/CommandTable.h"
#include "webview/events/EventForwarding.h"

#include <benchmark/benchmark.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <map>
#include <string>
#include <utility>

namespace {

using Tessel::Platform::String;

void checked(OrvWebJavaScriptCallbackEvent* event) {
  if (BindingManager::checkArgumentCount(static_cast<int>(event->numArgs()), 2, "checked")) return;
}

std::map<String, BindingHandler, std::less<>>& bareMap() {
  static std::map<String, BindingHandler, std::less<>> map;
  return map;
}

void setUp() {
  BindingManager& bindings = BindingManager::instance();
  WebViewManager::instance();
  registerCommands(bindings);
  bindings.registerBinding("webview.middle", checked);
  for (const CommandRow& row : commandTable()) {
    bareMap().emplace(String(std::string("webview.") + row.name), row.handler);
  }
  bareMap().emplace("webview.middle", checked);
}

void lookUp(benchmark::State& state) {
  const char* name = "webview.middle";
  for (auto _ : state) benchmark::DoNotOptimize(bareMap().find(String(name)));
}

void dispatch(benchmark::State& state) {
  OrvWebJavaScriptCallbackEvent event({"webview.middle", "1"});
  BindingManager& bindings = BindingManager::instance();
  for (auto _ : state) bindings.dispatch(&event);
}

void bareWriter(benchmark::State& state) {
  rapidjson::StringBuffer buffer;
  for (auto _ : state) {
    buffer.Clear();
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.StartObject();
    writer.Key("isPost", 6);
    writer.Bool(true);
    writer.Key("isSend", 6);
    writer.Bool(false);
    writer.Key("type", 4);
    writer.String("DocumentLoaded", 14);
    writer.EndObject();
    // A body is a separate string.
    benchmark::DoNotOptimize(String(std::string_view(buffer.GetString(), buffer.GetSize())));
  }
}

void eventBody(benchmark::State& state) {
  const OrvWebEvent event(OrvWebEvent::DocumentLoaded);
  for (auto _ : state) benchmark::DoNotOptimize(jsonFromObject(event));
}

// The dialog event has the most keys: 24.
constexpr std::pair<const char*, int> dialogKeys[] = {
    {"alertType", 1},    {"cancellabel", 2}, {"data", 2},
    {"databaseName", 2}, {"dialogType", 3},  {"isModal", 0},
    {"isNew", 0},        {"isPost", 0},      {"isPreventDefault", 0},
    {"isProxy", 0},      {"isSend", 0},      {"message", 2},
    {"oklabel", 2},      {"password", 2},    {"requestedSize", 1},
    {"result", 2},       {"systemId", 2},    {"systemType", 1},
    {"title", 2},        {"type", 4},        {"url", 2},
    {"username", 2},     {"wait", 0},        {"waitHandle", 1}};

void bareWriterOf24(benchmark::State& state) {
  rapidjson::StringBuffer buffer;
  for (auto _ : state) {
    buffer.Clear();
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    writer.StartObject();
    for (const auto& [key, kind] : dialogKeys) {
      writer.Key(key);
      if (kind == 0) writer.Bool(false);
      if (kind == 1) writer.Int(0);
      if (kind == 2) writer.String("", 0);
      if (kind == 3) writer.String("Generic", 7);
      if (kind == 4) writer.String("DialogRequested", 15);
    }
    writer.EndObject();
    benchmark::DoNotOptimize(String(std::string_view(buffer.GetString(), buffer.GetSize())));
  }
}

void eventBodyOf24(benchmark::State& state) {
  const OrvWebDialogRequestedEvent event;
  for (auto _ : state) benchmark::DoNotOptimize(jsonFromObject(event));
}

BENCHMARK(lookUp);
BENCHMARK(dispatch);
BENCHMARK(bareWriter);
BENCHMARK(eventBody);
BENCHMARK(bareWriterOf24);
BENCHMARK(eventBodyOf24);

}  // namespace

int main(int argc, char** argv) {
  setUp();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}

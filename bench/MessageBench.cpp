// The cost of serialising a command for another process, compared with its floor: into blobs and
// back to a message, compared with a copy of the same blobs into fresh memory; and the parsing of
// its arguments, compared with the bare conversions.
#include "webview/commands/CommandMessages.h"

#include <benchmark/benchmark.h>

#include <array>
#include <memory>

namespace {

using Tessel::Platform::Blob;
using Tessel::Platform::BlobList;
using Tessel::Platform::Blobs;
using Tessel::Platform::deserializeMessage;
using Tessel::Platform::Message;
using Tessel::Platform::serializeMessage;
using Tessel::Platform::String;

titleMessage getter() {
  return titleMessage(12);
}
findStringMessage findString() {
  return findStringMessage(12, nullptr, String("a text that is looked for"), true, false, true,
                           true);
}

void copyBlobs(benchmark::State& state, Message&& message) {
  const BlobList blobs = serializeMessage(message);
  for (auto _ : state) {
    std::array<std::unique_ptr<char[]>, BlobList::capacity> copies;
    auto* copy = copies.data();
    for (const Blob& blob : Blobs(blobs)) {
      *copy = std::make_unique_for_overwrite<char[]>(blob.length);
      benchmark::DoNotOptimize(std::memcpy((copy++)->get(), blob.data, blob.length));
    }
    benchmark::ClobberMemory();
  }
}

void cross(benchmark::State& state, Message&& message) {
  for (auto _ : state) {
    const BlobList blobs = serializeMessage(message);
    benchmark::DoNotOptimize(deserializeMessage(blobs));
  }
}

void copyOfGetter(benchmark::State& state) {
  copyBlobs(state, getter());
}
void getterThereAndBack(benchmark::State& state) {
  cross(state, getter());
}
void copyOfFindString(benchmark::State& state) {
  copyBlobs(state, findString());
}
void findStringThereAndBack(benchmark::State& state) {
  cross(state, findString());
}

// setZOrder: parses the chrome's text into the field that is sent.
void bareInteger(benchmark::State& state) {
  const char* text = "-12345";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    benchmark::DoNotOptimize(std::strtoll(text, nullptr, 10));
  }
}
void integerArgument(benchmark::State& state) {
  const char* text = "-12345";
  for (auto _ : state) {
    benchmark::DoNotOptimize(text);
    int value = 0;
    commands::Value<int>::parse(text, value);
    benchmark::DoNotOptimize(commands::Wire<int>::encode(value));
  }
}

// setViewport: parses the JSON and writes it again for sending.
constexpr const char* rectangleText = R"({"x":10,"y":20,"width":800,"height":600})";
void bareRectangle(benchmark::State& state) {
  rapidjson::StringBuffer buffer;
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(rectangleText);
    buffer.Clear();
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    document.Accept(writer);
    benchmark::DoNotOptimize(String(std::string_view(buffer.GetString(), buffer.GetSize())));
  }
}
void rectangleArgument(benchmark::State& state) {
  for (auto _ : state) {
    OrvWebRect value;
    commands::Value<OrvWebRect>::parse(rectangleText, value);
    benchmark::DoNotOptimize(commands::Wire<OrvWebRect>::encode(value));
  }
}

BENCHMARK(copyOfGetter);
BENCHMARK(getterThereAndBack);
BENCHMARK(copyOfFindString);
BENCHMARK(findStringThereAndBack);
BENCHMARK(bareInteger);
BENCHMARK(integerArgument);
BENCHMARK(bareRectangle);
BENCHMARK(rectangleArgument);

}  // namespace

BENCHMARK_MAIN();

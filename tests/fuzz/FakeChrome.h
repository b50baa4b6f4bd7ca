// The native side with a fake chrome, for fuzzers. Main thread.
#pragma once

#include "tests/fuzz/Fuzz.h"
#include "tests/support/ChromeFixture.h"

namespace fuzz {

class FakeChrome final : public test_support::ChromeFixture {
 public:
  // Lives until the process exits.
  static FakeChrome& instance() {
    static auto* const chrome = new FakeChrome;
    return *chrome;
  }
  // A web view; a new one if the previous one was destroyed.
  unsigned int view() {
    if (!manager.webViewForHandle(handle_) || !pageOf(handle_)) handle_ = createWebView();
    return handle_;
  }

  // Discards the recorded calls.
  void forget() {
    test_support::turnLoop();
    for (const auto& fake : {page, pageOf(view())}) {
      fake->trace.clear();
      fake->posted.clear();
      fake->called.clear();
      fake->headers.clear();
      fake->answers.clear();
    }
  }

 private:
  void TestBody() override {}
  unsigned int handle_ = 0;
};

}  // namespace fuzz

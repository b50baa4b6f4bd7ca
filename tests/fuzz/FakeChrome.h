// The native side with a chrome, as tests have it, for fuzzers. Main thread.
#pragma once

#include "tests/fuzz/Fuzz.h"
#include "tests/support/ChromeFixture.h"

namespace fuzz {

class FakeChrome final : public test_support::ChromeFixture {
 public:
  // For the life of the process.
  static FakeChrome& instance() {
    static auto* const chrome = new FakeChrome;
    return *chrome;
  }
  // A web view; another one when it has gone.
  unsigned int view() {
    if (!manager.webViewForHandle(handle_) || !pageOf(handle_)) handle_ = createWebView();
    return handle_;
  }

  // What was remembered meanwhile is forgotten.
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

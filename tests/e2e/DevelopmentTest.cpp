// Chromes of one's own: what "pagehost new" writes runs, --dev follows its files, and what is wrong
// with a chrome is told with its place.
#include "tests/support/FileContent.h"
#include "tests/support/FileServer.h"
#include "tests/support/SuiteTest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

using test_support::Program;

class DevelopmentTest : public test_support::SuiteTest {
 protected:
  // A chrome from the template, with a script that prints its web views whenever it shows its page.
  std::filesystem::path make(const std::string& name) const {
    const std::filesystem::path made = folder_ / name;
    Program maker(environment(""), {"new", made, "--template", name});
    EXPECT_EQ(maker.status(), 0) << maker.errors();
    std::ofstream(made / "index.html", std::ios::app)
        << "<script type=module src=probe.js></script>";
    std::ofstream(made / "probe.js") << R"(
      import { WebView } from 'pagehost:pagehost.js';
      const timer = setInterval(() => {
        if (document.documentElement.dataset.state !== 'shown') return;
        clearInterval(timer);
        WebView.root.printToStdout(`shown ${WebView.list().map((view) => view.handle)}\n`);
      }, 50);)";
    return made;
  }
};

TEST_F(DevelopmentTest, EveryTemplateRuns) {
  const auto templates =
      std::filesystem::path(PAGEHOST_TEST_PROGRAM).parent_path() / "share/templates";
  int count = 0;
  for (const auto& folder : std::filesystem::directory_iterator(templates)) {
    const std::string name = folder.path().filename();
    if (name == "common") continue;  // what all of them have
    ++count;
    Program program(environment(""), {"--chrome", make(name)});
    EXPECT_TRUE(program.waitForLine("shown 2")) << name << "\n" << program.errors();
  }
  EXPECT_GT(count, 1);
}

TEST_F(DevelopmentTest, ChangesLoadTheChromeAgainAndItsPagesStay) {
  const std::filesystem::path made = make("dashboard");
  Program program(environment(""), {"--dev", made});
  ASSERT_TRUE(program.waitForLine("shown 2,3,4,5")) << program.errors();
  EXPECT_TRUE(program.waitForError("web inspector is at http://127.0.0.1:"));
  // In a folder that the watch has to find by itself.
  std::filesystem::create_directory(made / "later");
  std::ofstream(made / "later/one.css") << "p {}";
  EXPECT_TRUE(program.waitForLine("shown 2,3,4,5")) << program.errors();
  std::ofstream(made / "main.js", std::ios::app) << "\nconsole.log('from', 'it');\nnowhere();\n";
  const auto lastLine = std::ranges::count(test_support::contentOf(made / "main.js"), '\n');
  EXPECT_TRUE(program.waitForError("main.js:" + std::to_string(lastLine) + ": ReferenceError"))
      << program.errors();
  EXPECT_TRUE(program.waitForError("CONSOLE LOG from it")) << program.errors();
}

// The library is the same for chromes of all origins, and errors of each have their places.
TEST_F(DevelopmentTest, ChromesOfEveryOriginHaveTheLibraryAndAreToldWhatIsWrong) {
  const std::string page = R"(<!doctype html><script type=module>
import { call } from 'pagehost:pagehost.js';
call('webview.printToStdout', 1, `library ${location.protocol}\n`);
call('webview.nothing');
orv.callNative('windowAnimations.animateGlobalAlpha', 2, 'Linear', 1, 0, 255);
null.member;
</script>)";
  const test_support::FileServer server(
      [&](const std::string&) { return test_support::httpAnswer("text/html", page); });
  std::ofstream(folder_ / "own.html") << page;
  for (const auto& [address, protocol] : {std::pair(server.address(), "http:"),
                                          {"file://" + (folder_ / "own.html").string(), "file:"}}) {
    Program program(environment("", {{"PAGEHOST_LOG_LEVEL", "error"}}), {"--chrome", address});
    EXPECT_TRUE(program.waitForLine(std::string("library ") + protocol)) << program.errors();
    for (const char* text :
         {"\"webview.nothing\" does not exist", ":4: The native call webview.nothing",
          "There is no window 2", ":5: The native call windowAnimations.animateGlobalAlpha",
          ":6: TypeError"}) {
      EXPECT_TRUE(program.waitForError(text)) << text << "\n" << program.errors();
    }
  }
}

}  // namespace

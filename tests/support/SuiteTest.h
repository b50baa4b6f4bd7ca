// Tests of the real program with a chrome of the tests, which may itself be a test suite
// (tests/e2e/pages/suite.js). Main thread.
#pragma once

#include "tests/support/Program.h"
#include "tests/support/Screen.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace test_support {

class SuiteTest : public testing::Test {
 protected:
  // Private folders for every test: the program must neither find nor leave files elsewhere.
  SuiteTest() {
    std::filesystem::copy(PAGEHOST_TEST_PAGES, folder_ / "root",
                          std::filesystem::copy_options::recursive);
    std::ofstream(folder_ / "outside.txt") << "secret";
    std::filesystem::create_symlink(folder_ / "outside.txt", folder_ / "root/link-out.txt");
    std::filesystem::create_directory_symlink(folder_, folder_ / "root/link-folder");
  }

  // Starts the program with that page as the chrome; the bundled one if empty.
  Program::Environment environment(const std::string& page,
                                   Program::Environment changes = {}) const {
    changes.merge(
        Program::Environment{{"CHROME_URL", page.empty() ? "" : "local:///" + page},
                             {"TESSEL_LOCAL_ROOT", page.empty() ? "" : (folder_ / "root").string()},
                             {"XDG_DATA_HOME", (folder_ / "data").string()},
                             {"XDG_CACHE_HOME", (folder_ / "cache").string()},
                             {"WIDTH", "800"},
                             {"HEIGHT", "600"}});
    return changes;
  }

  // A chrome that is a test suite: every line but the last must be an "ok" or a request for input
  // on the display.
  void runSuite(const std::string& page, const Program::Environment& changes = {}) {
    Program program(environment(page, changes));
    readSuite(program);
  }
  void readSuite(Program& program) {
    int tests = 0;
    for (;;) {
      const auto line = program.nextLine();
      ASSERT_TRUE(line) << "the suite does not end\n" << program.errors();
      if (*line == "end") break;
      if (line->starts_with("do ")) {
        perform(line->substr(3));
        continue;
      }
      if (line->starts_with("said ")) {
        const std::string text = line->substr(5);
        EXPECT_TRUE(program.waitForError(text)) << text << "\n" << program.errors();
        continue;
      }
      if (line->starts_with("#")) {
        seen_ += *line + "\n";
        continue;
      }
      EXPECT_EQ(line->substr(0, 3), "ok ") << *line << "\n" << program.errors();
      ++tests;
    }
    EXPECT_GT(tests, 0);
  }

  const TemporaryFolder temporary_;
  const std::filesystem::path folder_ = temporary_.path();
  std::string seen_;  // the commands and events that suites report as exercised
};

}  // namespace test_support

// Private browsing leaves nothing on the disk, neither while it is running nor after the program
// was killed. A normal visit proves that the test would detect traces.
#include "tests/support/FileServer.h"
#include "tests/support/Processes.h"
#include "tests/support/SuiteTest.h"
#include "tests/support/Waiting.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <map>
#include <regex>

namespace {

using Tessel::Platform::Testing::iterateUntil;
using test_support::FileServer;
using test_support::Program;

constexpr std::string_view mark = "Zq7secret4Xw";

constexpr const char* page =
    R"(<!doctype html><link rel=icon href=icon.png><title>Zq7secret4Xw</title>
<script>(async () => {
  const left = [];
  const leave = async (what, how) => { try { await how(); left.push(what); } catch (e) {} };
  await leave('cookie', () => { document.cookie = 'own=Zq7secret4Xw; max-age=9999'; if (!document.cookie.includes('own')) throw 1; });
  await leave('localStorage', () => { localStorage.own = 'Zq7secret4Xw'; });
  await leave('indexedDB', () => new Promise((done, failed) => {
    const opening = indexedDB.open('Zq7secret4Xw');
    opening.onerror = failed;
    opening.onupgradeneeded = () => opening.result.createObjectStore('s');
    opening.onsuccess = () => {
      const writing = opening.result.transaction('s', 'readwrite');
      writing.objectStore('s').put('Zq7secret4Xw', 'key');
      writing.oncomplete = done;
      writing.onerror = failed;
    };
  }));
  await leave('caches', async () => (await caches.open('Zq7secret4Xw')).put('/page/kept', new Response('Zq7secret4Xw')));
  await leave('fetched', async () => (await fetch('big')).text());
  await leave('worker', async () => {
    await navigator.serviceWorker.register('worker.js');
    await navigator.serviceWorker.ready;
  });
  document.title = 'left ' + left.join();
})()</script>)";

using Files = std::map<std::string, std::string>;

Files filesBelow(const std::vector<std::filesystem::path>& folders) {
  Files files;
  for (const auto& folder : folders) {
    std::error_code gone;
    std::filesystem::recursive_directory_iterator entries(folder, gone);
    for (; !gone && entries != std::filesystem::recursive_directory_iterator();
         entries.increment(gone)) {
      // Folder names may contain traces, too. Files may disappear during the scan.
      std::string& content = files[entries->path().lexically_relative(folder.parent_path())];
      if (!entries->is_regular_file(gone)) continue;
      content = test_support::contentOf(entries->path());
    }
  }
  return files;
}

// Searches for the text as it is or in UTF-16, in names and in contents.
std::vector<std::string> withMark(const Files& files) {
  std::string wide;
  for (const char letter : mark) wide.append({letter, '\0'});
  std::vector<std::string> found;
  for (const auto& [name, content] : files) {
    const bool has = name.find(mark) != std::string::npos ||
                     content.find(mark) != std::string::npos ||
                     content.find(wide) != std::string::npos;
    if (has) found.push_back(name);
  }
  return found;
}

class PrivateTest : public test_support::SuiteTest,
                    public testing::WithParamInterface<const char*> {
 protected:
  PrivateTest() {
    server_.add("secret", "text/html", page, "server=" + std::string(mark) + "; Max-Age=9999");
    server_.add("icon.png", "image/svg+xml", "<svg xmlns='http://www.w3.org/2000/svg'/>");
    server_.add("worker.js", "text/javascript", "// " + std::string(mark));
    std::string big;
    while (big.size() < 200000) big += mark;
    server_.add("big", "text/plain", big);
  }

  // The files while the page is open, then those left after everything was killed.
  std::pair<Files, Files> visit(const std::string& kind,
                                const std::function<bool(const Files&)>& isThere) {
    Program program(environment("visit.html?visit=" + kind + "&process=" + GetParam() +
                                "&page=" + server_.address() + "page/secret"));
    std::string line;
    while (line != "visited") {
      const auto next = program.nextLine();
      EXPECT_TRUE(next) << program.errors();
      if (!next) return {};
      line = *next;
      if (!line.starts_with("left ")) continue;
      std::printf("%s: %s\n", kind.c_str(), line.c_str());
      EXPECT_TRUE(line.starts_with("left cookie,localStorage,indexedDB,")) << line;
    }
    Files running;
    iterateUntil([&] { return isThere(running = files()); });
    const std::vector<pid_t> processes = test_support::descendantsOf(program.pid());
    ::kill(program.pid(), SIGKILL);
    EXPECT_EQ(program.status(), -SIGKILL);
    for (const pid_t process : processes) {
      EXPECT_TRUE(iterateUntil([&] { return !test_support::isRunning(process); })) << process;
    }
    return {running, files()};
  }
  Files files() const { return filesBelow({folder_ / "data", folder_ / "cache"}); }

  FileServer server_;
};

TEST_P(PrivateTest, LeavesNothingOnTheDisk) {
  const auto always = [](const Files&) { return true; };
  const auto [idle, before] = visit("none", always);
  const auto [during, after] = visit("private", always);
  for (const Files& files : {during, after}) {
    EXPECT_EQ(withMark(files), std::vector<std::string>());
    for (const auto& [name, content] : files) {
      // Data of the test's own chrome, whose pages are in a child.
      if (!std::string(GetParam()).empty() && name.find("pagehost/chrome/") != std::string::npos)
        continue;
      // The persistent session creates these at any time; the search for the mark has shown that
      // they contain nothing of the page.
      static const std::regex ofTheEngine(
          R"(.*/(WebKitCache(/Version \d+(/(Blobs|salt))?)?|hsts-storage\.sqlite.*|storage(/salt|(/[\w-]{43}){1,2}(/origin)?)?))");
      // Also folders of origins, at least of its own pages.
      if (name.ends_with("/origin")) {
        EXPECT_EQ(content.find("127.0.0.1"), std::string::npos);
      }
      EXPECT_TRUE(idle.contains(name) || before.contains(name) ||
                  std::regex_match(name, ofTheEngine))
          << name << " was not there before";
    }
  }
  // Otherwise the test could not detect traces.
  const auto [ordinary, left] =
      visit("ordinary", [](const Files& files) { return withMark(files).size() >= 3; });
  EXPECT_GE(withMark(left).size(), 3u) << testing::PrintToString(withMark(left));
}

INSTANTIATE_TEST_SUITE_P(InEitherProcess, PrivateTest, testing::Values("", "1"));

}  // namespace

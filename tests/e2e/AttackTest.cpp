// Malicious pages against the real program: they would print what they must not reach.
#include "tests/support/FileServer.h"
#include "tests/support/SuiteTest.h"

#include <gtest/gtest.h>

#include <fstream>
#include <thread>

namespace {

using test_support::FileServer;
using test_support::movePointer;
using test_support::pressButton;
using test_support::Program;

class AttackTest : public test_support::SuiteTest {
 protected:
  AttackTest() {
    const auto page = [&](const char* name, const std::string& html) {
      server_.add(name, "text/html", "<!doctype html><title>-</title>" + html);
    };
    page("owner",
         "<script>if (window.orv) orv.callNative('webview.printToStdout', 1, 'owned\\n')"
         "</script>");
    page("frame",
         "<body style='height: 100vh' onclick=\"top.location = '/page/owner'\">click here");
    page("probe",
         "<script>document.title = `${!window.orv ? 'none' : "
         "orv.callNative('bindingManager.listBindings') ? 'native' : 'refused'} at "
         "${location.hostname}`</script>");
    page("opener",
         "<script>function openKeeper() { const w = open('/page/keeper'); w.onload = () => {"
         " w.kept = orv.callNative } } document.title = 'ready'</script>");
    page("keeper",
         "<script>setInterval(() => { if (window.kept) document.title = "
         "kept('bindingManager.listBindings') ? 'calls' : 'nothing' }, 50)</script>");
    page("liar",
         "<script>function lie(url) { const w = open(url); w.document.write('<title>a "
         "bank</title>') }"
         " document.title = 'liar'</script>");
    answerWith("redirect", "302 Found", "Location: " + foreign() + "probe\r\n");
    answerWith("toNever", "302 Found", "Location: " + foreign() + "never\r\n");
    answerWith("empty", "204 No Content", "");
    server_.addAnswer("never", "");
    page("reader", readerPage);
  }
  void SetUp() override {
    SuiteTest::SetUp();
    write("reader.html", readerPage);
    write("leak.js", "window.leaked = true");
    write("framed.html", "<script>parent.postMessage('framed', '*')</script>");
  }

  // The same server under another name is another origin.
  std::string foreign() const {
    std::string address = server_.address() + "page/";
    return address.replace(address.find("127.0.0.1"), 9, "localhost");
  }
  void answerWith(const char* name, const std::string& status, const std::string& headers) {
    server_.addAnswer(name, "HTTP/1.1 " + status + "\r\n" + headers +
                                "Connection: close\r\nContent-Length: 0\r\n\r\n");
  }
  void write(const std::string& name, const std::string& text) const {
    std::ofstream(folder_ / "root" / name) << text;
  }

  // Messages of the frame arrive before a later message of the page to itself.
  static constexpr const char* readerPage =
      "<!doctype html><title>-</title><script>const read = [];"
      "try { const request = new XMLHttpRequest; request.open('GET', 'local:///leak.js', false);"
      " request.send(); if (request.responseText.includes('leaked')) read.push('request') } catch "
      "{}"
      "onload = () => { if (window.leaked) read.push('script'); postMessage('end', '*') };"
      "onmessage = ({ data }) => { if (data !== 'end') read.push('frame');"
      " else document.title = `reads ${read.sort().join(' ') || 'nothing'}` }</script>"
      "<script src=local:///leak.js></script><iframe src=local:///framed.html></iframe>";

  FileServer server_;
};

TEST_F(AttackTest, NativeFunctionsBelongToWhatTheProgramHasLoaded) {
  runSuite("attacks.html?server=" + server_.address());
  runSuite("attacks.html?process=1&server=" + server_.address());
}

// An empty document cannot be refused: it is created synchronously.
TEST_F(AttackTest, AChromeThatIsEmptiedComesBack) {
  write("emptied.html",
        "<script>localStorage.n = 1 + Number(localStorage.n || 0);"
        "if (localStorage.n == 1) location = 'about:blank';"
        "else orv.callNative('webview.printToStdout', 1, 'back\\n')</script>");
  Program program(environment("emptied.html"));
  EXPECT_TRUE(program.waitForLine("back")) << program.errors();
}

TEST_F(AttackTest, AFileBesideTheChromeSaysWhoElseMayCall) {
  server_.add("panel", "text/html",
              "<script>orv.callNative('webview.printToStdout', 1, `${"
              "orv.callNative('application.getenv', 'HOME') ? 'owned' : 'panel'}\\n`);"
              "location = '" +
                  foreign() + "owner'</script>");
  const std::string panel = server_.address() + "page/panel";
  write("app.html", "<script>location = '" + panel + "'</script>");
  const std::string origin = panel.substr(0, panel.find("/page"));
  write("capabilities.json", "{\"" + origin + "\": [\"webview.printToStdout\"]}");
  Program program(environment("app.html"));
  EXPECT_EQ(program.nextLine(), "panel") << program.errors();
  EXPECT_TRUE(program.waitForError("does not go to " + foreign() + "owner")) << program.errors();
  // A malformed file grants no permissions.
  write("capabilities.json", "{\"" + origin + "\": [\"webview.prnt\"]}");
  Program other(environment("app.html"), {"--new"});
  EXPECT_TRUE(other.waitForError("capabilities.json:1:")) << other.errors();
  EXPECT_TRUE(other.waitForError("does not go to " + panel)) << other.errors();
}

TEST_F(AttackTest, ALinkThatIsDroppedOnTheTabStripLeadsNowhere) {
  server_.add("link", "text/html",
              "<!doctype html><title>link</title><body style='margin:0;background:#ff0000'>"
              "<a href=target style='position:fixed;inset:0;background:#ff0000'></a>");
  // Where it is shown: the window's height is the chrome's alone.
  server_.add("target", "text/html",
              "<script>fetch(innerHeight < 600 ? 'inTab' : 'asChrome')</script>");
  Program program(environment(""), {server_.address() + "page/link"});
  ASSERT_TRUE(test_support::waitForPixel(400, 400, {255, 0, 0})) << program.errors();
  movePointer(400, 400);
  pressButton(1, true);
  // A drag starts after a minimum distance and then follows the pointer.
  for (int step = 1; step <= 40; ++step) {
    movePointer(400, 400 - step * 10 + 15);
    std::this_thread::sleep_for(std::chrono::milliseconds(15));
  }
  pressButton(1, false);
  // Clicks work again as soon as the drag is over.
  const auto end = std::chrono::steady_clock::now() + Program::patience;
  while (server_.requestsFor("inTab") == 0 && std::chrono::steady_clock::now() < end) {
    test_support::clickAt(400, 400);
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
  }
  EXPECT_GT(server_.requestsFor("inTab"), 0);
  EXPECT_EQ(server_.requestsFor("asChrome"), 0);
  EXPECT_EQ(program.errors().find("does not go to"), std::string::npos);
}

// Whatever gets into the bundled chrome runs nothing and reaches nothing outside its folder.
TEST_F(AttackTest, TheBundledChromeRunsItsOwnFilesAndReachesNothingElse) {
  namespace fs = std::filesystem;
  const auto chrome = fs::path(PAGEHOST_TEST_PROGRAM).parent_path() / "share/chrome";
  fs::copy(chrome, folder_ / "root/bundled", fs::copy_options::recursive);
  std::ofstream(folder_ / "root/bundled/index.html", std::ios::app)
      << "<script src=try.js></script>";
  write("bundled/try.js", "const url = '" + server_.address() + R"js(page/owner';
      window.ran = [];
      const add = (name, fields) => new Promise(resolve => {
        const element = document.createElement(name);
        Object.assign(element, fields, { onload: resolve, onerror: resolve });
        document.body.append(element);
      });
      add('script', { textContent: "ran.push('text')" });
      add('b', { innerHTML: `<img src=data: onerror="ran.push('handler')">` });
      try { eval("ran.push('eval')") } catch {}
      (async () => {
        add('iframe', { src: url });
        await Promise.all([add('script', { src: url }), add('img', { src: url }),
          fetch(url).catch(() => {})]);
        orv.callNative('webview.printToStdout', 1, `ran: ${ran}\n`);
      })();)js");
  Program program(environment("bundled/index.html"));
  EXPECT_EQ(program.nextLine(), "ran: ") << program.errors();
  EXPECT_EQ(server_.requestsFor("owner"), 0);
}

TEST_F(AttackTest, NoPageSilencesTheChromeOrItsProcessByWhatIsTooLarge) {
  runSuite("oversized.html");
  runSuite("oversized.html?process=1");
}

}  // namespace

// The real program, controlled from outside: by pagehost-ctl, by a second start, over the session
// bus.
#include "tests/support/FileContent.h"
#include "tests/support/MockBus.h"
#include "tests/support/Processes.h"
#include "tests/support/SuiteTest.h"

#include <cairo.h>
#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <gtest/gtest.h>
#include <rapidjson/document.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>

namespace {

using test_support::isRunning;
using test_support::Program;

test_support::Pixel pixelIn(const std::string& png, int x, int y) {
  cairo_surface_t* const picture = cairo_image_surface_create_from_png(png.c_str());
  const cairo_status_t status = cairo_surface_status(picture);
  EXPECT_EQ(status, CAIRO_STATUS_SUCCESS) << png << ": " << cairo_status_to_string(status);
  if (status != CAIRO_STATUS_SUCCESS || x >= cairo_image_surface_get_width(picture) ||
      y >= cairo_image_surface_get_height(picture)) {
    cairo_surface_destroy(picture);
    return {-1, -1, -1};
  }
  const unsigned char* const row =
      cairo_image_surface_get_data(picture) + y * cairo_image_surface_get_stride(picture);
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, row + 4 * x, sizeof pixel);
  cairo_surface_destroy(picture);
  return {int(pixel >> 16 & 255), int(pixel >> 8 & 255), int(pixel & 255)};
}

struct Told {
  std::optional<int> status;
  std::string output;
  std::string errors;
};

class ControlTest : public test_support::SuiteTest {
 protected:
  // A chrome with a web view in a process of its own.
  std::unique_ptr<Program> controlled(std::vector<std::string> options = {},
                                      const Program::Environment& changes = {}) const {
    auto program = std::make_unique<Program>(environment("controlled.html", changes), options);
    EXPECT_TRUE(program->waitForLine("shown")) << program->errors();
    return program;
  }
  // Starts it again with the same profile.
  std::unique_ptr<Program> again(std::vector<std::string> arguments) const {
    return std::make_unique<Program>(environment("controlled.html"), arguments);
  }

  static Told control(std::vector<std::string> words) {
    Program client({}, words, "pagehost-ctl", PAGEHOST_TEST_CONTROL);
    Told told;
    while (const auto line = client.nextLine()) told.output += *line + "\n";
    told.status = client.status();
    told.errors = client.errors();
    return told;
  }
  static Told control(const Program& program, std::vector<std::string> words) {
    words.insert(words.begin(), {"--pid", std::to_string(program.pid())});
    return control(words);
  }
  static rapidjson::Document statusOf(const Program& program) {
    rapidjson::Document status;
    status.Parse(control(program, {"status"}).output.c_str());
    return status;
  }
  // Until a web view shows that title; false at the deadline.
  static bool waitForTitle(const Program& program, const char* view, const std::string& title) {
    const auto end = std::chrono::steady_clock::now() + Program::patience;
    while (std::chrono::steady_clock::now() < end) {
      const Told told = control(program, {"--view", view, "eval", "document.title"});
      if (told.output == "\"" + title + "\"\n") return true;
    }
    return false;
  }
  std::string page(const std::string& title) const {
    const auto path = folder_ / (title + ".html");
    std::ofstream(path) << "<title>" << title << "</title>";
    return "file://" + path.string();
  }
};

TEST_F(ControlTest, TheStatusTellsViewsProcessesAndMemory) {
  const auto program = controlled({"--profile", "shop"});
  const auto status = statusOf(*program);
  ASSERT_TRUE(status.IsObject()) << program->errors();
  EXPECT_EQ(status["pid"].GetInt(), program->pid());
  EXPECT_STREQ(status["profile"].GetString(), "shop");
  EXPECT_GT(status["uptime"].GetDouble(), 0);
  EXPECT_FALSE(status["eval"].GetBool());
  const auto& views = status["views"];
  ASSERT_EQ(views.Size(), 2u);
  EXPECT_EQ(views[0]["view"].GetInt(), 1);
  EXPECT_EQ(views[0]["process"].GetInt(), program->pid());
  EXPECT_STREQ(views[0]["address"].GetString(), "local:///controlled.html");
  EXPECT_STREQ(views[1]["address"].GetString(), "local:///visited.html");
  EXPECT_STREQ(views[1]["title"].GetString(), "visited");
  EXPECT_EQ(views[1]["progress"].GetInt(), 100);
  std::map<std::string, int> roles;
  std::uint64_t rss = 0;
  for (const auto& process : status["processes"].GetArray()) {
    ++roles[process["role"].GetString()];
    rss += process["rss"].GetUint64();
    EXPECT_TRUE(isRunning(process["process"].GetInt()));
    if (process["process"].GetInt() != views[1]["process"].GetInt()) continue;
    EXPECT_STREQ(process["role"].GetString(), "web views");
    EXPECT_GT(process["rss"].GetUint64(), 10u << 20);
  }
  EXPECT_EQ(roles["program"], 1);
  EXPECT_EQ(roles["web views"], 1);
  EXPECT_GE(roles["pages"], 2);
  EXPECT_EQ(status["rss"].GetUint64(), rss);
  if (::geteuid() == 0) {
    EXPECT_GT(status["pss"].GetUint64(), 0u);
    EXPECT_LT(status["pss"].GetUint64(), rss);
  }
  // A process that does not answer holds nobody up.
  const pid_t child = views[1]["process"].GetInt();
  ASSERT_EQ(::kill(child, SIGSTOP), 0);
  const auto later = statusOf(*program);
  ASSERT_TRUE(later.IsObject());
  EXPECT_TRUE(later["views"][0]["answers"].GetBool());
  EXPECT_FALSE(later["views"][1]["answers"].GetBool());
  ::kill(child, SIGCONT);
}

TEST_F(ControlTest, PagesAreLoadedAndScriptsRunWhereTheyAreAllowed) {
  const auto program = controlled({"--allow-eval"});
  const auto eval = [&](const char* view, const char* script) {
    return control(*program, {"--view", view, "eval", script});
  };
  EXPECT_EQ(eval("1", "1 + 1").output, "2\n");
  EXPECT_EQ(eval("2", "[location.pathname, undefined]").output,
            "[\n  \"/visited.html\",\n  null\n]\n");
  EXPECT_EQ(eval("2", "void 0").output, "null\n");
  for (const char* view : {"1", "2"}) {
    const Told thrown = eval(view, "throw new Error('mine')");
    EXPECT_EQ(thrown.status, 1);
    EXPECT_NE(thrown.errors.find("mine"), std::string::npos) << thrown.errors;
  }
  // The second one is in another process.
  for (const std::string view : {"2", "1"}) {
    EXPECT_EQ(control(*program, {"--view", view, "load", page("loaded" + view)}).status, 0);
    EXPECT_TRUE(waitForTitle(*program, view.c_str(), "loaded" + view)) << program->errors();
    std::ofstream(folder_ / ("loaded" + view + ".html")) << "<title>again</title>";
    EXPECT_EQ(control(*program, {"--view", view, "reload"}).status, 0);
    EXPECT_TRUE(waitForTitle(*program, view.c_str(), "again")) << program->errors();
  }
  EXPECT_EQ(control(*program, {"load", "no address"}).status, 1);
  EXPECT_EQ(control(*program, {"--view", "9", "load", page("nowhere")}).status, 1);
  EXPECT_EQ(control(*program, {"load"}).status, 2);
  EXPECT_EQ(control(*program, {"--view", "x", "reload"}).status, 2);
  // A script without end keeps neither the client nor the program.
  EXPECT_EQ(control(*program, {"--view", "1", "--timeout", "1", "eval", "for (;;);"}).status, 4);
  EXPECT_EQ(control(*program, {"about"}).status, 0);
  EXPECT_EQ(control(*program, {"close"}).status, 0);
  EXPECT_EQ(program->status(), 0);
}

TEST_F(ControlTest, APictureOfTheWindowShowsEveryProcessAndScriptsAreRefused) {
  const auto program = controlled();
  const Told refused = control(*program, {"eval", "1"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.errors.find("--allow-eval"), std::string::npos) << refused.errors;
  ASSERT_TRUE(test_support::waitForPixel(600, 300, {0, 200, 0}));
  // What is in front of the window is not in its picture.
  test_support::coverScreen(true);
  const std::string file = (folder_ / "window.png").string();
  EXPECT_EQ(control(*program, {"screenshot", file}).status, 0);
  test_support::coverScreen(false);
  const std::string png = test_support::contentOf(file);
  ASSERT_EQ(png.substr(1, 3), "PNG");
  const auto sizeAt = [&](std::size_t place) {
    return static_cast<unsigned char>(png[place + 2]) << 8 |
           static_cast<unsigned char>(png[place + 3]);
  };
  EXPECT_EQ(sizeAt(16), 800);
  EXPECT_EQ(sizeAt(20), 600);
  EXPECT_EQ(pixelIn(file, 200, 300), (test_support::Pixel{200, 0, 0}));
  EXPECT_EQ(pixelIn(file, 600, 300), (test_support::Pixel{0, 200, 0}));
  EXPECT_EQ(control(*program, {"screenshot", (folder_ / "none" / "x.png").string()}).status, 1);
}

TEST_F(ControlTest, AHangingProgramEndsTheCommandAndNoneOrSeveralAreToldApart) {
  // Of all programs of this user, those of other tests included.
  const std::string one = "one" + std::to_string(::getpid());
  const auto program = controlled({"--profile", one});
  ASSERT_EQ(::kill(program->pid(), SIGSTOP), 0);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(control(*program, {"--timeout", "1", "status"}).status, 4);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  ASSERT_EQ(::kill(program->pid(), SIGCONT), 0);
  EXPECT_EQ(control({"--profile", one, "about"}).status, 0);
  EXPECT_EQ(control({"--profile", "none" + one, "about"}).status, 3);
  const auto second = controlled({"--profile", one, "--new"});
  const Told several = control({"--profile", one, "about"});
  EXPECT_EQ(several.status, 3);
  EXPECT_NE(several.errors.find(std::to_string(second->pid())), std::string::npos)
      << several.errors;
  const Told list = control({"list"});
  EXPECT_EQ(list.status, 0);
  EXPECT_NE(list.output.find(std::to_string(second->pid()) + "\t"), std::string::npos);
}

TEST_F(ControlTest, ASecondStartHandsItsAddressesToTheFirst) {
  const auto first = controlled();
  std::ofstream(folder_ / "here.html") << "<title>here</title>";
  const auto second = again({"https://example.org/", (folder_ / "here.html").string()});
  EXPECT_EQ(second->status(), 0) << second->errors();
  EXPECT_TRUE(first->waitForLine(R"(invoked {"action":"open","uri":"https://example.org/"})"))
      << first->errors();
  EXPECT_TRUE(first->waitForLine(R"(invoked {"action":"open","uri":"file://)" +
                                 (folder_ / "here.html").string() + "\"}"));
  EXPECT_EQ(again({})->status(), 0);
  EXPECT_TRUE(first->waitForLine(R"(invoked {"action":"activate"})"));
  {
    const auto own = again({"--new"});
    EXPECT_TRUE(own->waitForLine("ready")) << own->errors();
  }
  // What a killed program has left behind holds nobody up.
  ASSERT_EQ(::kill(first->pid(), SIGKILL), 0);
  ASSERT_EQ(first->status(), -SIGKILL);
  const auto next = again({});
  EXPECT_TRUE(next->waitForLine("ready")) << next->errors();
}

TEST_F(ControlTest, OfSeveralStartsAtOnceOneGoesOnAndIsGivenTheAddressesOfAll) {
  constexpr int count = 4;
  std::vector<std::unique_ptr<Program>> programs;
  for (int i = 0; i < count; ++i)
    programs.push_back(again({"https://example.org/" + std::to_string(i)}));
  // Those that are not the first end, at the latest when that has started.
  const auto end = std::chrono::steady_clock::now() + Program::patience;
  const auto running = [&] {
    return std::count_if(programs.begin(), programs.end(),
                         [](const auto& each) { return isRunning(each->pid()); });
  };
  while (running() > 1 && std::chrono::steady_clock::now() < end) ::usleep(20000);
  ASSERT_EQ(running(), 1);
  for (int i = 0; i < count; ++i) {
    if (!isRunning(programs[static_cast<std::size_t>(i)]->pid())) {
      EXPECT_EQ(programs[static_cast<std::size_t>(i)]->status(), 0);
      continue;
    }
    std::set<std::string> invoked;
    while (static_cast<int>(invoked.size()) < count - 1) {
      const auto line = programs[static_cast<std::size_t>(i)]->nextLine();
      ASSERT_TRUE(line) << programs[static_cast<std::size_t>(i)]->errors();
      if (line->starts_with("invoked ")) invoked.insert(*line);
    }
  }
}

TEST_F(ControlTest, TheSessionBusLeadsToTheSameCommandsAndTheDesktopActivates) {
  if (!test_support::MockBus::hasBus()) GTEST_SKIP() << "dbus-daemon is not installed";
  // Which the bus takes out of the environment.
  const std::string display = std::getenv("DISPLAY");
  const test_support::MockBus bus;
  GDBusConnection* const connection = bus.connect();
  ASSERT_TRUE(connection);
  const auto program =
      controlled({}, {{"DBUS_SESSION_BUS_ADDRESS", bus.address()}, {"DISPLAY", display}});
  const std::string name = "net.pagehost.Pagehost.Process" + std::to_string(program->pid());
  const auto call = [&](const char* interface, const char* method, GVariant* parameters,
                        GUnixFDList** files = nullptr) {
    GError* error = nullptr;
    GVariant* const answer = g_dbus_connection_call_with_unix_fd_list_sync(
        connection, name.c_str(), "/net/pagehost/Pagehost", interface, method, parameters, nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, 30000, nullptr, files, nullptr, &error);
    std::string text = answer ? "" : error->message;
    if (answer) {
      gchar* const printed = g_variant_print(answer, FALSE);
      text = printed;
      g_free(printed);
      g_variant_unref(answer);
    }
    g_clear_error(&error);
    return text;
  };
  constexpr const char* control = "net.pagehost.Control";
  constexpr const char* application = "org.freedesktop.Application";
  EXPECT_NE(call(control, "Status", nullptr).find("\"local:///visited.html\""), std::string::npos);
  EXPECT_NE(call(control, "Eval", g_variant_new("(us)", 1, "1")).find("--allow-eval"),
            std::string::npos);
  EXPECT_NE(call(control, "Load", g_variant_new("(us)", 9, "about:blank")).find("no web view 9"),
            std::string::npos);
  GUnixFDList* files = nullptr;
  EXPECT_EQ(call(control, "Screenshot", nullptr, &files), "(0,)");
  ASSERT_TRUE(files);
  EXPECT_EQ(g_unix_fd_list_get_length(files), 1);
  g_object_unref(files);
  GVariantBuilder none;
  g_variant_builder_init(&none, G_VARIANT_TYPE_VARDICT);
  const char* const uris[] = {"file:///tmp/a%20b", nullptr};
  EXPECT_EQ(call(application, "Open", g_variant_new("(^asa{sv})", uris, &none)), "()");
  EXPECT_TRUE(program->waitForLine(R"(invoked {"action":"open","uri":"file:///tmp/a%20b"})"));
  g_variant_builder_init(&none, G_VARIANT_TYPE_VARDICT);
  EXPECT_EQ(call(application, "Activate", g_variant_new("(a{sv})", &none)), "()");
  EXPECT_TRUE(program->waitForLine(R"(invoked {"action":"activate"})"));
  EXPECT_EQ(call(control, "Close", nullptr), "()");
  EXPECT_EQ(program->status(), 0);
  g_object_unref(connection);
}

}  // namespace

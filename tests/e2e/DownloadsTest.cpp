// Interrupted and resumed downloads of the real program, from a server that is slow or drops
// connections.
#include "tests/support/FileServer.h"
#include "tests/support/SuiteTest.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>

namespace {

using test_support::FileServer;

class DownloadsTest : public test_support::SuiteTest {};

TEST_F(DownloadsTest, GoOnFromWhereTheyStoodAndLeaveNothingElse) {
  constexpr std::size_t size = 400000;
  for (const char* process : {"", "1"}) {
    const FileServer server;
    const std::filesystem::path folder = folder_ / ("downloads" + std::string(process));
    std::filesystem::create_directory(folder);
    std::ofstream(folder / "stale.bin.wkdownload") << std::string(1000, 'x');
    std::filesystem::create_directories(folder_ / "config");
    std::ofstream(folder_ / "config/user-dirs.dirs")
        << "XDG_DOWNLOAD_DIR=\"" << folder.string() << "\"\n";
    runSuite("downloads.html?process=" + std::string(process) + "&server=" + server.address() +
                 "&folder=" + folder.string(),
             {{"XDG_CONFIG_HOME", (folder_ / "config").string()}});
    const std::map<std::string, int> expected{{"paused.bin", 1},       {"twice.bin", 1},
                                              {"whole.bin", 1},        {"changed.bin", 2},
                                              {"untagged.bin", 1},     {"broken.bin", 1},
                                              {"stale.bin", 1},        {"of a person, 100%.bin", 1},
                                              {"straße?.bin", 1},      {"given%20here.bin", 1},
                                              {"by the server.bin", 1}};
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      const auto found = expected.find(entry.path().filename());
      ASSERT_NE(found, expected.end()) << entry << " was left";
      const bool isWhole =
          test_support::contentOf(entry.path()) == FileServer::content(size, found->second);
      EXPECT_TRUE(isWhole) << entry;
      ++count;
    }
    EXPECT_EQ(count, expected.size());
  }
}

}  // namespace

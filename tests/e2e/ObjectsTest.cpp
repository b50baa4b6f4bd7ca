// The real program and the objects that it shares with others: here, with this test, which edits
// their files. The chrome of these tests takes its orders from an object as well.
#include "tests/link/TemporaryFolder.h"
#include "tests/support/Program.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace {

using test_support::Program;

class ObjectsTest : public testing::Test {
 protected:
  ObjectsTest() {
    folder_.write("pps/orders", "");
    folder_.write("pps/dir/status", "level:n:1\n");
  }

  Program::Environment environment() const {
    return {{"CHROME_URL", "local:///objects.html"},
            {"TESSEL_LOCAL_ROOT", PAGEHOST_TEST_PAGES},
            {"TESSEL_PPS_ROOT", (folder_.path() / "pps").string()},
            {"TESSEL_CCL_FILE", (folder_.path() / "events").string()},
            {"XDG_DATA_HOME", (folder_.path() / "data").string()},
            {"XDG_CACHE_HOME", (folder_.path() / "cache").string()}};
  }
  void order(const std::string& json) {
    orders_ += "order" + std::to_string(++count_) + ":json:" + json + "\n";
    folder_.write("pps/orders", orders_);
  }
  std::string textOf(const std::string& name) const {
    std::ifstream file(folder_.path() / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  test_support::TemporaryFolder folder_;

 private:
  std::string orders_;
  int count_ = 0;
};

TEST_F(ObjectsTest, TheChromeHearsOfAnObjectThatIsEditedFromOutside) {
  Program program(environment());
  ASSERT_TRUE(program.waitForLine(R"(orders {"result":true,"data":{"orders":{}}})"))
      << program.errors();
  order(R"({"order":"open","id":2,"path":"/dir/status"})");
  ASSERT_TRUE(program.waitForLine(R"(open 2 {"result":true,"data":{"status":{"level":1}}})"));
  ASSERT_TRUE(program.waitForLine("2 Opened"));
  ASSERT_TRUE(program.waitForLine(R"(2 FirstReadComplete {"status":{"level":1}})"));
  folder_.write("pps/dir/status", "level:n:2\nname::outside\n");
  ASSERT_TRUE(program.waitForLine(R"(2 NewData {"status":{"level":2,"name":"outside"}})"));
  order(R"({"order":"write","id":2,"attributes":{"level":3,"name":null,"on":true}})");
  ASSERT_TRUE(program.waitForLine("write 2 true"));
  ASSERT_TRUE(program.waitForLine(R"(2 NewData {"status":{"level":3,"on":true}})"));
  EXPECT_EQ(textOf("pps/dir/status"), "@status\nlevel:n:3\non:b:true\n");
  order(R"({"order":"write","id":2,"attributes":{"name":"two\nlines"}})");
  ASSERT_TRUE(program.waitForLine("write 2 false"));
  ASSERT_TRUE(program.waitForLine("2 WriteFailed "));
  std::filesystem::remove(folder_.path() / "pps/dir/status");
  ASSERT_TRUE(program.waitForLine("2 ReadFailed The object \"/dir/status\" could not be read"));
  order(R"({"order":"close","id":2})");
  ASSERT_TRUE(program.waitForLine("2 Closed"));
  order(R"({"order":"open","id":2,"path":"../outside"})");
  EXPECT_TRUE(program.waitForLine(R"(open 2 {"result":false})")) << program.errors();
}

TEST_F(ObjectsTest, AnalyticsReachTheFileOfTheUser) {
  Program program(environment());
  ASSERT_TRUE(program.waitForLine("orders ")) << program.errors();
  order(R"({"order":"call","name":"ccl.init","args":["shop","1"]})");
  ASSERT_TRUE(program.waitForLine("ccl.init 1")) << program.errors();
  order(R"({"order":"call","name":"ccl.onSearchEvent","args":["shoes"]})");
  ASSERT_TRUE(program.waitForLine("ccl.onSearchEvent 0")) << program.errors();
  EXPECT_NE(textOf("events").find(R"("event":"search","text":"shoes"})"), std::string::npos);
}

}  // namespace

// The real program and the objects that it shares with others: here, with this test, which edits
// their files. The chrome of these tests takes its orders from an object as well.
#include "tests/support/SuiteTest.h"

#include <gtest/gtest.h>

namespace {

using test_support::Program;

class ObjectsTest : public test_support::SuiteTest {
 protected:
  ObjectsTest() {
    temporary_.write("pps/orders", "");
    temporary_.write("pps/dir/status", "level:n:1\n");
  }

  Program::Environment environment() const {
    return SuiteTest::environment("objects.html",
                                  {{"TESSEL_PPS_ROOT", (folder_ / "pps").string()}});
  }
  void order(const std::string& json) {
    orders_ += "order" + std::to_string(++count_) + ":json:" + json + "\n";
    temporary_.write("pps/orders", orders_);
  }

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
  temporary_.write("pps/dir/status", "level:n:2\nname::outside\n");
  ASSERT_TRUE(program.waitForLine(R"(2 NewData {"status":{"level":2,"name":"outside"}})"));
  order(R"({"order":"write","id":2,"attributes":{"level":3,"name":null,"on":true}})");
  ASSERT_TRUE(program.waitForLine("write 2 true"));
  ASSERT_TRUE(program.waitForLine(R"(2 NewData {"status":{"level":3,"on":true}})"));
  EXPECT_EQ(temporary_.read("pps/dir/status"), "@status\nlevel:n:3\non:b:true\n");
  order(R"({"order":"write","id":2,"attributes":{"name":"two\nlines"}})");
  ASSERT_TRUE(program.waitForLine("write 2 false"));
  ASSERT_TRUE(program.waitForLine("2 WriteFailed "));
  std::filesystem::remove(folder_ / "pps/dir/status");
  ASSERT_TRUE(program.waitForLine("2 ReadFailed The object \"/dir/status\" could not be read"));
  order(R"({"order":"close","id":2})");
  ASSERT_TRUE(program.waitForLine("2 Closed"));
  order(R"({"order":"open","id":2,"path":"../outside"})");
  EXPECT_TRUE(program.waitForLine(R"(open 2 {"result":false})")) << program.errors();
}

}  // namespace

// The files with remembered form texts and log-ins. Main thread.
#include "engine/autofill/FormHistory.h"
#include "engine/autofill/PasswordStore.h"
#include "tests/support/TemporaryFolder.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

using Tessel::Platform::String;
using testing::ElementsAre;
using testing::IsEmpty;

class AutofillTest : public testing::Test {
 protected:
  std::string file(const char* name) const { return folder_ + "/" + name; }
  static mode_t modeOf(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
  }

  const test_support::TemporaryFolder temporary_;
  const std::string parent_ = temporary_.path();
  const std::string folder_ = parent_ + "/remembered";
};

TEST_F(AutofillTest, WhatIsRememberedOfFormsHasBounds) {
  FormHistory texts(folder_);
  const std::string longText(FormHistory::longestText + 1, 'x');
  const std::string longName(FormHistory::longestName + 1, 'n');
  texts.remember({{"", "a"}, {"blank", "  "}, {"long", longText}, {longName, "a"}});
  EXPECT_FALSE(std::filesystem::exists(folder_));
  for (int i = 0; i < 100; ++i) texts.remember({{"field", std::to_string(i)}});
  EXPECT_EQ(texts.offered("field", "").size(), FormHistory::mostOffered);
  EXPECT_EQ(texts.offered("field", "").front(), String("99"));
  EXPECT_THAT(texts.offered("field", "7"), IsEmpty());
  for (std::size_t i = 0; i < FormHistory::mostFields; ++i) {
    texts.remember({{std::to_string(i), "one"}});
  }
  EXPECT_THAT(texts.offered("field", ""), IsEmpty());
  EXPECT_THAT(texts.offered("0", ""), ElementsAre("one"));
}

TEST_F(AutofillTest, LogInsAreSavedByPlaceAndName) {
  FilePasswordStore store(folder_);
  EXPECT_TRUE(store.save({"https://b.example", "ann", "one"}));
  EXPECT_TRUE(store.save({"https://a.example", "ann", "two"}));
  EXPECT_TRUE(store.save({"https://b.example", "bob", "three"}));
  EXPECT_TRUE(store.save({"https://b.example", "ann", "\"four\"\n"}));
  FilePasswordStore other(folder_);
  EXPECT_THAT(other.of("https://b.example"),
              ElementsAre(SavedLogin{"https://b.example", "ann", "\"four\"\n"},
                          SavedLogin{"https://b.example", "bob", "three"}));
  EXPECT_THAT(store.of("https://b.example/"), IsEmpty());
  EXPECT_EQ(jsonOf(store.list()), String(R"([{"place":"https://a.example","username":"ann"},)"
                                         R"({"place":"https://b.example","username":"ann"},)"
                                         R"({"place":"https://b.example","username":"bob"}])"));
  for (const SavedLogin& login : store.list()) EXPECT_EQ(login.password, String());
  other.forget("https://b.example", "ann");
  EXPECT_EQ(store.of("https://b.example").size(), 1u);
  EXPECT_EQ(store.of("https://a.example").size(), 1u);
  store.clear();
  EXPECT_THAT(other.list(), IsEmpty());
  // Oversized values are rejected, not truncated.
  EXPECT_FALSE(store.save({"https://a.example", "ann", ""}));
  EXPECT_FALSE(store.save(
      {"https://a.example", "ann", std::string(FilePasswordStore::longestText + 1, 'x')}));
  EXPECT_THAT(store.list(), IsEmpty());
}

TEST_F(AutofillTest, NobodyElseReadsTheFilesAndNothingIsLeftBeside) {
  const mode_t before = ::umask(0);
  FilePasswordStore store(folder_);
  EXPECT_TRUE(store.save({"https://a.example", "ann", "one"}));
  EXPECT_TRUE(store.save({"https://a.example", "bob", "two"}));
  ::umask(before);
  EXPECT_EQ(modeOf(folder_), 0700u);
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    names.push_back(entry.path().filename());
    EXPECT_EQ(modeOf(entry.path()), 0600u) << entry.path();
  }
  EXPECT_THAT(names, testing::UnorderedElementsAre("logins.json", "logins.json.lock"));
}

TEST_F(AutofillTest, AFileThatIsNoneOfOursIsNotFollowedOrTrusted) {
  FilePasswordStore store(folder_);
  ASSERT_TRUE(store.save({"https://a.example", "ann", "one"}));
  for (const std::string text : {"", "{", "[]", "{\"logins\":7}", "{\"logins\":[7,null,{}]}"}) {
    std::ofstream(file("logins.json")) << text;
    EXPECT_THAT(store.of("https://a.example"), IsEmpty()) << text;
  }
  // A symbolic link is replaced; its target is unchanged.
  std::ofstream(parent_ + "/elsewhere") << "secret";
  std::filesystem::remove(file("logins.json"));
  std::filesystem::create_symlink(parent_ + "/elsewhere", file("logins.json"));
  EXPECT_TRUE(store.save({"https://a.example", "ann", "two"}));
  EXPECT_EQ(store.list().size(), 1u);
  EXPECT_EQ(temporary_.read("elsewhere"), "secret");
}

TEST_F(AutofillTest, ALockThatIsNeverGivenUpFailsTheChange) {
  FilePasswordStore store(folder_);
  ASSERT_TRUE(store.save({"https://a.example", "ann", "one"}));
  const std::string before = temporary_.read("remembered/logins.json");
  const Tessel::Platform::UniqueFd lock(::open(file("logins.json.lock").c_str(), O_RDWR));
  ASSERT_EQ(::flock(lock.get(), LOCK_EX), 0);
  EXPECT_FALSE(store.save({"https://a.example", "ann", "two"}));
  EXPECT_EQ(temporary_.read("remembered/logins.json"), before);
}

}  // namespace

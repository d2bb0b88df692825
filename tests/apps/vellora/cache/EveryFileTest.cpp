#include "apps/vellora/cache/EveryFile.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/apps/vellora/CommandFixture.h"

namespace vellora::command {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

/// A user who has asked two servers, each of which has a cache file of its own.
class EveryFileTest : public CommandFixture {
 protected:
  void SetUp() override {
    CommandFixture::SetUp();
    other = RecordsServer::start(DataSet::builtIn()).value();
    ASSERT_EQ(vellora({"--server", server->url(), "search-layouts", "Account"}).exitCode, 0);
    ASSERT_EQ(vellora({"--server", other->url(), "search-layouts", "Contact"}).exitCode, 0);
  }

  [[nodiscard]] ChildProcess::Ended vellora(const std::vector<std::string>& words) const {
    return ChildProcess::run(VELLORA, words, options);
  }

  [[nodiscard]] std::string listOf(const RecordsServer& one) const {
    return vellora({"--server", one.url(), "cache", "ls", "--names"}).out;
  }

  const std::string kept = folder.file(".cache/vellora");
  std::unique_ptr<RecordsServer> other;
};

TEST_F(EveryFileTest, LsAllListsEveryFileThatIsKept) {
  const auto ended = vellora({"cache", "ls", "--all"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out, AllOf(HasSubstr("layout/Account "), HasSubstr("layout/Contact "), HasSubstr(kept)));
  const auto names = vellora({"cache", "ls", "--all", "--names"}).out;  // their ages may differ
  EXPECT_THAT(names, AllOf(HasSubstr("layout/Account\n"), HasSubstr("layout/Contact\n")));
  EXPECT_EQ(vellora({"--server", server->url(), "cache", "ls", "--all", "--names"}).out, names);
  EXPECT_THAT(vellora({"--json", "cache", "ls", "--all"}).out,
              MatchesRegex(R"(\[\{"file":"[^"]+","blobs":.*\},\{"file":"[^"]+","blobs":.*\}\])"
                           "\n"));
}

TEST_F(EveryFileTest, PurgeAllEmptiesEveryFileThatIsKept) {
  const auto ended = vellora({"cache", "purge", "--all"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out,
              MatchesRegex(kept + "/[^:]+: deleted 4 entries\n" + kept + "/[^:]+: deleted 4 entries\n"));
  EXPECT_EQ(listOf(*server) + listOf(*other), "");
  EXPECT_THAT(vellora({"--json", "cache", "purge", "--all"}).out,
              MatchesRegex(R"(\[\{"file":"[^"]+","deleted":0\},\{"file":"[^"]+","deleted":0\}\])"
                           "\n"));
}

TEST_F(EveryFileTest, PurgeAllExpiredLeavesWhatIsFreshInEveryFile) {
  EXPECT_THAT(vellora({"cache", "purge", "--all", "--expired"}).out,
              MatchesRegex(kept + "/[^:]+: deleted 0 entries\n" + kept + "/[^:]+: deleted 0 entries\n"));
  EXPECT_THAT(listOf(*server), HasSubstr("layout/Account\n"));
  EXPECT_THAT(vellora({"--cache-timeout", "0", "cache", "purge", "--expired", "--all"}).out,
              MatchesRegex(kept + "/[^:]+: deleted 1 entry\n" + kept + "/[^:]+: deleted 1 entry\n"));
  EXPECT_THAT(listOf(*server), Not(HasSubstr("layout/Account\n")));
}

TEST_F(EveryFileTest, AnEntryIsNotDeletedInEveryFile) {
  const auto ended = vellora({"cache", "purge", "--all", "layout/Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.out, "");
  EXPECT_THAT(ended.err, HasSubstr("entries are deleted in one file"));
  EXPECT_THAT(listOf(*server), HasSubstr("layout/Account\n"));
  EXPECT_THAT(listOf(*other), HasSubstr("layout/Contact\n"));
}

TEST_F(EveryFileTest, PurgeAllOfOneServerLeavesTheOthers) {
  EXPECT_EQ(vellora({"--server", server->url(), "cache", "purge", "--all"}).out, "deleted 4 entries\n");
  EXPECT_EQ(listOf(*server), "");
  EXPECT_THAT(listOf(*other), HasSubstr("layout/Contact\n"));
  options.environment["VELLORA_SERVER"] = server->url();
  EXPECT_EQ(vellora({"cache", "purge", "--all"}).out, "deleted 0 entries\n");
  EXPECT_THAT(listOf(*other), HasSubstr("layout/Contact\n"));
}

TEST_F(EveryFileTest, AFileThatCannotBeUsedIsToldAndTheOthersAreLookedAt) {
  writeFile(kept + "/a.sqlite", "this is no cache, and long enough to be looked at");
  const auto listed = vellora({"cache", "ls", "--all"});
  EXPECT_EQ(listed.exitCode, 7);
  EXPECT_THAT(listed.err, HasSubstr(kept + "/a.sqlite"));
  EXPECT_THAT(listed.out, AllOf(HasSubstr("layout/Account "), HasSubstr("layout/Contact ")));
  const auto purged = vellora({"cache", "purge", "--all"});
  EXPECT_EQ(purged.exitCode, 7);
  EXPECT_EQ(listOf(*server) + listOf(*other), "");
}

TEST_F(EveryFileTest, WithoutAnyFileThatIsSaid) {
  std::filesystem::remove_all(kept);
  for (const char* const action : {"ls", "purge"}) {
    const auto ended = vellora({"cache", action, "--all"});
    EXPECT_EQ(ended.exitCode, 0);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.err, "vellora: no cache file is kept in " + kept + "\n");
  }
}

TEST_F(EveryFileTest, LsAllOfOneFileMakesNoSense) {
  const auto ended = vellora({"--cache", cacheFile, "cache", "ls", "--all"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_THAT(ended.err, HasSubstr("leave out --cache"));
}

TEST_F(EveryFileTest, NamesAreWhatShowAndPurgeTake) {
  EXPECT_THAT(listOf(*server),
              MatchesRegex("layout-names\nlayout/Account\nkept-body-key\nkept-body/[0-9a-f]{12}\n"));
  const auto shown = vellora({"--server", server->url(), "cache", "show", "layout/Account"});
  EXPECT_EQ(shown.out, vellora({"--server", server->url(), "cache", "show", "OPS_Layout_Account"}).out);
  EXPECT_THAT(shown.out, ContainsRegex("^\\{\"objectLayoutInfo\":"));
  EXPECT_THAT(vellora({"--json", "--server", server->url(), "cache", "show", "layout/Account"}).out,
              ContainsRegex("^\\{\"layout/Account\":"));
  EXPECT_EQ(
      vellora({"--server", server->url(), "cache", "purge", "layout/Account", "OPS_Layout_Account"}).out,
      "deleted 1 entry\n");
  EXPECT_THAT(listOf(*server), Not(HasSubstr("layout/Account")));
}

}  // namespace
}  // namespace vellora::command

#include "apps/vellora/command/SharedCache.h"

#include <filesystem>
#include <string>
#include <vector>

#include "tests/apps/vellora/SharedCacheFixture.h"

namespace vellora::command {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// A Redis that an earlier run of the command filled, and no server any more.
class SharedCacheTest : public SharedCacheFixture {
 protected:
  void SetUp() override {
    SharedCacheFixture::SetUp();
    ASSERT_EQ(vellora({"ids", "001000000000009"}).exitCode, 0);
    const auto ended = vellora({"search-layouts", "Account"});
    ASSERT_EQ(ended.exitCode, 0) << ended.err;
    looked = ended.out;
    server->stop();
  }

  [[nodiscard]] std::string entries() const { return vellora({"cache", "ls", "--names"}).out; }

  std::string looked;  ///< what the lookup printed
};

TEST_F(SharedCacheTest, AnotherMachineFindsWhatOneHasFetched) {
  options.environment["HOME"] = folder.file("another machine");
  const auto ended = vellora({"--offline", "search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.out, looked);
}

TEST_F(SharedCacheTest, LeavesNoFileBehind) {
  EXPECT_FALSE(std::filesystem::exists(folder.file(".cache")));
}

TEST_F(SharedCacheTest, AnotherTokenFindsNothing) {
  EXPECT_EQ(vellora(asUser("alice", {"--offline", "search-layouts", "Account"})).exitCode, 3);
  EXPECT_THAT(vellora(asUser("alice", {"cache", "ls"})).out, HasSubstr("The cache is empty.\n"));
}

TEST_F(SharedCacheTest, NoKeyTellsTheServer) {
  EXPECT_THAT(redis.keys(), Not(IsEmpty()));
  EXPECT_THAT(redis.keys(), testing::Each(Not(HasSubstr("127.0.0.1"))));
}

TEST_F(SharedCacheTest, LsTellsSizeAgeAndStateOfEveryEntry) {
  const auto ended = vellora({"cache", "ls"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out, StartsWith(redis.address() + "\n\nBLOB "));
  EXPECT_THAT(ended.out, ContainsRegex("layout/Account +[0-9]+ B +[0-9]+ s +fresh\n"));
  EXPECT_THAT(ended.out, ContainsRegex("\ntype/Account +[0-9]+ B +[0-9a-z ]+ +kept\n"));
}

TEST_F(SharedCacheTest, LsPrintsOneJsonDocument) {
  const auto ended = vellora({"--json", "cache", "ls"});
  EXPECT_THAT(ended.out, StartsWith("{\"file\":\"" + redis.address() + "\",\"blobs\":["));
  EXPECT_THAT(ended.out, HasSubstr(R"("tables":[{"key":"OPS_SObjectsCacheTable","rows":[)"));
}

TEST_F(SharedCacheTest, ShowPrintsWhatAnEntryHolds) {
  const auto ended = vellora({"cache", "show", "layout/Account"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out, AllOf(StartsWith("{"), HasSubstr("Account")));
}

TEST_F(SharedCacheTest, VerifyFindsDamage) {
  const auto sound = vellora({"cache", "verify"});
  EXPECT_THAT(sound.out, ContainsRegex("^sound: [0-9]+ entries\n$")) << sound.err;
  (void)redis.ask({"APPEND", redis.keys("*:blob:OPS_Layout_Account").at(0), "x"});
  const auto damaged = vellora({"cache", "verify"});
  EXPECT_EQ(damaged.exitCode, 7);
  EXPECT_THAT(damaged.out, HasSubstr("blob \"OPS_Layout_Account\" does not fit its checksum\n"));
  EXPECT_THAT(damaged.err, HasSubstr("the cache in " + redis.address() + " is damaged in places"));
}

TEST_F(SharedCacheTest, PurgeDeletesBlobsAndRowsThatAreNamed) {
  const auto ended = vellora({"cache", "purge", "layout/Account", "type/Account"});
  EXPECT_EQ(ended.out, "deleted 2 entries\n") << ended.err;
  EXPECT_THAT(entries(), AllOf(Not(HasSubstr("\nlayout/Account\n")), Not(HasSubstr("\ntype/Account\n")),
                               HasSubstr("\nprefix/001\n")));
}

TEST_F(SharedCacheTest, PurgeDeletesWhatIsDamaged) {
  (void)redis.ask({"HSET", redis.keys("*:row:*").at(0), "d", "another"});
  EXPECT_EQ(vellora({"--cache-timeout", "100000", "cache", "purge", "--expired"}).out, "deleted 1 entry\n");
  EXPECT_EQ(vellora({"cache", "verify"}).exitCode, 0);
}

TEST_F(SharedCacheTest, PurgeOfAllLeavesNoEntry) {
  ASSERT_EQ(vellora({"cache", "purge", "--all"}).exitCode, 0);
  EXPECT_EQ(entries(), "");
}

TEST_F(SharedCacheTest, DeleteTakesTheOwnersCacheAlone) {
  (void)redis.ask({"SET", "of somebody else", "1"});
  const auto ended = vellora({"cache", "delete"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.out, "deleted " + redis.address() + "\n");
  EXPECT_THAT(redis.keys(), ElementsAre("of somebody else"));
}

TEST_F(SharedCacheTest, WhatIsExportedCanBeImportedIntoAFileAndBack) {
  const std::string archive = folder.file("seed.json");
  const std::string before = entries();
  ASSERT_EQ(vellora({"cache", "export", archive}).exitCode, 0);
  ASSERT_EQ(vellora({"cache", "delete"}).exitCode, 0);
  ASSERT_EQ(velloraOf(cacheFile, {"cache", "import", archive}).exitCode, 0);
  EXPECT_EQ(velloraOf(cacheFile, {"--offline", "search-layouts", "Account"}).out, looked);
  const auto imported = vellora({"cache", "import", archive});
  EXPECT_EQ(imported.exitCode, 0) << imported.err;
  EXPECT_EQ(vellora({"--offline", "search-layouts", "Account"}).out, looked);
  EXPECT_EQ(vellora({"cache", "import", archive}).exitCode, 2);
  EXPECT_EQ(vellora({"cache", "import", "--replace", archive}).exitCode, 0);
}

TEST_F(SharedCacheTest, EveryActionNeedsTheServerWhoseCacheItIs) {
  for (const auto& action : std::vector<std::vector<std::string>>{{"ls"}, {"purge", "--all"}, {"delete"}}) {
    std::vector<std::string> words{"--cache", redis.address(), "cache"};
    words.insert(words.end(), action.begin(), action.end());
    const auto ended = ChildProcess::run(VELLORA, words, options);
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_THAT(ended.err, HasSubstr("give --server URL to say which"));
  }
}

TEST_F(SharedCacheTest, IsNoSideOfADiff) {
  const auto ended = vellora({"diff", redis.address(), cacheFile});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_THAT(ended.err, HasSubstr("vellora cache export writes what a Redis keeps"));
}

TEST_F(SharedCacheTest, TheConfigurationNamesItAndItsPassword) {
  (void)redis.ask({"CONFIG", "SET", "requirepass", "open sesame"});
  std::filesystem::create_directories(folder.path() / ".config/vellora");
  const std::string file = folder.file(".config/vellora/config.toml");
  writeFile(folder.file(".config/vellora/cache.password"), "open sesame\n");
  writeFile(file, "[servers.work]\naddress = \"" + server->url() + "\"\ncache = \"" + redis.address() +
                      "\"\ncache_password_file = \"cache.password\"\n");
  const std::vector<std::string> lookup{"--wait",    "1200",           "--server", "work",
                                        "--offline", "search-layouts", "Account"};
  const auto ended = ChildProcess::run(VELLORA, lookup, options);
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_EQ(ended.out, looked);

  const std::vector<std::string> listing{"--wait", "1200", "--server", "work", "cache", "ls"};
  EXPECT_THAT(ChildProcess::run(VELLORA, listing, options).out, StartsWith(redis.address() + "\n"));
  const std::vector<std::string> comparing{"diff", "cache:work", cacheFile};
  EXPECT_THAT(ChildProcess::run(VELLORA, comparing, options).err, HasSubstr("what a Redis keeps"));
}

TEST_F(SharedCacheTest, AnOptionCountsMoreThanTheConfiguration) {
  std::filesystem::create_directories(folder.path() / ".config/vellora");
  writeFile(folder.file(".config/vellora/config.toml"),
            "[servers.work]\naddress = \"" + server->url() + "\"\ncache = \"absent.sqlite\"\n");
  const std::vector<std::string> words{"--wait",  "1200",          "--server", "work",
                                       "--cache", redis.address(), "cache",    "ls"};
  const auto ended = ChildProcess::run(VELLORA, words, options);
  EXPECT_THAT(ended.out, StartsWith(redis.address() + "\n")) << ended.err;
}

}  // namespace
}  // namespace vellora::command

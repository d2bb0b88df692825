#include "apps/vellora/command/CachePlace.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/apps/vellora/CommandFixture.h"

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

/// The command as two users of one machine account use it: each has a token.
class CachePlaceTest : public CommandFixture {
 protected:
  void SetUp() override {
    CommandFixture::SetUp();
    writeFile(alice, "token-of-alice");
    writeFile(bob, "token-of-bob");
  }

  /// Runs with the default cache file.
  ChildProcess::Ended runBy(const std::vector<std::string>& token, std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), token.begin(), token.end());
    arguments.insert(arguments.begin(), {"--server", server->url()});
    return ChildProcess::run(VELLORA, arguments, options);
  }

  /// Without the logs beside them: the next program that opens a cache writes them into it.
  [[nodiscard]] std::vector<std::string> defaultCaches() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.file(".cache/vellora"))) {
      const std::string name = entry.path().filename().string();
      if (!name.ends_with("-wal") && !name.ends_with("-shm")) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  const std::string alice = folder.file("alice");
  const std::string bob = folder.file("bob");
};

TEST_F(CachePlaceTest, AnotherTokenIsRefusedACacheAndToldTheWayOut) {
  ASSERT_EQ(run({"--token-file", alice, "search-layouts", "Account"}).exitCode, 0);
  server->clearRequests();

  for (const auto& arguments : {std::vector<std::string>{"--token-file", bob, "search-layouts", "Account"},
                                {"search-layouts", "Account"}}) {
    const auto refused = run(arguments);
    EXPECT_EQ(refused.exitCode, 7);
    EXPECT_EQ(refused.out, "");
    EXPECT_EQ(refused.err, "vellora: The cache file \"" + cacheFile +
                               "\" was filled for another user or another server. Choose another path, or "
                               "delete that cache. vellora cache delete --cache " +
                               cacheFile + " deletes it\n");
  }
  EXPECT_THAT(server->requests(), IsEmpty());
  EXPECT_EQ(run({"--token-file", alice, "search-layouts", "Account"}).exitCode, 0);

  const auto deleted = ChildProcess::run(VELLORA, {"cache", "delete", "--cache", cacheFile}, options);
  EXPECT_EQ(deleted.exitCode, 0) << deleted.err;
  EXPECT_EQ(deleted.out, "deleted " + cacheFile + "\n");
  EXPECT_EQ(run({"--token-file", bob, "search-layouts", "Account"}).exitCode, 0);
  EXPECT_THAT(server->requests(), SizeIs(1));
}

TEST_F(CachePlaceTest, AnotherServerIsRefusedACacheToo) {
  ASSERT_EQ(run({"search-layouts", "Account"}).exitCode, 0);
  EXPECT_EQ(
      ChildProcess::run(VELLORA,
                        {"--server", "http://127.0.0.1:1", "--cache", cacheFile, "search-layouts", "Account"},
                        options)
          .exitCode,
      7);
  EXPECT_EQ(ChildProcess::run(
                VELLORA, {"--server", server->url() + "/", "--cache", cacheFile, "search-layouts", "Account"},
                options)
                .exitCode,
            0)
      << "the same server, written otherwise";
}

TEST_F(CachePlaceTest, EachTokenHasADefaultCacheOfItsOwn) {
  for (const std::vector<std::string>& token :
       {std::vector<std::string>{"--token-file", alice}, {"--token-file", bob}, {}}) {
    server->clearRequests();
    EXPECT_EQ(runBy(token, {"search-layouts", "Account"}).exitCode, 0);
    EXPECT_THAT(server->requests(), SizeIs(1)) << "which reads no other's cache";
    EXPECT_EQ(runBy(token, {"search-layouts", "Account"}).exitCode, 0);
    EXPECT_THAT(server->requests(), SizeIs(1)) << "but its own";
  }
  const auto names = defaultCaches();
  EXPECT_THAT(names, SizeIs(4));
  EXPECT_THAT(names, testing::Contains(".vellora-key"));
  for (const auto& name : names) {
    EXPECT_THAT(contentOf(folder.file(".cache/vellora/" + name)), Not(HasSubstr("token-of"))) << name;
  }
}

TEST_F(CachePlaceTest, TheCacheCommandsFindTheDefaultCacheOfAToken) {
  ASSERT_EQ(runBy({"--token-file", alice}, {"search-layouts", "Account"}).exitCode, 0);
  const auto own = runBy({"--token-file", alice}, {"cache", "ls"});
  EXPECT_EQ(own.exitCode, 0) << own.err;
  EXPECT_THAT(own.out, HasSubstr("layout/Account"));
  EXPECT_EQ(runBy({"--token-file", bob}, {"cache", "ls"}).exitCode, 7);
  EXPECT_EQ(runBy({}, {"cache", "ls"}).exitCode, 7);
  EXPECT_EQ(runBy({"--token-file", alice}, {"cache", "delete"}).exitCode, 0);
  EXPECT_THAT(defaultCaches(), ElementsAre(".vellora-key"));
}

TEST_F(CachePlaceTest, ACacheInUseIsNotDeleted) {
  ASSERT_EQ(run({"search-layouts", "Account"}).exitCode, 0);
  const auto inUse = hostkit::SQLiteCache::open(cacheFile).value();
  const auto refused = run({"cache", "delete"});
  EXPECT_EQ(refused.exitCode, 7);
  EXPECT_THAT(refused.err, HasSubstr("is locked by another process"));
  EXPECT_TRUE(std::filesystem::exists(cacheFile));
}

TEST_F(CachePlaceTest, AFolderForTheDefaultCacheThatCannotBeIsNamed) {
  const std::string home = folder.file(std::string(300, 'h'));
  options.environment["HOME"] = home;
  for (const std::vector<std::string>& token : {std::vector<std::string>{"--token-file", alice}, {}}) {
    const auto ended = runBy(token, {"search-layouts", "Account"});
    EXPECT_EQ(ended.exitCode, 7);
    EXPECT_THAT(ended.err, HasSubstr("(the folder \"" + home + "\": File name too long)"));
  }
}

TEST_F(CachePlaceTest, ARelativeCacheFileInAWorkingFolderThatIsGoneIsExitCodeSeven) {
  const std::string gone = folder.file("gone");
  std::filesystem::create_directory(gone);
  const auto ended =
      ChildProcess::run("/bin/sh",
                        {"-c", "cd '" + gone + "' && rmdir '" + gone + "' && '" VELLORA "' --server " +
                                   server->url() + " --cache c.sqlite search-layouts Account"},
                        options);
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr("the working folder: No such file or directory"));
}

TEST_F(CachePlaceTest, ALinkThatLeadsNowhereIsExitCodeSeven) {
  std::filesystem::create_symlink("absent", cacheFile);
  const auto ended = run({"search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr("it is a link that leads nowhere"));
  EXPECT_TRUE(std::filesystem::is_symlink(cacheFile));
}

}  // namespace
}  // namespace vellora::command

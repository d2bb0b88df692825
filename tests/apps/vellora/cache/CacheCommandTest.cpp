#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "hostkit/cache/CacheArchive.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "tests/apps/vellora/CommandFixture.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

/// A cache file that earlier runs of the command filled, and no server any more.
class CacheCommandTest : public CommandFixture {
 protected:
  void SetUp() override {
    CommandFixture::SetUp();
    ASSERT_EQ(run({"ids", "001000000000009"}).exitCode, 0);
    ASSERT_EQ(run({"search-layouts", "Account"}).exitCode, 0);
    server->stop();
  }

  ChildProcess::Ended cache(std::vector<std::string> arguments) const {
    return cacheOf(cacheFile, std::move(arguments));
  }

  ChildProcess::Ended cacheOf(const std::string& file, std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"--cache", file, "cache"});
    return ChildProcess::run(VELLORA, arguments, options);
  }

  /// Exports the cache as if its entries had been fetched then.
  void exportAsFetchedAt(Date time) const {
    const auto exported = hostkit::CacheArchive::decode(Data(cache({"export"}).out)).value();
    writeFile(archive, std::string(exported.fetchedAt(time).encode().value().view()));
  }

  const std::string archive = folder.file("seed.json");
};

TEST_F(CacheCommandTest, LsTellsSizeAgeAndStateOfEveryEntry) {
  const auto ended = cache({"ls"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out, StartsWith(cacheFile + "\n\nBLOB "));
  EXPECT_THAT(ended.out, ContainsRegex("layout/Account +[0-9]+ B +[0-9]+ s +fresh\n"));
  EXPECT_THAT(ended.out, ContainsRegex("types-fetched +8 B +[0-9]+ s +fresh\n"));
  EXPECT_THAT(ended.out, ContainsRegex("themes +[0-9.]+ kB +[0-9]+ s +fresh\n"));
  EXPECT_THAT(ended.out, ContainsRegex("\ntype/Account +[0-9]+ B +[0-9]+ s +kept\n"));
}

TEST_F(CacheCommandTest, LsJudgesByTheTimeOutThatItIsGiven) {
  const auto ended = cache({"--cache-timeout", "0", "ls"});
  EXPECT_THAT(ended.out, ContainsRegex("layout/Account +[0-9]+ B +[0-9]+ s +expired\n"));
  EXPECT_THAT(ended.out, ContainsRegex("\nprefixes +[0-9.]+ k?B +[0-9]+ s +expired\n"));
  EXPECT_THAT(ended.out, ContainsRegex("\ntype/Account .* kept\n"));
  EXPECT_THAT(ended.out, Not(HasSubstr("fresh")));
}

TEST_F(CacheCommandTest, LsPrintsOneJsonDocument) {
  const auto ended = cache({"--json", "ls"});
  EXPECT_EQ(ended.exitCode, 0);
  EXPECT_THAT(ended.out, StartsWith("{\"file\":\"" + cacheFile + "\",\"blobs\":[{\"entry\":\"OPS_Layout"));
  EXPECT_THAT(ended.out, HasSubstr(R"({"entry":"OPS_Layout_Account","bytes":)"));
  EXPECT_THAT(ended.out, HasSubstr(R"({"entry":"OPS_LayoutNames","bytes":11,"state":"kept"})"));
  EXPECT_THAT(
      ended.out,
      HasSubstr(R"("tables":[{"key":"OPS_SObjectsCacheTable","rows":[{"entry":"OPS_SObjectsCacheTable/)"));
}

TEST_F(CacheCommandTest, TheDefaultCacheOfAServerNeedsNoFileName) {
  const auto ended = ChildProcess::run(VELLORA, {"--server", "http://127.0.0.1:1", "cache", "ls"}, options);
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr("does not exist"));
}

TEST_F(CacheCommandTest, ShowPrintsWhatEntriesHold) {
  const auto ended = cache({"show", "OPS_SObjectsCacheTable/cacheEntryType=keyPrefix,keyPrefix=001",
                            "ops.theme.fetch.timestamp", "OPS_Layout_Account"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out, ContainsRegex("^\"Account\"\n20[0-9-]+T[0-9:]+Z\n\\{\"objectLayoutInfo\":"));
  const auto json =
      cache({"--json", "show", "OPS_SObjectsCacheTable/cacheEntryType=keyPrefix,keyPrefix=001"});
  EXPECT_EQ(json.out, R"({"OPS_SObjectsCacheTable/cacheEntryType=keyPrefix,keyPrefix=001":"Account"})"
                      "\n");
  EXPECT_THAT(cache({"--json", "show", "OPS_Layout_Account", "ops.theme.fetch.timestamp"}).out,
              ContainsRegex("^\\{\"OPS_Layout_Account\":\\{\"objectLayoutInfo\":.*,"
                            "\"ops.theme.fetch.timestamp\":\"20[0-9T:-]+Z\"\\}\n$"));
}

TEST_F(CacheCommandTest, ShowNamesWhatIsNotThere) {
  const auto ended = cache({"show", "nothing", ""});
  EXPECT_EQ(ended.exitCode, 3);
  EXPECT_EQ(ended.out, "");
  EXPECT_EQ(ended.err, "vellora: not in the cache: nothing, \"\"; vellora cache ls names what is\n");
}

TEST_F(CacheCommandTest, ShowNamesTheEntryThatWasProbablyMeant) {
  EXPECT_EQ(cache({"show", "layout/account"}).err,
            "vellora: not in the cache: layout/account; did you mean layout/Account?\n");
}

TEST_F(CacheCommandTest, VerifyTellsASoundFile) {
  const auto ended = cache({"verify"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out, ContainsRegex("^sound: [0-9]+ entries\n$"));
  EXPECT_EQ(cache({"--json", "verify"}).out, "{\"sound\":true,\"findings\":[]}\n");
}

TEST_F(CacheCommandTest, VerifyTellsADamagedEntryWhichPurgeThenDeletes) {
  std::string bytes = contentOf(cacheFile);
  const auto place = bytes.find("\"downloadedTime\"");
  ASSERT_NE(place, std::string::npos);
  bytes[place + 1] ^= 1;
  writeFile(cacheFile, bytes);

  const auto ended = cache({"verify"});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_EQ(ended.out, "blob \"OPS_Layout_Account\" does not fit its checksum\n");
  EXPECT_THAT(ended.err, HasSubstr("damaged in places"));
  EXPECT_THAT(cache({"ls"}).out, ContainsRegex("layout/Account +- +- +damaged\n"));
  EXPECT_EQ(cache({"show", "OPS_Layout_Account"}).exitCode, 3);
  EXPECT_EQ(cache({"purge", "--expired"}).out, "deleted 1 entry\n");
  EXPECT_EQ(cache({"verify"}).exitCode, 0);
}

TEST_F(CacheCommandTest, KeptBodiesAreListedAndPurgedAndNeverExported) {
  const auto listed = cache({"ls"}).out;
  EXPECT_THAT(listed, ContainsRegex("\nkept-body/[0-9a-f]{12} +[0-9.]+ kB +[0-9]+ s +kept\n"));
  EXPECT_THAT(listed, ContainsRegex("\nkept-body-key +32 B +[0-9]+ s +kept\n"));
  EXPECT_THAT(cache({"export"}).out, Not(HasSubstr("keptBody")));
  EXPECT_EQ(cache({"purge", "kept-body-key"}).out, "deleted 1 entry\n");
  const auto body = listed.substr(listed.find("kept-body/"), std::string("kept-body/0123456789ab").size());
  EXPECT_THAT(cache({"show", body}).out, AllOf(HasSubstr("etag"), HasSubstr("\"name\":\"Account\"")));
  EXPECT_EQ(cache({"purge", body}).out, "deleted 1 entry\n");
  EXPECT_THAT(cache({"ls"}).out, AllOf(Not(HasSubstr(body)), Not(HasSubstr("kept-body-key"))));
  EXPECT_EQ(cache({"verify"}).exitCode, 0);
}

TEST_F(CacheCommandTest, PurgeDeletesWhatItIsTold) {
  EXPECT_EQ(cache({"purge", "--expired"}).out, "deleted 0 entries\n");
  const auto some =
      cache({"purge", "OPS_Layout_Account", "OPS_ThemesCacheTable/cacheEntryType=themes", "nothing"});
  EXPECT_EQ(some.exitCode, 3);
  EXPECT_EQ(some.out, "deleted 2 entries\n");
  EXPECT_THAT(some.err, HasSubstr("not in the cache: nothing"));
  EXPECT_THAT(cache({"ls"}).out,
              AllOf(Not(HasSubstr("layout/Account")), Not(HasSubstr("\nthemes ")), HasSubstr("\ntypes ")));
  EXPECT_EQ(cache({"--cache-timeout", "0", "purge", "--expired"}).exitCode, 0);
  EXPECT_THAT(cache({"ls"}).out, AllOf(Not(HasSubstr("\ntypes ")), HasSubstr("type/Account")));
  EXPECT_EQ(cache({"purge", "--all"}).exitCode, 0);
  EXPECT_EQ(cache({"ls"}).out, cacheFile + "\nThe cache is empty.\n");
}

TEST_F(CacheCommandTest, PurgeAndDeleteTellInJsonWhatIsGone) {
  EXPECT_EQ(cache({"--json", "purge", "OPS_Layout_Account"}).out,
            "{\"deleted\":1,\"entries\":[\"OPS_Layout_Account\"]}\n");
  EXPECT_EQ(cache({"-o", "json", "purge", "--expired"}).out, "{\"deleted\":0,\"entries\":[]}\n");
  EXPECT_EQ(cache({"--json", "delete"}).out, "{\"deleted\":\"" + cacheFile + "\"}\n");
}

TEST_F(CacheCommandTest, LsPrintsRowsForScriptsToo) {
  EXPECT_THAT(cache({"-o", "csv", "ls"}).out,
              StartsWith("entry,name,kind,bytes,ageSeconds,state,file\nOPS_Layout"));
  EXPECT_THAT(cache({"-o", "tsv", "--columns", "state,entry", "ls"}).out,
              HasSubstr("\nfresh\tOPS_Layout_Account\n"));
  EXPECT_THAT(cache({"--columns", "kind,state", "ls"}).out, StartsWith("KIND  STATE\nblob  "));
  EXPECT_EQ(cache({"-o", "json", "ls"}).exitCode, 0);
  EXPECT_EQ(cache({"--columns", "nothing", "ls"}).exitCode, 2);
}

TEST_F(CacheCommandTest, PurgeIsToldOneThing) {
  for (const std::vector<std::string>& told :
       {std::vector<std::string>{"purge"}, {"purge", "--all", "--expired"}, {"purge", "--all", "x"}}) {
    const auto ended = cache(told);
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_THAT(ended.err, HasSubstr("say what to delete: entries, --expired or --all"));
  }
}

TEST_F(CacheCommandTest, AnImportedCacheAnswersAtItsFirstStartWithoutAServer) {
  ASSERT_EQ(cache({"export", archive}).exitCode, 0);
  const std::string first = folder.file("first.sqlite");
  ASSERT_EQ(cacheOf(first, {"import", archive}).exitCode, 0);
  const auto answered = ChildProcess::run(
      VELLORA, {"--server", server->url(), "--cache", first, "--json", "ids", "001000000000009"}, options);
  EXPECT_EQ(answered.exitCode, 0) << answered.err;
  EXPECT_EQ(answered.out, run({"--json", "ids", "001000000000009"}).out);
}

TEST_F(CacheCommandTest, ImportedFreshItIsAsIfFetchedNow) {
  exportAsFetchedAt(Date::since1970(1'700'000'000));
  const std::string kept = folder.file("kept.sqlite");
  const std::string fresh = folder.file("fresh.sqlite");
  ASSERT_EQ(cacheOf(kept, {"import", archive}).exitCode, 0);
  ASSERT_EQ(cacheOf(fresh, {"import", "--fresh", archive}).exitCode, 0);
  const auto stamp = [this](const std::string& file) {
    return cacheOf(file, {"show", "ops.sobject.fetch.timestamp"}).out;
  };
  EXPECT_EQ(stamp(kept), "2023-11-14T22:13:20Z\n");
  EXPECT_NE(stamp(fresh), stamp(kept));
  EXPECT_THAT(cacheOf(kept, {"ls"}).out, ContainsRegex("layout/Account .* expired\n"));
  EXPECT_THAT(cacheOf(fresh, {"ls"}).out, ContainsRegex("layout/Account .* fresh\n"));
}

TEST_F(CacheCommandTest, ExportAndImportGoThroughPipes) {
  const auto exported = cache({"export"});
  EXPECT_THAT(exported.out, StartsWith(R"({"format":"vellora-cache","version":1,)"));
  options.input = exported.out;
  EXPECT_EQ(cacheOf(folder.file("other.sqlite"), {"import", "-"}).exitCode, 0);
  EXPECT_THAT(cacheOf(folder.file("other.sqlite"), {"ls"}).out, HasSubstr("layout/Account"));
}

TEST_F(CacheCommandTest, NothingIsWrittenOverUnasked) {
  writeFile(archive, "mine");
  const auto exported = cache({"export", archive});
  EXPECT_EQ(exported.exitCode, 2);
  EXPECT_EQ(exported.err, "vellora: " + archive + " exists already; write over it with --replace\n");
  EXPECT_EQ(contentOf(archive), "mine");
  EXPECT_EQ(cache({"export", "--replace", archive}).exitCode, 0);

  const auto imported = cache({"import", archive});
  EXPECT_EQ(imported.exitCode, 2);
  EXPECT_EQ(imported.err,
            "vellora: " + cacheFile +
                " holds OPS_SObjectsCacheTable already, and nothing was changed; write over it with "
                "--replace\n");
  EXPECT_EQ(cache({"import", "--replace", archive}).exitCode, 0);
}

TEST_F(CacheCommandTest, WhatIsNoArchiveIsRefusedAndNoCacheIsMade) {
  const std::string other = folder.file("other.sqlite");
  writeFile(archive, "{}");
  const auto ended = cacheOf(other, {"import", archive});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.err, "vellora: " + archive +
                           ": This is not an archive of a cache. Choose a file that was written as one.\n");
  for (const auto& file : {folder.file("absent"), folder.path().string()}) {
    EXPECT_EQ(cacheOf(other, {"import", file}).err, "vellora: cannot read " + file + "\n");
  }
  EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(CacheCommandTest, ReplacingKeepsTheModeOfTheFile) {
  writeFile(archive, "mine");
  std::filesystem::permissions(archive, std::filesystem::perms(0640));
  ASSERT_EQ(cache({"export", "--replace", archive}).exitCode, 0);
  EXPECT_THAT(contentOf(archive), StartsWith("{"));
  EXPECT_EQ(std::filesystem::status(archive).permissions(), std::filesystem::perms(0640));
}

TEST_F(CacheCommandTest, ReplacingReplacesNothingButPlainFiles) {
  const std::string mine = folder.file("mine");
  writeFile(mine, "mine");
  const std::string link = folder.file("link");
  std::filesystem::create_symlink("mine", link);
  const std::string pipe = folder.file("pipe");
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const auto linked = cache({"export", "--replace", link});
  EXPECT_EQ(linked.exitCode, 2);
  EXPECT_EQ(linked.err, "vellora: " + link + " is a link, and was left as it is; choose another file\n");
  const auto piped = cache({"export", "--replace", pipe});
  EXPECT_EQ(piped.exitCode, 2);
  EXPECT_EQ(piped.err,
            "vellora: " + pipe + " is no plain file, and was left as it is; choose another file\n");
  EXPECT_EQ(cache({"export", "--replace", "/dev/null"}).exitCode, 2);
  EXPECT_TRUE(std::filesystem::is_symlink(link));
  EXPECT_TRUE(std::filesystem::is_fifo(pipe));
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  EXPECT_EQ(contentOf(mine), "mine");
}

TEST_F(CacheCommandTest, ACacheIsNotReplacedByItsOwnExport) {
  const std::string before = contentOf(cacheFile);
  const auto inUse = hostkit::SQLiteCache::open(cacheFile).value();
  inUse->save(Data(std::string("1")), "OPS_Layout_New");
  for (const char* const suffix : {"", "-wal", "-shm"}) {
    const auto ended = cache({"export", "--replace", cacheFile + suffix});
    EXPECT_EQ(ended.exitCode, 2) << suffix;
    EXPECT_EQ(ended.err, "vellora: " + cacheFile + suffix +
                             " is part of the cache that is to be exported; choose another file\n");
  }
  EXPECT_EQ(contentOf(cacheFile), before);
}

TEST_F(CacheCommandTest, ACacheBehindALinkIsNotReplacedByItsOwnExport) {
  const std::string link = folder.file("link.sqlite");
  std::filesystem::create_symlink("cache.sqlite", link);
  const auto inUse = hostkit::SQLiteCache::open(cacheFile).value();
  ASSERT_TRUE(inUse->save(Data(std::string("1")), "OPS_Layout_New"));
  const std::string log = contentOf(cacheFile + "-wal");
  for (const std::string& part : {link, cacheFile, cacheFile + "-wal", cacheFile + "-shm"}) {
    const auto ended = cacheOf(link, {"export", "--replace", part});
    EXPECT_EQ(ended.exitCode, 2) << part;
    EXPECT_EQ(ended.err,
              "vellora: " + part + " is part of the cache that is to be exported; choose another file\n");
  }
  EXPECT_EQ(contentOf(cacheFile + "-wal"), log);
}

TEST_F(CacheCommandTest, AnArchiveWithoutEndIsRefusedEarly) {
  const std::string other = folder.file("other.sqlite");
  EXPECT_EQ(cacheOf(other, {"import", "/dev/zero"}).exitCode, 2);
  const std::string huge = folder.file("huge");
  writeFile(huge, "{");
  std::filesystem::resize_file(huge, std::uintmax_t{300} * 1024 * 1024);
  const auto ended = cacheOf(other, {"import", huge});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_EQ(ended.err, "vellora: " + huge + " is too large for an archive: of more than 256 MiB\n");
  EXPECT_FALSE(std::filesystem::exists(other));
}

TEST_F(CacheCommandTest, AnArchiveThatIsReadFromStandardInputIsCalledSo) {
  const std::vector<std::string> words{"--cache", folder.file("other.sqlite"), "cache", "import", "-"};
  const auto ended = ChildProcess::run(VELLORA, words, {.input = "no archive", .environment = {}});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_THAT(ended.err, testing::StartsWith("vellora: standard input: "));
}

TEST_F(CacheCommandTest, KeysThatAreNotUtf8AreListedShownAndCarried) {
  const std::string key = "host\xFF";
  {
    const auto open = hostkit::SQLiteCache::open(cacheFile).value();
    ASSERT_TRUE(open->save(Data(std::string("mine")), key));
  }
  const auto listed = cache({"--json", "ls"});
  EXPECT_EQ(listed.exitCode, 0) << listed.err;
  EXPECT_THAT(listed.out, HasSubstr(R"({"entry":"host\\xff","bytes":4,)"));
  EXPECT_EQ(cache({"show", "host\\xff"}).out, "mine\n");
  EXPECT_EQ(cache({"--json", "show", "host\\xff"}).out, "{\"host\\\\xff\":\"mine\"}\n");

  ASSERT_EQ(cache({"export", archive}).exitCode, 0);
  const std::string other = folder.file("other.sqlite");
  ASSERT_EQ(cacheOf(other, {"import", archive}).exitCode, 0);
  EXPECT_EQ(hostkit::SQLiteCache::open(other).value()->load(key), Data(std::string("mine")));
  EXPECT_EQ(cache({"purge", "host\\xff"}).out, "deleted 1 entry\n");
}

TEST_F(CacheCommandTest, AFetchTimeThatIsNoNumberIsListed) {
  {
    const auto open = hostkit::SQLiteCache::open(cacheFile).value();
    ASSERT_TRUE(open->save(Data(std::string("\0\0\0\0\0\0\xF8\x7F", 8)), "ops.sobject.fetch.timestamp"));
  }
  const auto listed = cache({"--json", "ls"});
  EXPECT_EQ(listed.exitCode, 0) << listed.err;
  EXPECT_THAT(listed.out, HasSubstr(R"({"entry":"ops.sobject.fetch.timestamp","bytes":8,"state":"fresh"})"));
}

TEST_F(CacheCommandTest, AFileThatCannotBeWrittenIsTold) {
  const auto ended = cache({"export", folder.file("absent/seed.json")});
  EXPECT_EQ(ended.exitCode, 1);
  EXPECT_EQ(ended.err,
            "vellora: cannot write " + folder.file("absent/seed.json") + ": No such file or directory\n");
}

TEST_F(CacheCommandTest, AFileInUseIsRead) {
  const auto inUse = hostkit::SQLiteCache::open(cacheFile).value();
  inUse->save(Data(std::string("1")), "OPS_Layout_New");
  EXPECT_THAT(cache({"ls"}).out, HasSubstr("layout/New"));
  EXPECT_EQ(cache({"verify"}).exitCode, 0);
  EXPECT_EQ(cache({"purge", "OPS_Layout_New"}).exitCode, 0);
  EXPECT_EQ(inUse->load("OPS_Layout_New"), std::nullopt);
}

TEST_F(CacheCommandTest, AFileThatIsNoCacheIsExitCodeSeven) {
  writeFile(archive, std::string(5000, 'x'));
  const auto ended = cacheOf(archive, {"ls"});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr("is not a cache of this library"));
  EXPECT_EQ(ChildProcess::run(VELLORA, {"cache", "ls"}, options).err,
            "vellora: no cache file: give --cache FILE, or the --server URL whose default cache it is; see "
            "vellora --help\n");
}

TEST_F(CacheCommandTest, VerboseTellsWhatIsDoneWithWhichFileAndHowLongItTakes) {
  const auto toldBy = [this](std::vector<std::string> words) {
    words.insert(words.begin(), {"-v", "--cache", cacheFile, "cache"});
    return ChildProcess::run(VELLORA, words, options).err;
  };
  const std::string done = ": done after [0-9]+\\.[0-9][0-9] s\n";
  const std::string reading = "vellora: reading " + cacheFile + done;
  EXPECT_THAT(toldBy({"ls"}), MatchesRegex(reading));
  EXPECT_THAT(toldBy({"export", archive}), MatchesRegex(reading + "vellora: writing " + archive + done));
  EXPECT_THAT(toldBy({"import", "--replace", archive}),
              MatchesRegex("vellora: reading " + archive + done + "vellora: storing in " + cacheFile + done));
  EXPECT_THAT(toldBy({"purge", "--all"}),
              MatchesRegex(reading + "vellora: deleting from " + cacheFile + done));
  EXPECT_THAT(toldBy({"delete"}), MatchesRegex("vellora: deleting " + cacheFile + done));
}

}  // namespace
}  // namespace vellora::command

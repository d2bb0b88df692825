// What the command makes of a Redis that cannot be used.

#include <string>
#include <vector>

#include "tests/apps/vellora/SharedCacheFixture.h"

namespace vellora::command {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using SharedCacheFaultsTest = SharedCacheFixture;

TEST_F(SharedCacheFaultsTest, ARedisThatIsGoneIsDoneWithout) {
  redis.kill();
  const auto ended = vellora({"search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out, HasSubstr("Account"));
}

TEST_F(SharedCacheFaultsTest, AnActionOnARedisThatIsGoneSaysWhatWhereAndWhatToDo) {
  redis.kill();
  for (const auto& action : std::vector<std::vector<std::string>>{
           {"cache", "ls"}, {"cache", "verify"}, {"cache", "purge", "--all"}, {"cache", "delete"}}) {
    const auto ended = vellora(action);
    EXPECT_EQ(ended.exitCode, 7) << action[1];
    EXPECT_THAT(ended.err, AllOf(HasSubstr(name() + "cannot be reached"),
                                 HasSubstr("Look whether it runs there, and whether this machine may")));
  }
}

TEST_F(SharedCacheFaultsTest, ImportingIntoARedisThatIsGoneSaysWhy) {
  ASSERT_EQ(velloraOf(cacheFile, {"search-layouts", "Account"}).exitCode, 0);
  ASSERT_EQ(velloraOf(cacheFile, {"cache", "export", folder.file("seed.json")}).exitCode, 0);
  redis.kill();
  const auto ended = vellora({"cache", "import", folder.file("seed.json")});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr(name() + "cannot be reached"));
}

TEST_F(SharedCacheFaultsTest, KeysThatAreMissingBecauseOfItAreExitCodeSevenWithTheReason) {
  redis.kill();
  const auto ended = vellora({"--offline", "search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr(name() + "cannot be reached"));
}

TEST_F(SharedCacheFaultsTest, ARedisThatStandsStillIsDoneWithoutInATenthOfTheWait) {
  redis.halt();
  // A busy machine may not get in a short wait to what is left of it.
  ChildProcess::Ended ended;
  for (const char* wait : {"2", "20", "200"}) {
    const std::vector<std::string> words{"--server", server->url(), "--cache",        redis.address(),
                                         "--wait",   wait,          "search-layouts", "Account"};
    ended = ChildProcess::run(VELLORA, words, options);
    if (ended.exitCode == 0) break;
  }
  redis.goOn();
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.out, HasSubstr("Account"));
}

TEST_F(SharedCacheFaultsTest, AFullRedisIsDoneWithoutAndSaysSoWhereItIsToBeFilled) {
  ASSERT_EQ(velloraOf(cacheFile, {"search-layouts", "Account"}).exitCode, 0);
  ASSERT_EQ(velloraOf(cacheFile, {"cache", "export", folder.file("seed.json")}).exitCode, 0);
  (void)redis.ask({"CONFIG", "SET", "maxmemory", "1"});
  EXPECT_EQ(vellora({"search-layouts", "Account"}).exitCode, 0);
  const auto ended = vellora({"cache", "import", folder.file("seed.json")});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, AllOf(HasSubstr(name() + "takes no writes"), HasSubstr("Give it more memory")));
}

TEST_F(SharedCacheFaultsTest, ARedisThatHasBecomeAReplicaSaysSo) {
  ASSERT_EQ(vellora({"search-layouts", "Account"}).exitCode, 0);
  (void)redis.ask({"REPLICAOF", "127.0.0.1", "1"});
  const auto ended = vellora({"cache", "delete"});
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, HasSubstr(name() + "cannot take part now"));
}

TEST_F(SharedCacheFaultsTest, ThePasswordIsThatOfTheUserWhoIsNamed) {
  (void)redis.ask({"ACL", "SETUSER", "reader", "on", ">canary-of-the-reader", "+@all", "~*"});
  (void)redis.ask({"CONFIG", "SET", "requirepass", "another"});
  const auto words = withPassword("canary-of-the-reader", {"--cache-user", "reader", "cache", "ls"});
  EXPECT_EQ(vellora(words).exitCode, 0);
  EXPECT_EQ(vellora(withPassword("canary-of-the-reader", {"cache", "ls"})).exitCode, 7);
}

/// A Redis that wants a password that is looked for in all that the command writes.
class SharedCachePasswordTest : public SharedCacheFixture {
 protected:
  void SetUp() override {
    SharedCacheFixture::SetUp();
    (void)redis.ask({"CONFIG", "SET", "requirepass", password});
  }

  const std::string password = "canary-4c71e0-of-the-cache";
};

TEST_F(SharedCachePasswordTest, IsReadFromItsFileAndShownNowhere) {
  const auto looked =
      vellora(withPassword(password, {"--log", "info", "--verbose", "search-layouts", "Account"}));
  EXPECT_EQ(looked.exitCode, 0) << looked.err;
  const auto listed = vellora(withPassword(password, {"--verbose", "cache", "ls"}));
  EXPECT_EQ(listed.exitCode, 0) << listed.err;
  EXPECT_THAT(listed.out, HasSubstr("layout/Account"));
  for (const std::string& text : {looked.out, looked.err, listed.out, listed.err})
    EXPECT_THAT(text, Not(HasSubstr("canary")));
}

TEST_F(SharedCachePasswordTest, IsReadFromStandardInput) {
  options.input = password + "\n";
  EXPECT_EQ(vellora({"--cache-password-file", "-", "cache", "ls"}).exitCode, 0);
}

TEST_F(SharedCachePasswordTest, AWrongOneIsRefusedAndNotShown) {
  const auto ended = vellora(withPassword("canary-of-another-kind", {"--verbose", "cache", "ls"}));
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err, AllOf(HasSubstr(name() + "refuses this user"), Not(HasSubstr("canary"))));
}

TEST_F(SharedCachePasswordTest, WithoutOneTheServerIsAskedAndTheLogSaysWhy) {
  const auto ended = vellora({"--log", "error", "search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 0) << ended.err;
  EXPECT_THAT(ended.err, HasSubstr(name() + "refuses this user"));
}

TEST_F(SharedCachePasswordTest, OneInTheAddressIsRefusedAndNotRepeated) {
  for (const auto& words : std::vector<std::vector<std::string>>{
           {"--verbose", "cache", "ls"}, {"--verbose", "search-layouts", "Account"}}) {
    const auto ended = velloraOf("redis://:" + password + "@127.0.0.1", words);
    EXPECT_EQ(ended.exitCode, 2);
    EXPECT_THAT(ended.err, AllOf(HasSubstr("--cache-password-file FILE"), Not(HasSubstr("canary"))));
    EXPECT_THAT(ended.out, IsEmpty());
  }
}

TEST_F(SharedCachePasswordTest, AFileWithoutOneIsToldBeforeAnythingIsAsked) {
  const auto ended = vellora({"--cache-password-file", folder.file("absent"), "search-layouts", "Account"});
  EXPECT_EQ(ended.exitCode, 2);
  EXPECT_THAT(ended.err, HasSubstr("cannot read the password file " + folder.file("absent")));
  EXPECT_THAT(server->requests(), IsEmpty());
}

class SharedCacheTlsTest : public CommandFixture {};

TEST_F(SharedCacheTlsTest, ARedisWhoseAuthorityIsNamedIsFilledAndRead) {
  const hostkit::tests::TlsRedisServer redis;
  std::vector<std::string> words{"--server",       server->url(), "--cache",         redis.address(),
                                 "--wait",         "1200",        "--cache-ca-file", redis.certificate(),
                                 "search-layouts", "Account"};
  const auto looked = ChildProcess::run(VELLORA, words, options);
  EXPECT_EQ(looked.exitCode, 0) << looked.err;
  words.insert(words.begin(), "--offline");
  EXPECT_EQ(ChildProcess::run(VELLORA, words, options).out, looked.out);
}

TEST_F(SharedCacheTlsTest, ACertificateThatNobodyTrustsIsToldAndNothingIsSent) {
  const hostkit::tests::TlsRedisServer redis;
  const std::vector<std::string> words{"--server", server->url(), "--cache", redis.address(),
                                       "--wait",   "1200",        "cache",   "ls"};
  const auto ended = ChildProcess::run(VELLORA, words, options);
  EXPECT_EQ(ended.exitCode, 7);
  EXPECT_THAT(ended.err,
              AllOf(HasSubstr(redis.address() + "\" cannot be reached"), HasSubstr("certificate")));
}

}  // namespace
}  // namespace vellora::command

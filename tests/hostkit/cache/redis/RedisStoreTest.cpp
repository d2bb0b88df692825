#include "hostkit/cache/redis/RedisStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <new>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "hostkit/cache/redis/RedisAddress.h"
#include "testkit/ScriptedServer.h"
#include "tests/hostkit/cache/redis/RedisFixture.h"
#include "tests/support/AllocationCounter.h"

namespace vellora::hostkit::tests {
namespace {

using std::chrono::milliseconds;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using vellora::tests::AllocationFailure;
using Access = RedisStore::Access;

class RedisStoreTest : public RedisFixture {
 protected:
  static std::string pinged(RedisStore& store) {
    const auto reply = store.ask({"PING"}, Access::reading);
    return reply ? reply->text : "nothing";
  }

  /// A command that is answered with that error.
  static RedisCommand failing(const std::string& words) {
    return {"EVAL", "return redis.error_reply(ARGV[1])", "0", words};
  }
};

TEST_F(RedisStoreTest, KeepsItsConnection) {
  RedisStore store(setting());
  const auto first = store.ask({"CLIENT", "ID"}, Access::reading);
  const auto second = store.ask({"CLIENT", "ID"}, Access::reading);
  EXPECT_EQ(first->number, second->number);
}

TEST_F(RedisStoreTest, AConnectionThatTheServerClosedIsMadeAnewUnnoticed) {
  RedisStore store(setting());
  ASSERT_EQ(pinged(store), "PONG");
  (void)server.ask({"CLIENT", "KILL", "TYPE", "normal", "SKIPME", "yes"});
  EXPECT_EQ(pinged(store), "PONG");
  EXPECT_THAT(told.all(), IsEmpty());
}

TEST_F(RedisStoreTest, ARestartedServerIsUsedAtOnce) {
  RedisStore store(setting());
  ASSERT_EQ(pinged(store), "PONG");
  server.kill();
  server.start();
  EXPECT_EQ(pinged(store), "PONG");
  EXPECT_THAT(told.all(), IsEmpty());
}

TEST_F(RedisStoreTest, AServerThatIsGoneIsTriedAgain) {
  RedisStore store(setting());
  server.kill();
  EXPECT_EQ(pinged(store), "nothing");
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::unreachable));
  server.start();
  EXPECT_EQ(pinged(store), "PONG");
}

TEST_F(RedisStoreTest, NobodyNeedsToObserveIt) {
  auto unobserved = setting();
  unobserved.observer = nullptr;
  RedisStore store(std::move(unobserved));
  server.kill();
  EXPECT_EQ(pinged(store), "nothing");
  store.fail(Access::reading, "gone");
}

TEST_F(RedisStoreTest, ACallThatMemoryRunsOutInKeepsNobodyFromTheNext) {
  RedisStore store(setting());
  const RedisCommand command{"ECHO", std::string(100, 'x')};
  bool happened = true;
  for (std::size_t number = 1; happened; ++number) {
    {
      const AllocationFailure failure(number);
      try {
        (void)store.ask(command, Access::reading);
      } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): what comes next is looked at
      }
      happened = failure.happened();
    }
    ASSERT_EQ(pinged(store), "PONG") << "after allocation " << number;
  }
}

TEST_F(RedisStoreTest, AnAnswerThatMemoryRanOutInFrontOfIsNobodys) {
  auto hasty = setting();
  hasty.timeout = milliseconds(30);
  RedisStore store(std::move(hasty));
  bool happened = true;
  for (std::size_t number = 1; happened; ++number) {
    while (pinged(store) != "PONG") continue;
    server.halt();
    {
      const AllocationFailure failure(number);
      try {
        (void)store.ask({"ECHO", "late"}, Access::reading);
      } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): what comes next is looked at
      }
      happened = failure.happened();
    }
    server.goOn();
    std::optional<RedisReply> reply;
    while (!reply) reply = store.ask({"ECHO", "in time"}, Access::reading);
    ASSERT_EQ(reply->text, "in time") << "after allocation " << number;
  }
}

TEST_F(RedisStoreTest, IsNotTriedWhileThePauseLasts) {
  auto patient = setting();
  patient.pause = ReconnectPause(std::chrono::hours(1), std::chrono::hours(1));
  RedisStore store(std::move(patient));
  server.kill();
  EXPECT_EQ(pinged(store), "nothing");
  server.start();
  EXPECT_EQ(pinged(store), "nothing");
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::unreachable, Reason::unreachable));
  EXPECT_EQ(told.all().back().error.detail, "not tried again yet");
  EXPECT_EQ(server.callsOf("ping"), 0);
}

TEST_F(RedisStoreTest, AConnectionThatEndsWhileItSignsInIsNone) {
  testkit::ScriptedServer closing;
  closing.replyAlways({"", testkit::ScriptedServer::Then::close});
  auto known = setting();
  known.address = *RedisAddress::parsed("redis://" + closing.hostAndPort());
  known.password = "open\r\n\r\nsesame";  // the scripted server answers an empty line
  RedisStore store(std::move(known));
  EXPECT_EQ(pinged(store), "nothing");
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::unreachable));
  EXPECT_EQ(store.connections(), 0U);
}

TEST_F(RedisStoreTest, AConnectionThatEndsBeforeItsDatabaseIsChosenIsNone) {
  testkit::ScriptedServer closing;
  closing.replyAlways({"+OK\r\n", testkit::ScriptedServer::Then::close});
  auto known = setting();
  known.address = *RedisAddress::parsed("redis://" + closing.hostAndPort() + "/3");
  known.password = "open\r\n\r\nsesame";
  RedisStore store(std::move(known));
  EXPECT_EQ(pinged(store), "nothing");
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::unreachable));
  EXPECT_EQ(store.connections(), 0U);
}

TEST_F(RedisStoreTest, AnErrorOfOneCommandMakesNoPause) {
  auto patient = setting();
  patient.pause = ReconnectPause(std::chrono::hours(1), std::chrono::hours(1));
  RedisStore store(std::move(patient));
  EXPECT_FALSE(store.ask(failing("ERR no"), Access::reading));
  EXPECT_EQ(pinged(store), "PONG");
}

TEST_F(RedisStoreTest, PausesGrowNoMoreOnceItWasReached) {
  auto patient = setting();
  patient.pause = ReconnectPause(milliseconds(1), std::chrono::hours(10'000));
  RedisStore store(std::move(patient));
  for (int i = 0; i < 20; ++i) {
    EXPECT_FALSE(store.ask(failing("LOADING not yet"), Access::reading));
    while (pinged(store) != "PONG") continue;
  }
}

TEST_F(RedisStoreTest, AServerThatClosesEachConnectionIsAskedOnce) {
  testkit::ScriptedServer closing;
  closing.replyAlways({"", testkit::ScriptedServer::Then::close});
  auto other = setting();
  other.address = *RedisAddress::parsed("redis://" + closing.hostAndPort());
  RedisStore store(std::move(other));
  EXPECT_FALSE(store.ask({"ECHO", ""}, Access::reading));
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::unreachable));
  EXPECT_EQ(closing.connections(), 1U);
}

TEST_F(RedisStoreTest, ACommandWhoseReplyIsNoneIsNotSentAgain) {
  testkit::ScriptedServer strange;
  strange.reply({"+OK\r\n"});
  strange.replyAlways({"HTTP/1.1 200 OK\r\n\r\n"});
  auto other = setting();
  other.address = *RedisAddress::parsed("redis://" + strange.hostAndPort());
  RedisStore store(std::move(other));
  ASSERT_TRUE(store.ask({"ECHO", ""}, Access::reading));
  EXPECT_FALSE(store.ask({"ECHO", ""}, Access::reading));
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::failed));
  EXPECT_EQ(strange.connections(), 1U);
}

TEST_F(RedisStoreTest, NoCallWaitsForAServerThatStandsStill) {
  auto hasty = setting();
  hasty.timeout = milliseconds(30);
  RedisStore store(std::move(hasty));
  server.halt();
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) callers.emplace_back([&store] { (void)store.ask({"PING"}, Access::reading); });
  for (std::thread& caller : callers) caller.join();
  server.goOn();
  EXPECT_THAT(told.reasons(), SizeIs(4));
  EXPECT_THAT(told.reasons(), Each(Reason::timedOut));
}

TEST_F(RedisStoreTest, AnAnswerThatCameTooLateIsNobodys) {
  auto hasty = setting();
  hasty.timeout = milliseconds(30);
  RedisStore store(std::move(hasty));
  // Tried until the machine is quick enough.
  while (pinged(store) != "PONG") continue;
  server.halt();
  EXPECT_FALSE(store.ask({"ECHO", "late"}, Access::reading));
  server.goOn();
  std::optional<RedisReply> reply;
  while (!reply) reply = store.ask({"ECHO", "in time"}, Access::reading);
  EXPECT_EQ(reply->text, "in time");
}

TEST_F(RedisStoreTest, AServerThatIsAReplicaNowIsLeftForWhomeverItsAddressLeadsTo) {
  RedisStore store(setting());
  const auto before = store.ask({"CLIENT", "ID"}, Access::reading);
  (void)server.ask({"REPLICAOF", "127.0.0.1", "1"});
  EXPECT_FALSE(store.ask({"SET", "a", "1"}, Access::writing));
  const auto after = store.ask({"CLIENT", "ID"}, Access::reading);
  EXPECT_NE(after->number, before->number) << "the connection is another";
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::unready));
}

TEST_F(RedisStoreTest, SignsInWithAPassword) {
  (void)server.ask({"CONFIG", "SET", "requirepass", "open sesame"});
  auto known = setting();
  known.password = "open sesame";
  RedisStore store(std::move(known));
  EXPECT_EQ(pinged(store), "PONG");
}

TEST_F(RedisStoreTest, SignsInAsAUser) {
  (void)server.ask({"ACL", "SETUSER", "reader", "on", ">open sesame", "+@all", "~*"});
  (void)server.ask({"CONFIG", "SET", "requirepass", "another"});
  auto known = setting();
  known.user = "reader";
  known.password = "open sesame";
  RedisStore store(std::move(known));
  EXPECT_EQ(store.ask({"ACL", "WHOAMI"}, Access::reading)->text, "reader");
}

TEST_F(RedisStoreTest, TellsTheBeginningOfWhatTheServerSaid) {
  RedisStore store(setting());
  EXPECT_FALSE(store.ask(failing("ERR " + std::string(300, 'x')), Access::reading));
  ASSERT_THAT(told.all(), SizeIs(1));
  EXPECT_EQ(told.all().front().error.detail, "ERR " + std::string(196, 'x'));
}

TEST_F(RedisStoreTest, TellsWhatTheServerSaidOfSomethingElseThanThePassword) {
  (void)server.ask({"CONFIG", "SET", "requirepass", "open sesame"});
  auto known = setting();
  known.password = "open sesame";
  RedisStore store(std::move(known));
  EXPECT_FALSE(store.ask(failing("ERR no"), Access::reading));
  ASSERT_THAT(told.all(), SizeIs(1));
  EXPECT_EQ(told.all().front().error.detail, "ERR no");
}

TEST_F(RedisStoreTest, AWrongPasswordIsRefusedAndNotTold) {
  (void)server.ask({"CONFIG", "SET", "requirepass", "open sesame"});
  auto wrong = setting();
  wrong.password = "close sesame";
  RedisStore store(std::move(wrong));
  EXPECT_EQ(pinged(store), "nothing");
  ASSERT_THAT(told.reasons(), ElementsAre(Reason::refused));
  EXPECT_THAT(told.all().front().error.localizedDescription(), Not(HasSubstr("sesame")));
}

TEST_F(RedisStoreTest, APasswordThatTheServerRepeatsIsNotTold) {
  testkit::ScriptedServer echoing;
  echoing.reply({"+OK\r\n"});
  echoing.reply({"-NOPERM nobody has open sesame\r\n"});
  auto known = setting();
  known.address = *RedisAddress::parsed("redis://" + echoing.hostAndPort());
  known.user = "reader\r\n\r\n";  // the scripted server answers an empty line
  known.password = "open sesame";
  RedisStore store(std::move(known));
  EXPECT_FALSE(store.ask({"ECHO", ""}, Access::reading));
  ASSERT_THAT(told.reasons(), ElementsAre(Reason::refused));
  EXPECT_EQ(told.all().front().error.detail, "");
}

TEST_F(RedisStoreTest, NoPartOfALongPasswordIsToldWhereTheServerQuotesIt) {
  const RedisServer strange({"--rename-command", "AUTH", ""});
  auto known = setting();
  known.address = *RedisAddress::parsed(strange.address());
  known.password = std::string(300, 'p');
  RedisStore store(std::move(known));
  EXPECT_EQ(pinged(store), "nothing");
  ASSERT_THAT(told.reasons(), ElementsAre(Reason::failed));
  EXPECT_EQ(told.all().front().error.detail, "");
}

TEST_F(RedisStoreTest, WithoutAPasswordItIsRefusedWhereOneIsWanted) {
  (void)server.ask({"CONFIG", "SET", "requirepass", "open sesame"});
  RedisStore store(setting());
  EXPECT_EQ(pinged(store), "nothing");
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::refused));
}

TEST_F(RedisStoreTest, UsesTheDatabaseOfItsAddress) {
  auto third = setting();
  third.address.database = 3;
  RedisStore store(std::move(third));
  ASSERT_TRUE(store.ask({"SET", "a", "1"}, Access::writing));
  EXPECT_THAT(server.keys(), IsEmpty());
  EXPECT_THAT(server.ask({"INFO", "keyspace"}).text, HasSubstr("db3:keys=1"));
}

TEST_F(RedisStoreTest, UsesNoOtherDatabaseWhereTheServerHasNoneOfThatNumber) {
  auto beyond = setting();
  beyond.address.database = 99;
  RedisStore store(std::move(beyond));
  EXPECT_FALSE(store.ask({"SET", "a", "1"}, Access::writing));
  EXPECT_THAT(told.reasons(), ElementsAre(Reason::failed));
  EXPECT_THAT(server.keys(), IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit::tests

#include "hostkit/cache/redis/RedisConnection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

#include "hostkit/cache/redis/RedisCacheError.h"
#include "testkit/ScriptedServer.h"
#include "tests/hostkit/cache/redis/RedisFixture.h"
#include "tests/hostkit/cache/redis/RedisServer.h"
#include "tests/support/Http2Server.h"
#include "tests/support/ScopedEnvironment.h"

namespace vellora::hostkit::tests {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testkit::ScriptedServer;
using vellora::tests::Http2Server;
using vellora::tests::ScopedEnvironment;
using Reason = RedisCacheError::Reason;
using Kind = RedisReply::Kind;

auto connect(const std::string& address, std::chrono::milliseconds timeout = longTimeout,
             const std::optional<std::string>& caFile = std::nullopt) {
  return RedisConnection::open(*RedisAddress::parsed(address), caFile, steady_clock::now() + timeout);
}

Reason reasonOf(const Error& error) {
  return error.as<RedisCacheError>()->reason;
}

/// Asks something that ends with an empty line, which the scripted server answers.
Result<RedisReply> askScripted(const ScriptedServer& server, milliseconds timeout = longTimeout) {
  const auto connection = connect("redis://" + server.hostAndPort()).value();
  return connection->ask({"ECHO", ""}, steady_clock::now() + timeout);
}

TEST(RedisConnectionTest, GivesEachKindOfReply) {
  const RedisServer server;
  const auto connection = connect(server.address()).value();
  const auto reply = [&](const RedisCommand& command) {
    return connection->ask(command, steady_clock::now() + longTimeout).value();
  };
  const std::string bytes("\0\r\n\xFF", 4);

  EXPECT_EQ(reply({"ECHO", bytes}).text, bytes);
  EXPECT_EQ(reply({"PING"}).kind, Kind::text);
  EXPECT_EQ(reply({"DBSIZE"}).kind, Kind::number);
  EXPECT_EQ(reply({"GET", "nothing"}).kind, Kind::nothing);
  EXPECT_EQ(reply({"NO SUCH COMMAND"}).kind, Kind::error);
  const auto list = reply({"EVAL", "return {1, {'two', false}, 'three'}", "0"});
  ASSERT_EQ(list.items.size(), 3U);
  EXPECT_EQ(list.items[0].number, 1);
  EXPECT_EQ(list.items[1].items[0].text, "two");
  EXPECT_EQ(list.items[1].items[1].kind, Kind::nothing);
  EXPECT_EQ(list.items[2].text, "three");
}

TEST(RedisConnectionTest, CarriesMegabytesBothWays) {
  const RedisServer server;
  const auto connection = connect(server.address()).value();
  const std::string large(std::size_t{20} << 20U, 'x');
  EXPECT_EQ(connection->ask({"ECHO", large}, steady_clock::now() + longTimeout).value().text, large);
}

TEST(RedisConnectionTest, IsRefusedWhereNothingListens) {
  const auto connection = connect("redis://127.0.0.1:" + std::to_string(testkit::closedPort()));
  ASSERT_FALSE(connection);
  EXPECT_EQ(reasonOf(connection.error()), Reason::unreachable);
  EXPECT_THAT(connection.error().as<RedisCacheError>()->detail, HasSubstr("127.0.0.1"));
}

TEST(RedisConnectionTest, GoesPastTheProxiesOfTheEnvironment) {
  ScriptedServer server;
  server.reply({"+OK\r\n"});
  const ScopedEnvironment proxy("http_proxy", "http://127.0.0.1:" + std::to_string(testkit::closedPort()));
  EXPECT_EQ(askScripted(server).value().text, "OK");
}

TEST(RedisConnectionTest, AReplyThatNeverComesEndsAtTheDeadline) {
  const ScriptedServer server;
  const auto reply = askScripted(server, milliseconds(20));
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::timedOut);
}

TEST(RedisConnectionTest, AReplyThatComesByDropsEndsAtTheDeadline) {
  ScriptedServer server;
  server.reply({"$1000000\r\n", ScriptedServer::Then::trickle});
  const auto reply = askScripted(server, milliseconds(60));
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::timedOut);
}

TEST(RedisConnectionTest, AReplyThatNeverPausesEndsAtTheDeadline) {
  ScriptedServer server;
  server.reply({"$500000000\r\n", ScriptedServer::Then::flood, std::string(65536, 'x')});
  const auto reply = askScripted(server, milliseconds(60));
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::timedOut);
}

TEST(RedisConnectionTest, AReplyThatCameEarlyIsTooLateBehindTheDeadline) {
  ScriptedServer server;
  server.reply({"+first\r\n"});
  const auto connection = connect("redis://" + server.hostAndPort()).value();
  ASSERT_TRUE(connection->ask({"ECHO", ""}, steady_clock::now() + longTimeout));
  server.push("+second\r\n");
  const auto reply = connection->ask({"ECHO", ""}, steady_clock::now() - milliseconds(1));
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::timedOut);
}

TEST(RedisConnectionTest, ACommandThatNobodyTakesEndsAtTheDeadline) {
  const RedisServer server;
  const auto connection = connect(server.address()).value();
  server.halt();
  const std::string large(std::size_t{20} << 20U, 'x');
  const auto reply = connection->ask({"ECHO", large}, steady_clock::now() + milliseconds(50));
  server.goOn();
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::timedOut);
}

TEST(RedisConnectionTest, AListMayHaveAsManyItemsAsAnyHas) {
  ScriptedServer server;
  server.reply({"*1048576\r\n:1\r\n", ScriptedServer::Then::close});
  const auto reply = askScripted(server);
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::unreachable) << "it was waited for";
}

TEST(RedisConnectionTest, AListThatSaysToHaveMoreItemsThanAnyIsAFailure) {
  for (const std::string list : {"*1048577\r\n", "*1\r\n*2147483647\r\n"}) {
    ScriptedServer server;
    server.reply({list});
    const auto reply = askScripted(server);
    ASSERT_FALSE(reply) << list;
    EXPECT_EQ(reasonOf(reply.error()), Reason::failed) << list;
  }
}

TEST(RedisConnectionTest, AReplyOfMoreBytesThanAllowedIsAFailure) {
  const RedisServer server;
  const auto connection = connect(server.address()).value();
  const auto deadline = steady_clock::now() + longTimeout;
  const RedisCommand command{"EVAL", "return string.rep('x', 100000)", "0"};
  EXPECT_TRUE(connection->ask(command, deadline, 100'011));  // with its size in front and two line ends
  const auto reply = connection->ask(command, deadline, 100'010);
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::failed);
}

TEST(RedisConnectionTest, ACommandOfMoreBytesThanAllowedIsNotSent) {
  const RedisServer server;
  const auto connection = connect(server.address()).value();
  const auto deadline = steady_clock::now() + longTimeout;
  const auto reply = connection->ask({"SET", "a", std::string(100, 'x')}, deadline, 103);
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::failed);
  EXPECT_EQ(connection->ask({"EXISTS", "a"}, deadline).value().number, 0);
  EXPECT_TRUE(connection->ask({"SET", "a", std::string(100, 'x')}, deadline, 104));
}

TEST(RedisConnectionTest, AnAnswerOfSomethingElseIsAFailure) {
  ScriptedServer server;
  server.reply(ScriptedServer::http("200 OK", "{}"));
  const auto reply = askScripted(server);
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::failed);
}

TEST(RedisConnectionTest, AReplyThatIsCutShortIsAConnectionThatWasClosed) {
  ScriptedServer server;
  server.reply({"$100\r\nhalf", ScriptedServer::Then::close});
  const auto connection = connect("redis://" + server.hostAndPort()).value();
  const auto reply = connection->ask({"ECHO", ""}, steady_clock::now() + longTimeout);
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::unreachable);
  EXPECT_TRUE(connection->wasClosed());
}

TEST(RedisConnectionTest, AServerThatIsGoneIsNoticedInSpiteOfWhatItSaidBefore) {
  RedisServer server;
  const auto connection = connect(server.address()).value();
  const auto deadline = steady_clock::now() + longTimeout;
  ASSERT_TRUE(connection->ask({"SUBSCRIBE", "news"}, deadline));
  ASSERT_EQ(server.ask({"PUBLISH", "news", "late"}).number, 1);
  (void)server.ask({"PING"});  // by then it has sent the news
  server.kill();
  const auto reply = connection->ask({"PING"}, deadline);
  ASSERT_FALSE(reply);
  EXPECT_EQ(reasonOf(reply.error()), Reason::unreachable);
  EXPECT_TRUE(connection->wasClosed());
}

TEST(RedisConnectionTest, SpeaksTlsWithAServerThatItTrusts) {
  const TlsRedisServer server;
  const auto connection = connect(server.address(), longTimeout, server.certificate());
  ASSERT_TRUE(connection) << connection.error().localizedDescription();
  EXPECT_EQ(connection.value()->ask({"PING"}, steady_clock::now() + longTimeout).value().text, "PONG");
}

TEST(RedisConnectionTest, SendsNothingToAServerThatItDoesNotTrust) {
  const TlsRedisServer server;
  const auto connection = connect(server.address());
  ASSERT_FALSE(connection);
  EXPECT_EQ(reasonOf(connection.error()), Reason::unreachable);
}

TEST(RedisConnectionTest, OffersNoProtocolOfTheWeb) {
  Http2Server server;  // tells what it is offered, speaks HTTP/2 where it may, and closes where it may not
  const auto connection =
      connect("rediss" + server.url().substr(5), longTimeout, server.certificate()).value();
  EXPECT_FALSE(connection->ask({"PING"}, steady_clock::now() + longTimeout));
  EXPECT_THAT(server.stop(), Not(AnyOf(HasSubstr("ALPN"), HasSubstr("SETTINGS"))));
}

TEST(RedisConnectionTest, ATlsHandshakeThatNeverEndsEndsAtTheDeadline) {
  const ScriptedServer server;
  const auto connection = connect("rediss://" + server.hostAndPort(), milliseconds(50));
  ASSERT_FALSE(connection);
  EXPECT_EQ(reasonOf(connection.error()), Reason::timedOut);
}

}  // namespace
}  // namespace vellora::hostkit::tests

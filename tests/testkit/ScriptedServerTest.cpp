#include "testkit/ScriptedServer.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

namespace vellora::testkit {
namespace {

using Then = ScriptedServer::Then;

/// A connection to a server, byte for byte.
class Client {
 public:
  explicit Client(const ScriptedServer& server) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(server.port()));
    EXPECT_EQ(::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  }
  ~Client() { ::close(socket_); }
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  void send(const std::string& bytes) const { ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL); }

  /// The next `count` bytes; fewer when the connection ends before.
  [[nodiscard]] std::string receive(std::size_t count) const {
    std::string bytes;
    std::array<char, 4096> buffer{};
    while (bytes.size() < count) {
      const ssize_t got = ::recv(socket_, buffer.data(), std::min(buffer.size(), count - bytes.size()), 0);
      if (got <= 0) break;
      bytes.append(buffer.data(), static_cast<std::size_t>(got));
    }
    return bytes;
  }

  /// What has come already, at most `count` bytes of it; does not wait.
  [[nodiscard]] std::string waiting(std::size_t count) const {
    std::string bytes(count, '\0');
    const ssize_t got = ::recv(socket_, bytes.data(), bytes.size(), MSG_DONTWAIT);
    bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
    return bytes;
  }

 private:
  const int socket_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
};

constexpr const char* question = "GET /a?b HTTP/1.1\r\nAuthorization: Bearer abc\r\n\r\n";

TEST(ScriptedServerTest, AnswersInTheOrderOfItsRepliesAndThenAlwaysTheSame) {
  ScriptedServer server;
  server.reply({"first"});
  server.replyAlways({"rest!"});
  const Client client(server);
  for (const char* expected : {"first", "rest!", "rest!"}) {
    client.send(question);
    EXPECT_EQ(client.receive(5), expected);
  }
  EXPECT_EQ(server.requests(), (std::vector<std::string>(3, question)));
  EXPECT_EQ(server.connections(), 1U);
}

TEST(ScriptedServerTest, AResponderIsToldWhatWasAskedAndWhetherTheConnectionIsKept) {
  ScriptedServer server;
  server.replyBy([](const ScriptedServer::Request& request) {
    return ScriptedServer::Reply{request.target() + request.token() + (request.onKeptConnection ? "k" : "n")};
  });
  const Client client(server);
  client.send(question);
  EXPECT_EQ(client.receive(8), "/a?babcn");
  client.send("GET /c HTTP/1.1\r\n\r\n");
  EXPECT_EQ(client.receive(3), "/ck");
}

TEST(ScriptedServerTest, AConnectionMayEndBehindAReply) {
  ScriptedServer server;
  server.reply({"last", Then::close});
  const Client client(server);
  client.send(question);
  EXPECT_EQ(client.receive(100), "last");
}

TEST(ScriptedServerTest, ARequestMayHaveItsConnectionClosed) {
  for (const char* wish : {"HTTP/1.1\r\nConnection: close", "HTTP/1.1\r\nHOST: a\r\nCONNECTION: Close, TE",
                           "HTTP/1.0", "HTTP/1.0\r\nHost: a"}) {
    ScriptedServer server;
    server.replyAlways({"answer"});
    const Client client(server);
    client.send("GET /a " + std::string(wish) + "\r\n\r\n");
    EXPECT_EQ(client.receive(100), "answer") << wish;
  }
}

TEST(ScriptedServerTest, AConnectionIsKeptForEveryOtherRequest) {
  ScriptedServer server;
  server.replyAlways({"answer"});
  const Client client(server);
  for (const char* wish : {"HTTP/1.1", "HTTP/1.1\r\nConnection: keep-alive",
                           "HTTP/1.0\r\nConnection: Keep-Alive", "HTTP/1.1\r\nX-Connection: close"}) {
    client.send("GET /a " + std::string(wish) + "\r\n\r\n");
    EXPECT_EQ(client.receive(6), "answer") << wish;
  }
  EXPECT_EQ(server.connections(), 1U);
}

TEST(ScriptedServerTest, ARequestThatHangsKeepsItsConnection) {
  ScriptedServer server;
  const Client client(server);
  client.send("GET /a HTTP/1.1\r\nConnection: close\r\n\r\n");
  ASSERT_TRUE(server.waitForRequests(1));
  server.push("later");
  EXPECT_EQ(client.receive(5), "later");
}

TEST(ScriptedServerTest, AFloodGoesOnForAsLongAsTheClientTakesIt) {
  ScriptedServer server;
  server.reply({"begin ", Then::flood, "abc"});
  server.reply({"another"});
  const Client client(server);
  client.send(question);
  EXPECT_EQ(client.receive(12), "begin abcabc");
  EXPECT_EQ(client.receive(1'000'000).size(), 1'000'000U);
  const Client other(server);
  other.send(question);
  EXPECT_EQ(other.receive(7), "another");
}

TEST(ScriptedServerTest, WhatItPushesIsThereWhenItReturns) {
  ScriptedServer server;
  server.reply({"answer"});
  const Client client(server);
  client.send(question);
  EXPECT_EQ(client.receive(6), "answer");
  server.push("unasked");
  EXPECT_EQ(client.waiting(7), "unasked");
}

TEST(ScriptedServerTest, PushesOfSeveralThreadsComeWholeOneAfterTheOther) {
  ScriptedServer server;
  server.reply({"hello"});
  const Client client(server);
  client.send(question);
  ASSERT_EQ(client.receive(5), "hello");
  constexpr std::size_t each = 50;
  const auto pushAll = [&server](const std::string& word) {
    for (std::size_t i = 0; i < each; ++i) server.push(word);
  };
  std::thread other(pushAll, "ab");
  pushAll("cd");
  other.join();
  const std::string received = client.receive(4 * each);
  std::array<std::size_t, 2> words{};
  for (std::size_t i = 0; i < received.size(); i += 2) {
    words[0] += received.substr(i, 2) == "ab" ? 1 : 0;
    words[1] += received.substr(i, 2) == "cd" ? 1 : 0;
  }
  EXPECT_EQ(words, (std::array{each, each}));
}

}  // namespace
}  // namespace vellora::testkit

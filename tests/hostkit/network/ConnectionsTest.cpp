#include "hostkit/network/Connections.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>

#include "tests/support/ScriptedServer.h"
#include "tests/support/WithoutStandardInput.h"

namespace vellora::hostkit {
namespace {

using Protocol = Connections::Protocol;
using State = Connections::State;
using tests::ScriptedServer;

/// Connections to a server that answers nobody.
class ConnectionsTest : public testing::Test {
 protected:
  /// A new connection, which the server has taken.
  int connect() {
    const int socket = connections.open(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(server.port()));
    EXPECT_EQ(::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ask(socket);
    return socket;
  }

  void ask(int socket) {
    EXPECT_EQ(::send(socket, "\r\n\r\n", 4, MSG_NOSIGNAL), 4);
    EXPECT_TRUE(server.waitForRequests(++asked));
  }

  [[nodiscard]] static int portOf(int socket) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
  }

  unsigned asked = 0;
  ScriptedServer server;
  Connections connections;
};

TEST_F(ConnectionsTest, AConnectionIsFreshOnceAndThenKept) {
  const int first = connect();
  const int second = connect();
  EXPECT_EQ(connections.use(portOf(first), Protocol::http1), State::fresh);
  EXPECT_EQ(connections.use(portOf(first), Protocol::http1), State::kept);
  EXPECT_EQ(connections.use(portOf(second), Protocol::http1), State::fresh);
  connections.close(first);
  connections.close(second);
}

TEST_F(ConnectionsTest, OneOnWhichSomethingWaitsIsSpoiltUnlessItSpeaksHttp2) {
  const int socket = connect();
  EXPECT_EQ(connections.use(portOf(socket), Protocol::http1), State::fresh);
  server.push("unasked");
  EXPECT_EQ(connections.use(portOf(socket), Protocol::http1), State::spoilt);
  EXPECT_EQ(connections.use(portOf(socket), Protocol::http2), State::kept);
  connections.close(socket);
}

TEST_F(ConnectionsTest, OneThatHasEndedIsSpoilt) {
  const int socket = connect();
  EXPECT_EQ(connections.use(portOf(socket), Protocol::http1), State::fresh);
  ::shutdown(socket, SHUT_RDWR);
  EXPECT_EQ(connections.use(portOf(socket), Protocol::http1), State::spoilt);
  connections.close(socket);
}

// What has never been connected can be read from as little as what has been reset.
TEST_F(ConnectionsTest, OneThatCannotBeReadFromIsSpoilt) {
  const int socket = connections.open(AF_INET, SOCK_STREAM, 0);
  sockaddr_in any{};
  any.sin_family = AF_INET;
  ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&any), sizeof any), 0);
  EXPECT_EQ(connections.use(portOf(socket), Protocol::http1), State::fresh);
  EXPECT_EQ(connections.use(portOf(socket), Protocol::http1), State::spoilt);
  connections.close(socket);
}

TEST_F(ConnectionsTest, OneOfIPv6IsKnownByItsPortAsWell) {
  const int socket = connections.open(AF_INET6, SOCK_STREAM, 0);
  if (socket < 0) GTEST_SKIP() << "there is no IPv6 here";
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  socklen_t size = sizeof address;
  ASSERT_EQ(::bind(socket, reinterpret_cast<const sockaddr*>(&address), size), 0);
  ASSERT_EQ(::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size), 0);
  const int port = ntohs(address.sin6_port);
  EXPECT_EQ(connections.use(port, Protocol::http2), State::fresh);
  EXPECT_EQ(connections.use(port, Protocol::http2), State::kept);
  connections.close(socket);
}

TEST_F(ConnectionsTest, ASocketMayHaveTheNumberOfStandardInput) {
  const tests::WithoutStandardInput closed;
  const int socket = connections.open(AF_INET, SOCK_STREAM, 0);
  EXPECT_EQ(socket, 0);
  connections.close(socket);
}

TEST_F(ConnectionsTest, ClosesTheSocketThatItIsTold) {
  const int socket = connections.open(AF_INET, SOCK_STREAM, 0);
  EXPECT_NE(::fcntl(socket, F_GETFD), -1);
  connections.close(socket);
  EXPECT_EQ(::fcntl(socket, F_GETFD), -1);
}

TEST_F(ConnectionsTest, WhatIsNoSocketAnyMoreHasNoPort) {
  const int socket = connections.open(AF_INET, SOCK_STREAM, 0);
  ::close(socket);
  for (int time = 0; time < 2; ++time) EXPECT_EQ(connections.use(1, Protocol::http1), State::fresh);
}

TEST_F(ConnectionsTest, AnUnknownPortIsFresh) {
  EXPECT_EQ(connections.use(1, Protocol::http1), State::fresh);
  EXPECT_EQ(connections.open(-1, SOCK_STREAM, 0), -1);
}

}  // namespace
}  // namespace vellora::hostkit

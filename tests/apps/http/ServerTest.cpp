#include "apps/http/Server.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <thread>
#include <utility>

#include "tests/support/HttpClient.h"

namespace vellora::http {
namespace {

using test::HttpClient;
using test::httpGet;

std::unique_ptr<Server> serving(Handler handler, Server::Options options = {}) {
  auto server = Server::listen(std::move(options)).value();
  server->run(std::move(handler));
  return server;
}

Response text(const std::string& body) {
  return {200, "text/plain", Data(body), {{"X-Test", "yes"}}};
}

TEST(HttpServerTest, HandsOverTheWholeRequestAndSendsTheWholeResponse) {
  std::optional<Request> received;
  const auto server = serving([&](const Request& request, const Exchange& exchange) {
    received = request;
    exchange.answer(text("hello"));
  });
  HttpClient client(server->port());
  client.send("POST /a?b=c HTTP/1.1\r\nHost: h\r\nX-One: 1\r\nx-one: 2\r\nContent-Length: 4\r\n\r\nbody");
  const auto reply = client.receive();
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "hello");
  EXPECT_EQ(reply.headers.at("content-type"), "text/plain");
  EXPECT_EQ(reply.headers.at("x-test"), "yes");
  EXPECT_EQ(reply.headers.at("connection"), "keep-alive");
  ASSERT_TRUE(received);
  EXPECT_EQ(received->line(), "POST /a?b=c");
  EXPECT_EQ(received->body, "body");
  EXPECT_EQ(received->header("X-ONE"), "1");
  EXPECT_EQ(received->count("X-One"), 2U);
}

TEST(HttpServerTest, AnswersOneRequestAfterTheOtherOnAConnection) {
  const auto server = serving(
      [](const Request& request, const Exchange& exchange) { exchange.answer(text(request.target)); });
  HttpClient client(server->port());
  client.send("GET /1 HTTP/1.1\r\n\r\nGET /2 HTTP/1.1\r\n\r\n");
  EXPECT_EQ(client.receive().body, "/1");
  EXPECT_EQ(client.receive().body, "/2");
}

TEST(HttpServerTest, SendsTheHeadAloneForAHeadRequest) {
  const auto server =
      serving([](const Request&, const Exchange& exchange) { exchange.answer(text("hello")); });
  HttpClient client(server->port());
  client.send("HEAD / HTTP/1.1\r\nConnection: close\r\n\r\n");
  const auto reply = client.receive();
  EXPECT_EQ(reply.headers.at("content-length"), "5");
  EXPECT_EQ(reply.body, "");
  EXPECT_EQ(reply.headers.at("connection"), "close");
}

TEST(HttpServerTest, TakesTheAnswerFromAnyThreadWhileItServesOthers) {
  std::promise<Exchange> pending;
  const auto server = serving([&](const Request& request, const Exchange& exchange) {
    if (request.target == "/later") return pending.set_value(exchange);
    exchange.answer(text("now"));
  });
  HttpClient waiting(server->port());
  waiting.sendGet("/later");
  const auto exchange = pending.get_future().get();
  EXPECT_EQ(httpGet(server->port(), "/").body, "now");
  std::thread([exchange] { exchange.answer(text("later")); }).join();
  EXPECT_EQ(waiting.receive().body, "later");
}

TEST(HttpServerTest, CountsTheFirstReactionOnly) {
  const auto server = serving([](const Request&, const Exchange& exchange) {
    exchange.answer(text("first"));
    exchange.answer(text("second"));
    exchange.react({Reaction::Kind::drop});
  });
  HttpClient client(server->port());
  EXPECT_EQ(client.get("/").body, "first");
  EXPECT_EQ(client.get("/").body, "first");
}

TEST(HttpServerTest, DropsAConnectionWhoseRequestNobodyWillAnswer) {
  const auto server = serving([](const Request&, const Exchange&) {});
  HttpClient client(server->port());
  client.sendGet("/");
  EXPECT_TRUE(client.receiveEnd());
}

TEST(HttpServerTest, ForgetsAnswersThatComeAfterItsEnd) {
  std::promise<Exchange> pending;
  auto server = serving([&](const Request&, const Exchange& exchange) { pending.set_value(exchange); });
  HttpClient client(server->port());
  client.sendGet("/");
  const auto exchange = pending.get_future().get();
  server->stop();
  server->stop();
  server.reset();
  exchange.answer(text("too late"));
  EXPECT_EQ(client.receive().status, 0);
}

TEST(HttpServerTest, RefusesWhatIsTooLongOrNotHttp) {
  Server::Options options;
  options.maxHeaderBytes = 1000;
  options.maxBodyBytes = 10;
  options.refusal = [](int status, std::string_view message) {
    return Response{status, "x/refused", Data(std::string(message))};
  };
  const auto server =
      serving([](const Request&, const Exchange& exchange) { exchange.answer(text("")); }, options);
  const auto statusOf = [&](const std::string& bytes) {
    HttpClient client(server->port());
    client.send(bytes);
    const auto reply = client.receive();
    EXPECT_EQ(reply.headers.at("content-type"), "x/refused");
    EXPECT_TRUE(client.receiveEnd());
    return reply.status;
  };
  EXPECT_EQ(statusOf("GET / HTTP/1.1\r\nX: " + std::string(2000, 'x') + "\r\n\r\n"), 431);
  EXPECT_EQ(statusOf("POST / HTTP/1.1\r\nContent-Length: 11\r\n\r\n"), 413);
  EXPECT_EQ(statusOf("nonsense\r\n\r\n"), 400);
}

TEST(HttpServerTest, RefusesWithABodyAfterAHeadRequest) {
  const auto server = serving([](const Request&, const Exchange& exchange) { exchange.answer(text("")); });
  HttpClient client(server->port());
  client.send("HEAD / HTTP/1.1\r\n\r\nnonsense\r\n\r\n");
  EXPECT_EQ(client.receive().status, 200);
  const auto refusal = client.receive();
  EXPECT_EQ(refusal.status, 400);
  EXPECT_EQ(refusal.body, "The request is not HTTP.\n");
}

TEST(HttpServerTest, SaysWhyItCannotListen) {
  const auto first = Server::listen({}).value();
  const auto second = Server::listen({.port = first->port()});
  ASSERT_FALSE(second);
  EXPECT_EQ(second.error().localizedDescription(),
            "cannot listen on 127.0.0.1:" + std::to_string(first->port()) + ": Address already in use");
}

}  // namespace
}  // namespace vellora::http

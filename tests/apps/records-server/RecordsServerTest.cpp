#include "apps/records-server/RecordsServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/apps/records-server/RecordsServerFixture.h"
#include "tests/support/HttpClient.h"

namespace vellora::recordsserver {
namespace {

using namespace std::chrono_literals;
using test::HttpClient;
using test::httpGet;

TEST(RecordsServerTest, TellsItsAddress) {
  const auto server = started();
  EXPECT_GT(server->port(), 0);
  EXPECT_EQ(server->url(), "http://127.0.0.1:" + std::to_string(server->port()));
}

TEST(RecordsServerTest, AnswersInJson) {
  const auto server = started();
  const auto reply = httpGet(server->port(), themes);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.headers.at("content-type"), "application/json;charset=UTF-8");
  EXPECT_EQ(reply.body, themeBody());
  EXPECT_TRUE(reply.complete);
}

TEST(RecordsServerTest, ServesSeveralRequestsOverOneConnection) {
  const auto server = started();
  HttpClient client(server->port());
  EXPECT_EQ(client.get(themes).status, 200);
  EXPECT_EQ(client.get("/nope").status, 404);
  EXPECT_EQ(client.get(objects).headers.at("connection"), "keep-alive");
  EXPECT_FALSE(client.hasInput());
}

TEST(RecordsServerTest, AnswersRequestsThatWereSentAtOnceInTheirOrder) {
  const auto server = started();
  HttpClient client(server->port());
  client.sendGet(themes);
  client.sendGet("/nope");
  EXPECT_EQ(client.receive().body, themeBody());
  EXPECT_EQ(client.receive().status, 404);
}

TEST(RecordsServerTest, EndsTheConnectionWhenTheClientWantsIt) {
  const auto server = started();
  HttpClient closing(server->port());
  EXPECT_EQ(closing.get(themes, "Connection: close\r\n").headers.at("connection"), "close");
  EXPECT_TRUE(closing.receiveEnd());
  HttpClient old(server->port());
  old.send("GET " + themes + " HTTP/1.0\r\n\r\n");
  EXPECT_EQ(old.receive().status, 200);
  EXPECT_TRUE(old.receiveEnd());
}

TEST(RecordsServerTest, RecordsRequestLinesExactlyAsTheyCame) {
  const auto server = started();
  HttpClient client(server->port());
  EXPECT_EQ(client.get("/services/data/v50.0/search/layout?q=Account,Contact").status, 200);
  EXPECT_EQ(client.get("/x?q=a%20b+%27'&%c3%A9#\xc3\xa9").status, 404);
  EXPECT_THAT(server->requests(),
              testing::ElementsAre("GET /services/data/v50.0/search/layout?q=Account,Contact",
                                   "GET /x?q=a%20b+%27'&%c3%A9#\xc3\xa9"));
}

TEST(RecordsServerTest, RecordsHeaders) {
  const auto server = started();
  EXPECT_EQ(httpGet(server->port(), themes, "AUTHORIZATION: Bearer abc\r\nX-One: 1\r\nX-One: 2\r\n").status,
            200);
  const auto request = server->recordedRequests().at(0);
  EXPECT_EQ(request.header("Authorization"), "Bearer abc");
  EXPECT_EQ(request.header("host"), "localhost");
  EXPECT_EQ(request.header("X-One"), "1");
  EXPECT_EQ(request.header("X-Two"), std::nullopt);
  EXPECT_EQ(request.headers.size(), 4U);
}

TEST(RecordsServerTest, ForgetsRequestsWhenTold) {
  const auto server = started();
  EXPECT_EQ(httpGet(server->port(), themes).status, 200);
  server->clearRequests();
  EXPECT_TRUE(server->requests().empty());
  EXPECT_FALSE(server->waitForRequests(1, 0ms));
}

TEST(RecordsServerTest, TellsOfEachRequestAndKeepsNoneWhenToldSo) {
  std::vector<std::string> lines;
  RecordsServer::Options options;
  options.keepsRequests = false;
  options.onRequest = [&lines](const RecordedRequest& request) { lines.push_back(request.line()); };
  const auto server = started(std::move(options));
  EXPECT_EQ(httpGet(server->port(), themes).status, 200);
  server->stop();
  EXPECT_THAT(lines, testing::ElementsAre("GET " + themes));
  EXPECT_TRUE(server->requests().empty());
}

TEST(RecordsServerTest, WantsTheBearerTokenWhenItHasOne) {
  RecordsServer::Options options;
  options.token = "secret";
  const auto server = started(std::move(options));
  const auto reply = httpGet(server->port(), themes);
  EXPECT_EQ(reply.status, 401);
  EXPECT_EQ(reply.headers.at("www-authenticate"), "Bearer");
  EXPECT_EQ(reply.body, R"([{"message":"A valid bearer token is required.","code":"UNAUTHORIZED"}])");
  EXPECT_EQ(httpGet(server->port(), themes, "Authorization: Bearer secrets\r\n").status, 401);
  EXPECT_EQ(httpGet(server->port(), themes, "Authorization: secret\r\n").status, 401);
  EXPECT_EQ(httpGet(server->port(), "/nope").status, 401);
  EXPECT_EQ(httpGet(server->port(), themes, "Authorization: Bearer secret\r\n").status, 200);
}

TEST(RecordsServerTest, AllowsGetOnly) {
  const auto server = started();
  HttpClient client(server->port());
  client.send("POST " + themes + " HTTP/1.1\r\nHost: x\r\nContent-Length: 5\r\n\r\nhello");
  const auto reply = client.receive();
  EXPECT_EQ(reply.status, 405);
  EXPECT_EQ(reply.headers.at("allow"), "GET");
  EXPECT_EQ(reply.body, R"([{"message":"Only GET is allowed here.","code":"METHOD_NOT_ALLOWED"}])");
  EXPECT_EQ(client.get(themes).status, 200);
}

TEST(RecordsServerTest, SendsNoBodyInAnswerToHead) {
  const auto server = started();
  HttpClient client(server->port());
  client.send("HEAD " + themes + " HTTP/1.1\r\nHost: x\r\nConnection: close\r\n\r\n");
  const auto reply = client.receive();
  EXPECT_EQ(reply.status, 405);
  EXPECT_EQ(reply.body, "");
}

TEST(RecordsServerTest, AnswersWhatIsNotHttpWithAnErrorAndTheEnd) {
  const auto server = started();
  for (const auto* bytes :
       {"hello\r\n\r\n", "GET\r\n\r\n", "GET / HTTP/9.9\r\n\r\n", "GET / HTTP/1.1\r\nno colon\r\n\r\n",
        "GET /a b HTTP/1.1\r\n\r\n", "GET / HTTP/1.1\r\nContent-Length: -1\r\n\r\n"}) {
    HttpClient client(server->port());
    client.send(bytes);
    const auto reply = client.receive();
    EXPECT_EQ(reply.status, 400) << bytes;
    EXPECT_EQ(reply.body, R"([{"message":"The request is not HTTP.","code":"BAD_REQUEST"}])");
    EXPECT_TRUE(client.receiveEnd());
  }
  EXPECT_EQ(httpGet(server->port(), themes).status, 200);
}

TEST(RecordsServerTest, LimitsTheLengthOfTargetHeaderAndBody) {
  const auto server = started();
  EXPECT_EQ(httpGet(server->port(), "/x?q=" + std::string(60'000, 'x')).status, 404);
  EXPECT_EQ(httpGet(server->port(), "/x?q=" + std::string(70'000, 'x')).status, 414);
  EXPECT_EQ(httpGet(server->port(), "/x?q=" + std::string(200'000, 'x')).status, 431);
  EXPECT_EQ(httpGet(server->port(), "/", "X: " + std::string(200'000, 'x') + "\r\n").status, 431);
  HttpClient client(server->port());
  client.send("GET / HTTP/1.1\r\nHost: x\r\nContent-Length: 100000\r\n\r\n");
  EXPECT_EQ(client.receive().status, 413);
}

TEST(RecordsServerTest, ServesManyClientsAtOnce) {
  const auto server = started();
  const auto body = themeBody();
  std::atomic<int> right = 0;
  std::vector<std::thread> clients;
  for (int i = 0; i < 16; ++i)
    clients.emplace_back([&] {
      HttpClient client(server->port());
      for (int k = 0; k < 20; ++k)
        if (client.get(themes).body == body) ++right;
    });
  for (auto& client : clients) client.join();
  EXPECT_EQ(right, 320);
  EXPECT_EQ(server->requests().size(), 320U);
}

TEST(RecordsServerTest, HoldsManyConnectionsOpen) {
  const auto server = started();
  std::vector<std::unique_ptr<HttpClient>> clients;
  for (int i = 0; i < 200; ++i) clients.push_back(std::make_unique<HttpClient>(server->port()));
  for (const auto& client : clients) client->sendGet(accountLayout);
  for (const auto& client : clients) EXPECT_EQ(client->receive().status, 200);
}

TEST(RecordsServerTest, LeavesClientsThatAreTooSlow) {
  RecordsServer::Options options;
  options.clientTimeout = 50ms;
  const auto server = started(std::move(options));
  HttpClient half(server->port());
  half.send("GET " + themes + " HTTP/1.1\r\nHost: ");
  HttpClient idle(server->port());
  EXPECT_TRUE(half.receiveEnd());
  EXPECT_TRUE(idle.receiveEnd());
}

TEST(RecordsServerTest, OutlivesClientsThatLeave) {
  const auto server = started({}, DataSet::generated(2000));
  for (int i = 0; i < 20; ++i) {
    const HttpClient client(server->port());
    client.sendGet(objects);
  }
  EXPECT_TRUE(server->waitForRequests(20));
  EXPECT_EQ(httpGet(server->port(), accountLayout).status, 200);
}

TEST(RecordsServerTest, SendsLargeBodiesWhole) {
  const auto data = DataSet::generated(2000);
  const auto server = started({}, data);
  const auto reply = httpGet(server->port(), objects);
  EXPECT_TRUE(reply.complete);
  EXPECT_TRUE(reply.body == data.objectList().view());
}

TEST(RecordsServerTest, EndsWaitingClientsWhenItStops) {
  auto server = started();
  server->setFault(themes, Fault::never());
  server->setFault(objects, Fault::delay(1h));
  HttpClient waiting(server->port());
  waiting.sendGet(themes);
  HttpClient delayed(server->port());
  delayed.sendGet(objects);
  HttpClient idle(server->port());
  ASSERT_TRUE(server->waitForRequests(2));
  server->stop();
  for (auto* client : {&waiting, &delayed, &idle}) EXPECT_EQ(client->receive().status, 0);
}

TEST(RecordsServerTest, AcceptsNobodyAfterItsStop) {
  const auto server = started();
  server->stop();
  server->stop();
  EXPECT_FALSE(HttpClient(server->port()).connected());
}

TEST(RecordsServerTest, CannotListenOnAPortThatIsTaken) {
  const auto server = started();
  RecordsServer::Options options;
  options.port = server->port();
  const auto second = RecordsServer::start(DataSet::builtIn(), options);
  ASSERT_FALSE(second);
  EXPECT_EQ(second.error().localizedDescription(),
            "cannot listen on 127.0.0.1:" + std::to_string(server->port()) + ": Address already in use");
}

TEST(RecordsServerTest, ListensOnThePortThatItIsGiven) {
  std::string problem;
  for (int attempt = 0; attempt < 20; ++attempt) {
    RecordsServer::Options options;
    { options.port = started()->port(); }
    const auto server = RecordsServer::start(DataSet::builtIn(), options);
    if (!server) {  // the port may have become another program's
      problem = server.error().localizedDescription();
      continue;
    }
    EXPECT_EQ(server.value()->port(), options.port);
    EXPECT_EQ(httpGet(options.port, themes).status, 200);
    return;
  }
  FAIL() << problem;
}

}  // namespace
}  // namespace vellora::recordsserver

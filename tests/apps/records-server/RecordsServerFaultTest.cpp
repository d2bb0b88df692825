#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "apps/records-server/RecordsServer.h"
#include "tests/apps/records-server/RecordsServerFixture.h"
#include "tests/support/HttpClient.h"

namespace vellora::recordsserver {
namespace {

using namespace std::chrono_literals;
using test::HttpClient;
using test::httpGet;

TEST(RecordsServerFaultTest, DelaysAnAnswer) {
  const auto server = started();
  server->setFault(RecordsServer::everything, Fault::delay(30ms));
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(httpGet(server->port(), themes).body, themeBody());
  EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
}

TEST(RecordsServerFaultTest, HoldsUpNobodyElseWithADelay) {
  const auto server = started();
  server->setFault(themes, Fault::delay(1h));
  HttpClient delayed(server->port());
  delayed.sendGet(themes);
  ASSERT_TRUE(server->waitForRequests(1));
  EXPECT_EQ(httpGet(server->port(), accountLayout).status, 200);
  EXPECT_FALSE(delayed.hasInput());
}

TEST(RecordsServerFaultTest, FailsWithAStatusAndAnErrorBody) {
  const auto server = started();
  server->setFault(RecordsServer::everything, Fault::fail(503).after(1ms), 1);
  HttpClient client(server->port());
  const auto reply = client.get(themes);
  EXPECT_EQ(reply.status, 503);
  EXPECT_EQ(reply.body, R"([{"message":"The server was told to fail.","code":"SERVER_FAULT"}])");
  EXPECT_EQ(client.get(themes).status, 200);
}

TEST(RecordsServerFaultTest, SendsAnErrorBodyWithStatus200) {
  const auto server = started();
  server->setFault(RecordsServer::everything, Fault::errorBody());
  const auto reply = httpGet(server->port(), themes);
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, R"([{"message":"The server was told to fail.","code":"SERVER_FAULT"}])");
}

TEST(RecordsServerFaultTest, TruncatesABody) {
  const auto server = started();
  for (const std::size_t bytes : {0U, 1U, 100U}) {
    server->setFault(RecordsServer::everything, Fault::truncate(bytes));
    HttpClient client(server->port());
    const auto reply = client.get(themes);
    EXPECT_EQ(reply.status, 200);
    EXPECT_EQ(reply.headers.at("content-length"), std::to_string(themeBody().size()));
    EXPECT_EQ(reply.body, themeBody().substr(0, bytes));
    EXPECT_FALSE(reply.complete);
    EXPECT_TRUE(client.receiveEnd());
  }
}

TEST(RecordsServerFaultTest, TruncatesABodyByOneByteAtLeast) {
  const auto server = started();
  server->setFault(RecordsServer::everything, Fault::truncate(10'000'000));
  EXPECT_EQ(httpGet(server->port(), themes).body.size(), themeBody().size() - 1);
}

TEST(RecordsServerFaultTest, DropsAConnection) {
  const auto server = started();
  server->setFault(themes, Fault::drop());
  HttpClient client(server->port());
  EXPECT_EQ(client.get(themes).status, 0);
  EXPECT_TRUE(client.receiveEnd());
}

TEST(RecordsServerFaultTest, NeverAnswers) {
  const auto server = started();
  server->setFault(themes, Fault::never());
  HttpClient client(server->port());
  client.sendGet(themes);
  ASSERT_TRUE(server->waitForRequests(1));
  EXPECT_FALSE(client.hasInput());
  server->stop();
  EXPECT_FALSE(server->waitForRequests(2, 0ms));
}

TEST(RecordsServerFaultTest, SendsGarbageAndEmptyBodies) {
  const auto server = started();
  server->setFault(themes, Fault::garbage());
  server->setFault(objects, Fault::empty());
  HttpClient client(server->port());
  const auto garbage = client.get(themes);
  EXPECT_EQ(garbage.status, 200);
  EXPECT_TRUE(garbage.body.starts_with("{\"sobjects\": [\xff\xfe")) << garbage.body;
  const auto empty = client.get(objects);
  EXPECT_EQ(empty.status, 200);
  EXPECT_TRUE(empty.complete);
  EXPECT_EQ(empty.body, "");
}

TEST(RecordsServerFaultTest, EndsItsFaultsWhenTold) {
  const auto server = started();
  server->setFault(RecordsServer::everything, Fault::drop());
  server->clearFaults();
  EXPECT_EQ(httpGet(server->port(), themes).status, 200);
}

}  // namespace
}  // namespace vellora::recordsserver

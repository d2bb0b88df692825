#include <gtest/gtest.h>

#include <string>

#include "apps/records-server/RecordsServer.h"
#include "tests/apps/records-server/RecordsServerFixture.h"
#include "tests/support/HttpClient.h"

namespace vellora::recordsserver {
namespace {

using test::HttpClient;
using test::httpGet;

std::string condition(const std::string& tag) {
  return "If-None-Match: " + tag + "\r\n";
}

const std::string acceptingGzip = "Accept-Encoding: gzip\r\n";

TEST(RecordsServerConditionTest, AnswersWithATagAndWithoutABodyToWhoHasIt) {
  const auto server = started();
  HttpClient client(server->port());
  const auto whole = client.get(themes);
  auto again = client.get(themes, condition(whole.headers.at("etag")));
  EXPECT_EQ(again.status, 304);
  EXPECT_EQ(again.body, "");
  EXPECT_EQ(again.headers.at("etag"), whole.headers.at("etag"));
  EXPECT_EQ(again.headers.at("vary"), "Accept-Encoding");
  EXPECT_EQ(again.headers["content-length"], "");
  EXPECT_EQ(client.get(themes).body, themeBody()) << "nothing stands behind the 304";
}

TEST(RecordsServerConditionTest, AnswersWithTheBodyToWhoHasAnother) {
  const auto server = started();
  EXPECT_EQ(httpGet(server->port(), themes, condition("\"other\"")).body, themeBody());
}

TEST(RecordsServerConditionTest, AFailureHasNoTag) {
  const auto server = started();
  EXPECT_FALSE(httpGet(server->port(), "/nope", condition("*")).headers.contains("etag"));
  EXPECT_EQ(httpGet(server->port(), "/nope", condition("*")).status, 404);
}

TEST(RecordsServerConditionTest, ThePackedFormHasATagOfItsOwn) {
  const auto server = started({.packsBodies = true});
  const auto packed = httpGet(server->port(), themes, acceptingGzip);
  const auto plain = httpGet(server->port(), themes);
  EXPECT_EQ(packed.headers.at("content-encoding"), "gzip");
  EXPECT_EQ(plain.body, themeBody());
  EXPECT_NE(packed.headers.at("etag"), plain.headers.at("etag"));
  EXPECT_EQ(httpGet(server->port(), themes, acceptingGzip + condition(plain.headers.at("etag"))).status, 200);
  EXPECT_EQ(httpGet(server->port(), themes, acceptingGzip + condition(packed.headers.at("etag"))).status,
            304);
}

TEST(RecordsServerConditionTest, OtherDataHaveAnotherTag) {
  const auto server = started({}, DataSet::generated(2));
  const auto before = httpGet(server->port(), themes);
  server->replaceData(DataSet::generated(3));
  const auto after = httpGet(server->port(), themes, condition(before.headers.at("etag")));
  EXPECT_EQ(after.status, 200);
  EXPECT_EQ(after.body, DataSet::generated(3).themeList().view());
}

TEST(RecordsServerConditionTest, CountsTheBytesThatItSends) {
  const auto server = started();
  EXPECT_EQ(server->bytesSent(), 0U);
  const auto whole = httpGet(server->port(), themes);
  const auto first = server->bytesSent();
  EXPECT_GT(first, whole.body.size());
  EXPECT_LT(first, whole.body.size() + 500);
  static_cast<void>(httpGet(server->port(), themes, condition(whole.headers.at("etag"))));
  EXPECT_LT(server->bytesSent() - first, 500U);
}

TEST(RecordsServerConditionTest, SaysToEverybodyThatNothingHasChangedWhenTold) {
  const auto server = started();
  server->setFault(themes, Fault::unaskedNotModified());
  EXPECT_EQ(httpGet(server->port(), themes).status, 304);
}

TEST(RecordsServerConditionTest, SaysSoOfAnotherBodyWhenTold) {
  const auto server = started();
  server->setFault(themes, Fault::notModifiedForAnother());
  const auto reply = httpGet(server->port(), themes, condition("\"mine\""));
  EXPECT_EQ(reply.status, 304);
  EXPECT_EQ(reply.headers.at("etag"), "\"of another body\"");
}

TEST(RecordsServerConditionTest, KeepsItsTagWhateverTheBodyIsWhenTold) {
  const auto server = started({}, DataSet::generated(2));
  server->setFault(themes, Fault::frozenTag());
  const auto before = httpGet(server->port(), themes);
  EXPECT_EQ(before.body, DataSet::generated(2).themeList().view());
  server->replaceData(DataSet::generated(3));
  EXPECT_EQ(httpGet(server->port(), themes).headers.at("etag"), before.headers.at("etag"));
  EXPECT_EQ(httpGet(server->port(), themes, condition(before.headers.at("etag"))).status, 304);
}

}  // namespace
}  // namespace vellora::recordsserver

#include "apps/vellora/explore/RequestGuard.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace vellora::explore {
namespace {

using Need = RequestGuard::Need;
using Headers = std::vector<std::pair<std::string, std::string>>;

const std::string key = "0123456789abcdef";

/// The status of the refusal; 200 when there is none.
int statusOf(Need need, Headers headers, const std::string& target = "/") {
  const auto refusal = RequestGuard(4711, key).refuse({"GET", target, std::move(headers)}, need);
  return refusal ? refusal->status : 200;
}

int statusForHost(const std::string& host) {
  return statusOf(Need::nothing, {{"Host", host}});
}

TEST(RequestGuardTest, AnswersToItsTwoNamesAlone) {
  EXPECT_EQ(statusForHost("127.0.0.1:4711"), 200);
  EXPECT_EQ(statusForHost("localhost:4711"), 200);
  for (const std::string host :
       {"", "127.0.0.1", "localhost", "127.0.0.1:4712", "127.0.0.1:04711", "127.0.0.1:4711 ",
        "127.0.0.2:4711", "127.1:4711", "2130706433:4711", "[::1]:4711", "0.0.0.0:4711", "LOCALHOST:4711",
        "localhost.:4711", "evil.example:4711", "127.0.0.1:4711.evil.example", "127.0.0.1.evil.example:4711",
        "user@127.0.0.1:4711", "evil.example"})
    EXPECT_EQ(statusForHost(host), 421) << host;
}

TEST(RequestGuardTest, WantsOneHostAndAPath) {
  EXPECT_EQ(statusOf(Need::nothing, {}), 421);
  EXPECT_EQ(statusOf(Need::nothing, {{"Host", "127.0.0.1:4711"}, {"host", "127.0.0.1:4711"}}), 421);
  EXPECT_EQ(statusOf(Need::nothing, {{"Host", "127.0.0.1:4711"}}, "http://evil.example/"), 421);
  EXPECT_EQ(statusOf(Need::nothing, {{"Host", "127.0.0.1:4711"}}, "*"), 421);
}

TEST(RequestGuardTest, KeepsOtherSitesPagesOut) {
  const auto from = [](Need need, const std::string& site) {
    return statusOf(need, {{"Host", "127.0.0.1:4711"}, {"Sec-Fetch-Site", site}});
  };
  EXPECT_EQ(from(Need::nothing, "cross-site"), 200);
  for (const std::string site : {"cross-site", "same-site", "x"}) EXPECT_EQ(from(Need::ownPage, site), 403);
  EXPECT_EQ(from(Need::ownPage, "same-origin"), 200);
  EXPECT_EQ(from(Need::ownPage, "none"), 200);
  EXPECT_EQ(statusOf(Need::key, {{"Host", "127.0.0.1:4711"},
                                 {"Sec-Fetch-Site", "cross-site"},
                                 {RequestGuard::keyHeader, key}}),
            403);
}

TEST(RequestGuardTest, WantsTheKeyForData) {
  const auto with = [](const Headers& more) {
    Headers headers{{"Host", "127.0.0.1:4711"}};
    headers.insert(headers.end(), more.begin(), more.end());
    return statusOf(Need::key, headers);
  };
  EXPECT_EQ(with({{RequestGuard::keyHeader, key}}), 200);
  EXPECT_EQ(with({}), 401);
  EXPECT_EQ(with({{RequestGuard::keyHeader, ""}}), 401);
  EXPECT_EQ(with({{RequestGuard::keyHeader, key + "0"}}), 401);
  EXPECT_EQ(with({{RequestGuard::keyHeader, "1123456789abcdef"}}), 401);
  EXPECT_EQ(with({{RequestGuard::keyHeader, key}, {RequestGuard::keyHeader, key}}), 401);
}

TEST(RequestGuardTest, WantsTheOwnOriginForChanges) {
  const auto from = [](const Headers& more) {
    Headers headers{{"Host", "localhost:4711"}, {RequestGuard::keyHeader, key}};
    headers.insert(headers.end(), more.begin(), more.end());
    return statusOf(Need::keyAndOrigin, headers);
  };
  EXPECT_EQ(from({{"Origin", "http://localhost:4711"}}), 200);
  EXPECT_EQ(from({}), 403);
  for (const std::string origin : {"null", "http://127.0.0.1:4711", "https://localhost:4711",
                                   "http://localhost:4711/", "http://localhost", "http://evil.example"})
    EXPECT_EQ(from({{"Origin", origin}}), 403) << origin;
  EXPECT_EQ(statusOf(Need::keyAndOrigin, {{"Host", "localhost:4711"}, {"Origin", "http://localhost:4711"}}),
            401);
}

}  // namespace
}  // namespace vellora::explore

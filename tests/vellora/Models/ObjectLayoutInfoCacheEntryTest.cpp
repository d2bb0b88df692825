#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora {
namespace {

const ObjectLayoutInfoCacheEntry entry{{"Account", {{"Name", "Account Name", std::nullopt, "Account.Name"}}},
                                       Date::sinceReferenceDate(722000000.25)};

TEST(ObjectLayoutInfoCacheEntryTest, WritesTheDownloadTimeAsANumberOfSecondsSince2001) {
  EXPECT_EQ(
      json::encode(entry).value().view(),
      R"({"objectLayoutInfo":{"objectType":"Account","searchColumns":[)"
      R"({"name":"Name","label":"Account Name","field":"Account.Name"}]},"downloadedTime":722000000.25})");
}

TEST(ObjectLayoutInfoCacheEntryTest, ReadsBackEqual) {
  const auto data = json::encode(entry);
  ASSERT_TRUE(data);
  const auto again = json::decode<ObjectLayoutInfoCacheEntry>(data.value());
  ASSERT_TRUE(again);
  EXPECT_EQ(again.value(), entry);
}

TEST(ObjectLayoutInfoCacheEntryTest, ADateStringIsNoDownloadTime) {
  const auto again = json::decode<ObjectLayoutInfoCacheEntry>(Data(std::string(
      R"({"objectLayoutInfo":{"objectType":"A","searchColumns":[]},"downloadedTime":"2026-11-20T08:00:00Z"})")));
  ASSERT_FALSE(again);
  EXPECT_EQ(again.error().localizedDescription(), "expected a number at $.downloadedTime");
}

TEST(ObjectLayoutInfoCacheEntryTest, BothFieldsAreRequired) {
  EXPECT_EQ(json::decode<ObjectLayoutInfoCacheEntry>(Data(std::string(R"({"downloadedTime":1})")))
                .error()
                .localizedDescription(),
            R"(missing key "objectLayoutInfo" at $)");
  EXPECT_EQ(json::decode<ObjectLayoutInfoCacheEntry>(
                Data(std::string(R"({"objectLayoutInfo":{"objectType":"A","searchColumns":[]}})")))
                .error()
                .localizedDescription(),
            R"(missing key "downloadedTime" at $)");
}

}  // namespace
}  // namespace vellora

#include "vellora/Models/CompactLayoutCacheEntry.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "tests/support/PrintRecords.h"

namespace vellora {
namespace {

CompactLayoutCacheEntry entry() {
  return {{{std::make_shared<CompactLayoutField>(
               CompactLayoutField::Content{.apiName = "Name", .fieldType = "string", .label = "Name"})},
           "Account"},
          Date::sinceReferenceDate(722000000.25)};
}

TEST(CompactLayoutCacheEntryTest, WritesTheDownloadTimeAsANumberOfSecondsSince2001) {
  EXPECT_EQ(
      json::encode(entry()).value().view(),
      R"({"compactLayout":{"objectType":"Account","layoutFields":[{"apiName":"Name","fieldType":"string",)"
      R"("label":"Name","htmlFormatted":false}]},"downloadedTime":722000000.25})");
}

TEST(CompactLayoutCacheEntryTest, ReadsBackEqual) {
  const auto again = json::decode<CompactLayoutCacheEntry>(json::encode(entry()).value());
  ASSERT_TRUE(again);
  EXPECT_EQ(again.value(), entry());
}

TEST(CompactLayoutCacheEntryTest, BothFieldsAreRequired) {
  const auto failureOf = [](const std::string& text) {
    return json::decode<CompactLayoutCacheEntry>(Data(text)).error().localizedDescription();
  };
  EXPECT_EQ(failureOf(R"({"downloadedTime":1})"), R"(missing key "compactLayout" at $)");
  EXPECT_EQ(failureOf(R"({"compactLayout":{"objectType":"A","layoutFields":[]}})"),
            R"(missing key "downloadedTime" at $)");
  EXPECT_EQ(
      failureOf(R"({"compactLayout":{"objectType":"A","layoutFields":[]},"downloadedTime":"2026-11-20"})"),
      "expected a number at $.downloadedTime");
}

}  // namespace
}  // namespace vellora

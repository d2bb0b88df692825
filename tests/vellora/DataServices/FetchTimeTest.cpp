#include "vellora/DataServices/FetchTime.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace vellora {
namespace {

const Date fetched = Date::since1970(1'700'000'000);
const Date later = Date::since1970(1'800'000'000);

Data searchLayoutFetchedAt(double secondsSinceReferenceDate) {
  return Data(R"({"objectLayoutInfo":{"objectType":"Account","searchColumns":[]},"downloadedTime":)" +
              std::to_string(static_cast<long>(secondsSinceReferenceDate)) + "}");
}

Data compactLayoutFetchedAt(double secondsSinceReferenceDate) {
  return Data(R"({"compactLayout":{"layoutFields":[],"objectType":"Account"},"downloadedTime":)" +
              std::to_string(static_cast<long>(secondsSinceReferenceDate)) + "}");
}

TEST(FetchTimeTest, ATimeStampIsTheLittleEndianBytesOfADouble) {
  const std::string one("\0\0\0\0\0\0\xF0\x3F", 8);
  EXPECT_EQ(fetchTimeStamp(1).view(), one);
  EXPECT_EQ(secondsInFetchTimeStamp(Data(one)), 1);
  const std::string tenth("\x9A\x99\x99\x99\x99\x99\xB9\x3F", 8);
  EXPECT_EQ(fetchTimeStamp(0.1).view(), tenth);
  EXPECT_EQ(secondsInFetchTimeStamp(Data(tenth)), 0.1);
  EXPECT_EQ(secondsInFetchTimeStamp(Data()), 0);
  EXPECT_EQ(secondsInFetchTimeStamp(Data("1234567")), std::nullopt);
}

TEST(FetchTimeTest, ATimeStampSpeaksForItsList) {
  for (const auto key : {sObjectsFetchTimeKey, themesFetchTimeKey}) {
    EXPECT_EQ(fetchTime(key, fetchTimeStamp(1'700'000'000)), fetched) << key;
    EXPECT_EQ(withFetchTime(key, fetchTimeStamp(1), later), fetchTimeStamp(1'800'000'000)) << key;
    EXPECT_EQ(fetchTime(key, Data("short")), std::nullopt) << key;
    EXPECT_EQ(withFetchTime(key, Data("short"), later), std::nullopt) << key;
  }
}

TEST(FetchTimeTest, ALayoutSpeaksForItself) {
  const auto check = [](const std::string& key, Data (*blobFetchedAt)(double)) {
    const auto blob = blobFetchedAt(fetched.secondsSinceReferenceDate());
    EXPECT_EQ(fetchTime(key, blob), fetched) << key;
    const auto restamped = withFetchTime(key, blob, later);
    ASSERT_TRUE(restamped) << key;
    EXPECT_EQ(fetchTime(key, *restamped), later) << key;
    EXPECT_NE(restamped->view().find("Account"), std::string_view::npos) << key;
    EXPECT_EQ(fetchTime(key, Data("{}")), std::nullopt) << key;
    EXPECT_EQ(withFetchTime(key, Data("{}"), later), std::nullopt) << key;
  };
  check("OPS_Layout_Account", searchLayoutFetchedAt);
  check("OPS_CompactLayout_Account", compactLayoutFetchedAt);
}

TEST(FetchTimeTest, TheRowsOfAListAreAsOldAsItsTimeStampSays) {
  EXPECT_EQ(fetchTimeKeyForRowsOf("sObjects"), sObjectsFetchTimeKey);
  EXPECT_EQ(fetchTimeKeyForRowsOf("keyPrefixes"), sObjectsFetchTimeKey);
  EXPECT_EQ(fetchTimeKeyForRowsOf("themes"), themesFetchTimeKey);
  EXPECT_EQ(fetchTimeKeyForRowsOf("sObject"), std::nullopt);
  EXPECT_EQ(fetchTimeKeyForRowsOf(""), std::nullopt);
}

TEST(FetchTimeTest, ALayoutCannotBeFetchedAtATimeThatIsNoNumber) {
  const auto never = Date::since1970(std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(withFetchTime("OPS_Layout_Account",
                          Data(R"({"objectLayoutInfo":{"objectType":"Account","searchColumns":[]},)"
                               R"("downloadedTime":1})"),
                          never),
            std::nullopt);
}

TEST(FetchTimeTest, OtherBlobsDoNotTell) {
  EXPECT_EQ(fetchTime("settings", fetchTimeStamp(1)), std::nullopt);
  EXPECT_EQ(withFetchTime("settings", fetchTimeStamp(1), later), std::nullopt);
}

}  // namespace
}  // namespace vellora

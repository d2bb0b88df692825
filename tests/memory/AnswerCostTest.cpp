#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>

#include "hostkit/secrets/KnownSecrets.h"
#include "tests/support/AllocationCounter.h"
#include "vellora/Models/CompactLayoutResults.h"
#include "vellora/Models/ListViewObjectRecords.h"
#include "vellora/Models/ThemeResponse.h"
#include "vellora/Platform/Json/Json.h"

// What it costs to read an answer that was made to cost much: as many values as fit into its bytes.

namespace vellora {
namespace {

std::string repeated(const std::string& before, const std::string& item, const std::string& after) {
  constexpr std::size_t count = 50'000;
  std::string text = before + item;
  for (std::size_t i = 1; i < count; ++i) text.append(",").append(item);
  return text + after;
}

/// All that is taken from the heap to read `text`, given back or not, for each byte of it.
template <class Response>
double bytesForEachByte(std::string text) {
  const auto length = static_cast<double>(text.size());
  const Data body(std::move(text));
  json::releaseParser();
  const tests::AllocationCounter counter;
  static_cast<void>(json::decodeOnce<Response>(body));
  return static_cast<double>(counter.bytes()) / length;
}

TEST(AnswerCostTest, ReadingAnAnswerTakesNoMoreThan64TimesItsLengthWhateverItHolds) {
  constexpr double most = 64;
  EXPECT_LE(bytesForEachByte<ListViewObjectRecords>(repeated("[", "0", "]")), most);
  EXPECT_LE(bytesForEachByte<ListViewObjectRecords>(repeated("[", "[]", "]")), most);
  EXPECT_LE(bytesForEachByte<ListViewObjectRecords>(repeated(R"({"x":[1e400,)", "0", R"(],"records":[]})")),
            most);
  EXPECT_LE(bytesForEachByte<ListViewObjectRecords>(
                repeated(R"({"x":[)", std::string(30, '9'), R"(],"records":[]})")),
            most);
  EXPECT_LE(bytesForEachByte<ThemeResponse>(repeated(R"({"themeItems":[{"name":"","icons":[)",
                                                     R"({"contentType":"","theme":"","url":"","width":16.0})",
                                                     "]}]}")),
            most);
  EXPECT_LE(bytesForEachByte<ListViewObjectRecords>("[\"" + std::string(1'000'000, 'x') + "\"]"), most);
  EXPECT_LE(bytesForEachByte<ListViewObjectRecords>(repeated(R"({"records":[)", R"({"Id":""})", "]}")), most);
  EXPECT_LE(
      bytesForEachByte<ThemeResponse>(repeated(R"({"themeItems":[)", R"({"name":"","icons":[]})", "]}")),
      most);
  EXPECT_LE(bytesForEachByte<CompactLayoutResults>(
                repeated(R"({"A":{"objectType":"","fieldItems":[{"label":"","layoutComponents":[)",
                         R"({"value":""})", "]}]}}")),
            most);
  EXPECT_LE(bytesForEachByte<CompactLayoutResults>(
                repeated(R"({"A":{"objectType":"","layoutFields":[)",
                         R"({"apiName":"","fieldType":"","label":"","htmlFormatted":true})", "]}}")),
            most);
}

TEST(AnswerCostTest, CleaningATextOfSecretsTakesNoMoreThanSixTimesItsLength) {
  hostkit::KnownSecrets secrets;
  secrets.note("abc-secret99-and-more-of-it");
  static_cast<void>(secrets.cleaned("the first search prepares"));
  const std::string name(10'000'000, 'x');
  const tests::AllocationCounter counter;
  EXPECT_EQ(secrets.cleaned(name).size(), name.size());
  EXPECT_LE(static_cast<double>(counter.bytes()) / static_cast<double>(name.size()), 6);
}

}  // namespace
}  // namespace vellora

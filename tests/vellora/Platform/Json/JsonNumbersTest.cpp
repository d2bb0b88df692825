#include "vellora/Platform/Json/JsonNumbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace vellora::json {
namespace {

using Number = std::variant<std::string, std::int64_t, double>;

Number numberIn(simdjson::dom::element element) {
  std::int64_t integer = 0;
  double rounded = 0;
  if (!element.get(integer)) return integer;
  if (!element.get(rounded)) return rounded;
  return "no number";
}

/// What the number `text` is once it is settled, in a tree of the text without it.
Number settled(std::string_view text) {
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  const std::string plain = withoutNumbers(text);
  if (parser.parse(plain).get(root)) return "no JSON";
  settleNumbers(parser.doc, text);
  return numberIn(root);
}

TEST(JsonNumbersTest, BlanksNumbersAndLeavesEverythingElseInItsPlace) {
  EXPECT_EQ(withoutNumbers(R"({"a1":-12.5e+3,"b":[1,23],"c":"4\"56","d":true})"),
            R"({"a1":0       ,"b":[0,0 ],"c":"4\"56","d":true})");
  EXPECT_EQ(withoutNumbers(R"(["",1.5,"\"",2.5])"), R"(["",0  ,"\"",0  ])");
  EXPECT_EQ(withoutNumbers("18446744073709551616"), "0                   ");
  EXPECT_EQ(withoutNumbers(R"(["\\",10])"), R"(["\\",0 ])");
}

TEST(JsonNumbersTest, LeavesWhatOnlyBeginsLikeANumber) {
  for (const std::string_view text :
       {"01", "-", "-x", "1.", "1e", "1e+", "-01", "00", "1.e5", "1-2", "1.2.3", "\"1", "\"1\\", ""}) {
    EXPECT_EQ(withoutNumbers(text), text);
  }
}

TEST(JsonNumbersTest, MakesIntegersOfNumbersThatAreHoweverTheyAreWritten) {
  const std::vector<std::pair<std::string_view, std::int64_t>> integers{
      {"0", 0},
      {"-0.0", 0},
      {"0e99999999999999999999", 0},
      {"16.0", 16},
      {"-1.6e1", -16},
      {"1600e-2", 16},
      {"0.00016E+5", 16},
      {"9007199254740993.0", 9007199254740993},
      {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
      {"9223372036854775807.0", std::numeric_limits<std::int64_t>::max()},
      {"922337203685477580.7e1", std::numeric_limits<std::int64_t>::max()},
      {"-9223372036854775808.000", std::numeric_limits<std::int64_t>::min()},
      {"1e18", 1'000'000'000'000'000'000},
  };
  for (const auto& [text, value] : integers) EXPECT_EQ(settled(text), Number(value)) << text;
  EXPECT_EQ(settled("1" + std::string(400, '0') + "e-400"), Number(std::int64_t{1}));
  EXPECT_EQ(settled("0." + std::string(400, '0') + "1e401"), Number(std::int64_t{1}));
}

TEST(JsonNumbersTest, MakesTheNearestDoubleOfAnyOtherNumber) {
  const std::vector<std::pair<std::string_view, double>> doubles{
      {"4503599627370497.5", 4503599627370498.0},
      {"16.00000000000000000001", 16.0},
      {"-0.5", -0.5},
      {"9223372036854775808", 9223372036854775808.0},
      {"-9223372036854775809", -9223372036854775808.0},
      {"9223372036854775807.5", 9223372036854775808.0},
      {"18446744073709551616", 18446744073709551616.0},
      {"1e19", 1e19},
      {"123456789012345678901234567890", 123456789012345678901234567890.0},
      {"1.7976931348623157e308", std::numeric_limits<double>::max()},
      {"5e-324", std::numeric_limits<double>::denorm_min()},
      {"1e-400", 0.0},
      {"1e-99999999999999999999", 0.0},
  };
  for (const auto& [text, value] : doubles) EXPECT_EQ(settled(text), Number(value)) << text;
}

TEST(JsonNumbersTest, MakesInfinityOfANumberBeyondTheRangeOfADouble) {
  constexpr double infinite = std::numeric_limits<double>::infinity();
  for (const std::string_view text : {"1e400", "1.8e308", "1e99999999999999999999", "0.1e310"}) {
    EXPECT_EQ(settled(text), Number(infinite)) << text;
    EXPECT_EQ(settled("-" + std::string(text)), Number(-infinite)) << text;
  }
  EXPECT_EQ(settled(std::string(400, '9')), Number(infinite));
}

TEST(JsonNumbersTest, PutsEachNumberInItsOwnPlaceOfATree) {
  constexpr std::string_view text =
      R"({"1":1.0,"s":"2.0","a":[true,null,3.50,{"n":4e0}],"u":18446744073709551615,"e":[],"l":5})";
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  ASSERT_FALSE(parser.parse(std::string(text)).get(root));
  const auto at = [&](std::string_view path) {
    simdjson::dom::element element;
    return root.at_pointer(path).get(element) ? Number("nothing") : numberIn(element);
  };
  ASSERT_EQ(at("/1"), Number(1.0));
  settleNumbers(parser.doc, text);
  EXPECT_EQ(at("/1"), Number(std::int64_t{1}));
  EXPECT_EQ(at("/s"), Number("no number"));
  EXPECT_EQ(at("/a/2"), Number(3.5));
  EXPECT_EQ(at("/a/3/n"), Number(std::int64_t{4}));
  EXPECT_EQ(at("/u"), Number(18446744073709551615.0));
  EXPECT_EQ(at("/l"), Number(std::int64_t{5}));
}

}  // namespace
}  // namespace vellora::json

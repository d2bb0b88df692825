#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Json/JsonCodec.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora {
namespace {

struct Entry {
  std::string name;
  std::optional<std::string> keyPrefix;
  std::string labelPlural;
  bool createable = false;

  static constexpr std::string_view recordName = "Entry";
  static constexpr auto fields() {
    return std::tuple(json::field("name", &Entry::name), json::field("keyPrefix", &Entry::keyPrefix),
                      json::field("labelPlural", &Entry::labelPlural),
                      json::field("createable", &Entry::createable));
  }
  friend bool operator==(const Entry&, const Entry&) = default;
};

struct Response {
  std::vector<Entry> entries;

  static constexpr std::string_view recordName = "Response";
  static constexpr auto fields() {
    return std::tuple(json::field("sobjects", &Response::entries, "entries"));
  }
};

struct Everything {
  std::int64_t integer = 0;
  double number = 0;
  Date date;
  std::map<std::string, std::int64_t> map;
  std::shared_ptr<Entry> shared;
  std::optional<Entry> nested;
  std::optional<std::vector<std::string>> list;

  static constexpr std::string_view recordName = "Everything";
  static constexpr auto fields() {
    return std::tuple(json::field("integer", &Everything::integer),
                      json::field("number", &Everything::number), json::field("date", &Everything::date),
                      json::field("map", &Everything::map), json::field("shared", &Everything::shared),
                      json::field("nested", &Everything::nested), json::field("list", &Everything::list));
  }
};

struct Node {
  std::string value;
  std::optional<std::vector<Node>> parts;

  static constexpr std::string_view recordName = "Node";
  static constexpr auto fields() {
    return std::tuple(json::field("value", &Node::value), json::field("parts", &Node::parts));
  }
};

template <class T>
Result<T> read(std::string_view text) {
  return json::decode<T>(Data(std::string(text)));
}

template <class T>
DecodingError failureOf(std::string_view text) {
  const auto result = read<T>(text);
  if (result) return DecodingError::invalidJson("nothing: the text was accepted");
  const auto* error = result.error().template as<DecodingError>();
  return error ? *error
               : DecodingError::invalidJson("another error: " + result.error().localizedDescription());
}

template <class T>
std::string failureTextOf(std::string_view text) {
  return failureOf<T>(text).localizedDescription();
}

constexpr std::string_view account =
    R"({"name":"Account","keyPrefix":"001","labelPlural":"Accounts","createable":true})";

std::string nestedArrays(std::size_t depth, std::string_view innermost = "") {
  return std::string(depth, '[').append(innermost) + std::string(depth, ']');
}

std::string nestedObjects(std::size_t depth, std::string_view innermost) {
  std::string text;
  for (std::size_t level = 0; level + 1 < depth; ++level) text += R"({"a":)";
  return text.append("{").append(innermost) + std::string(depth, '}');
}

// Top-level values

TEST(JsonReadingTest, AcceptsBareValuesAtTheTopLevel) {
  EXPECT_EQ(read<std::string>(R"("abc")").value(), "abc");
  EXPECT_EQ(read<std::int64_t>("1").value(), 1);
  EXPECT_EQ(read<bool>(" true ").value(), true);
  EXPECT_EQ(read<double>("-2.5").value(), -2.5);
  EXPECT_EQ(read<std::optional<std::string>>("null").value(), std::nullopt);
  EXPECT_EQ(read<std::optional<std::string>>(R"("abc")").value(), "abc");
}

TEST(JsonReadingTest, NamesTheTopLevelInItsPath) {
  EXPECT_EQ(failureTextOf<std::string>("1"), "expected a string at $");
  EXPECT_EQ(failureTextOf<std::string>("null"), "expected a string at $");
  EXPECT_EQ(failureTextOf<Entry>("[]"), "expected an object at $");
  EXPECT_EQ(failureTextOf<std::vector<Entry>>("{}"), "expected an array at $");
  EXPECT_EQ((failureTextOf<std::map<std::string, bool>>("[]")), "expected an object at $");
}

// Records

TEST(JsonReadingTest, ReadsARecordByItsKeysInAnyOrder) {
  const auto entry =
      read<Entry>(R"({"createable":false,"labelPlural":"Accounts","name":"Account","keyPrefix":"001"})")
          .value();
  EXPECT_EQ(entry, (Entry{"Account", "001", "Accounts", false}));
}

TEST(JsonReadingTest, IgnoresUnknownKeys) {
  const auto entry =
      read<Entry>(R"({"a":{"name":1},"name":"A","b":[null],"labelPlural":"As","createable":true,"c":1})")
          .value();
  EXPECT_EQ(entry, (Entry{"A", std::nullopt, "As", true}));
}

TEST(JsonReadingTest, TakesAMissingOrNullOptionalAsAbsent) {
  EXPECT_EQ(read<Entry>(R"({"name":"A","labelPlural":"As","createable":true})").value().keyPrefix,
            std::nullopt);
  EXPECT_EQ(
      read<Entry>(R"({"name":"A","keyPrefix":null,"labelPlural":"As","createable":true})").value().keyPrefix,
      std::nullopt);
}

TEST(JsonReadingTest, FailsOnAnOptionalOfTheWrongType) {
  EXPECT_EQ(failureTextOf<Entry>(R"({"name":"A","keyPrefix":1,"labelPlural":"As","createable":true})"),
            "expected a string at $.keyPrefix");
}

TEST(JsonReadingTest, FailsOnNullForARequiredField) {
  const auto error = failureOf<Entry>(R"({"name":null,"labelPlural":"As","createable":true})");
  EXPECT_EQ(error.kind(), DecodingError::Kind::typeMismatch);
  EXPECT_EQ(error.localizedDescription(), "expected a string at $.name");
}

TEST(JsonReadingTest, NamesAMissingKeyAndItsObject) {
  const auto error = failureOf<Response>(
      R"({"sobjects":[{"name":"A","labelPlural":"As","createable":true},{"name":"B","createable":true}]})");
  EXPECT_EQ(error.kind(), DecodingError::Kind::missingKey);
  EXPECT_EQ(error.localizedDescription(), R"(missing key "labelPlural" at $.sobjects[1])");
}

TEST(JsonReadingTest, NamesTheExpectedTypeAndTheMember) {
  EXPECT_EQ(failureTextOf<Response>(R"({"sobjects":[{"name":"A","labelPlural":"As","createable":true},)"
                                    R"({"name":"B","labelPlural":"Bs","createable":"true"}]})"),
            "expected a boolean at $.sobjects[1].createable");
}

TEST(JsonReadingTest, StopsAtTheFirstFailureInFieldOrder) {
  EXPECT_EQ(failureTextOf<Entry>(R"({"createable":1,"labelPlural":2,"name":3})"),
            "expected a string at $.name");
  EXPECT_EQ(failureTextOf<Entry>("{}"), R"(missing key "name" at $)");
}

TEST(JsonReadingTest, TakesKeysLetterForLetter) {
  EXPECT_EQ(failureTextOf<Response>(R"({"sObjects":[]})"), R"(missing key "sobjects" at $)");
}

TEST(JsonReadingTest, TakesAnEscapedKeyAsTheKeyItSpells) {
  EXPECT_TRUE(read<Response>(R"({"sob\u006aects":[]})").hasValue());
}

TEST(JsonReadingTest, TellsAnEmptyListFromAnAbsentOne) {
  constexpr std::string_view rest = R"("integer":1,"number":2,"date":3,"map":{},"shared":)";
  const auto with =
      read<Everything>("{\"list\":[]," + std::string(rest) + std::string(account) + "}").value();
  const auto without = read<Everything>("{" + std::string(rest) + std::string(account) + "}").value();
  EXPECT_EQ(with.list, std::vector<std::string>{});
  EXPECT_EQ(without.list, std::nullopt);
}

TEST(JsonReadingTest, ReadsEveryTypeOfMember) {
  const auto all =
      read<Everything>(R"({"integer":-7,"number":0.5,"date":-978307200,"map":{"b":2,"a":1},"shared":)" +
                       std::string(account) + R"(,"nested":)" + std::string(account) +
                       R"(,"list":["x","y"]})")
          .value();
  EXPECT_EQ(all.integer, -7);
  EXPECT_EQ(all.number, 0.5);
  EXPECT_EQ(all.date, Date::since1970(0));
  EXPECT_EQ(all.map, (std::map<std::string, std::int64_t>{{"a", 1}, {"b", 2}}));
  EXPECT_EQ(*all.shared, (Entry{"Account", "001", "Accounts", true}));
  EXPECT_EQ(all.nested, (Entry{"Account", "001", "Accounts", true}));
  EXPECT_EQ(all.list, (std::vector<std::string>{"x", "y"}));
}

TEST(JsonReadingTest, ReadsARecordThatContainsItself) {
  const auto node =
      read<Node>(R"({"value":"a","parts":[{"value":"b","parts":[{"value":"c"}]},{"value":"d"}]})").value();
  ASSERT_EQ(node.parts->size(), 2U);
  EXPECT_EQ(node.parts->at(0).parts->at(0).value, "c");
  EXPECT_EQ(node.parts->at(1).parts.has_value(), false);
  EXPECT_EQ(failureTextOf<Node>(R"({"value":"a","parts":[{"value":"b","parts":[{"value":0}]}]})"),
            "expected a string at $.parts[0].parts[0].value");
}

// Numbers and booleans

TEST(JsonReadingTest, TakesANumberOfIntegralValueAsAnInteger) {
  EXPECT_EQ(read<std::int64_t>("16.0").value(), 16);
  EXPECT_EQ(read<std::int64_t>("1.6e1").value(), 16);
  EXPECT_EQ(read<std::int64_t>("1e2").value(), 100);
  EXPECT_EQ(read<std::int64_t>("-0").value(), 0);
  EXPECT_EQ(read<std::int64_t>("-0.0").value(), 0);
  EXPECT_EQ(read<std::int64_t>("9223372036854775807").value(), INT64_MAX);
  EXPECT_EQ(read<std::int64_t>("-9223372036854775808").value(), INT64_MIN);
  EXPECT_EQ(read<std::int64_t>("-9223372036854775808.0").value(), INT64_MIN);
}

TEST(JsonReadingTest, RefusesWhatIsNoIntegerOf64Bits) {
  for (const std::string_view text : {"16.5", "9223372036854775808", "9223372036854775808.0", "1e300",
                                      "-1e19", "\"1\"", "true", "null", "[]", "{}", "1e-1"}) {
    EXPECT_EQ(failureTextOf<std::int64_t>(text), "expected an integer at $") << text;
  }
}

TEST(JsonReadingTest, TakesAnIntegerExactlyOrNotAtAll) {
  EXPECT_EQ(read<std::int64_t>("9223372036854775807.0").value(), INT64_MAX);
  EXPECT_EQ(read<std::int64_t>("9007199254740993.0").value(), 9007199254740993);
  EXPECT_EQ(read<std::int64_t>("0e400").value(), 0);
  for (const std::string_view text :
       {"4503599627370497.5", "16.00000000000000000001", "1e-400", "9223372036854775807.5",
        "-9223372036854775808.5", "18446744073709551616", "-9223372036854775809", "1e400", "-1e400"}) {
    EXPECT_EQ(failureTextOf<std::int64_t>(text), "expected an integer at $") << text;
  }
}

TEST(JsonReadingTest, TellsIntegersFromFractionsInAListOfBoth) {
  EXPECT_EQ(read<std::vector<std::int64_t>>("[1,2.0,3e0,9007199254740993.0,-0.0]").value(),
            (std::vector<std::int64_t>{1, 2, 3, 9007199254740993, 0}));
  EXPECT_EQ(failureTextOf<std::vector<std::int64_t>>("[1,2.0,16.00000000000000000001]"),
            "expected an integer at $[2]");
}

// Numbers of any size

constexpr std::string_view beyondAnyRange[] = {
    "18446744073709551616",           "-9223372036854775809",  "1e400", "-1e400",
    "123456789012345678901234567890", "1e99999999999999999999"};

TEST(JsonReadingTest, IgnoresNumbersOfAnySizeInMembersThatNobodyReads) {
  for (const auto number : beyondAnyRange) {
    const std::string text(number);
    for (const std::string& ignored : {text, "[" + text + "]", R"({"y":[[1,)" + text + R"(],"1e400"]})"}) {
      const auto response = read<Response>(R"({"x":)" + ignored + R"(,"sobjects":[{"name":"A","y":)" +
                                           ignored + R"(,"labelPlural":"As","createable":true}]})");
      ASSERT_TRUE(response.hasValue()) << ignored;
      EXPECT_EQ(response.value().entries, (std::vector<Entry>{{"A", std::nullopt, "As", true}})) << ignored;
    }
  }
  EXPECT_TRUE(read<Response>("\xEF\xBB\xBF{\"sobjects\":[],\"x\":1e400}").hasValue());
}

TEST(JsonReadingTest, FailsOnANumberOfAnySizeWhereAFieldIsRead) {
  for (const auto number : beyondAnyRange) {
    const std::string text(number);
    const auto error = failureOf<Response>(R"({"sobjects":[{"name":)" + text + "}]}");
    EXPECT_EQ(error.kind(), DecodingError::Kind::typeMismatch);
    EXPECT_EQ(error.localizedDescription(), "expected a string at $.sobjects[0].name");
    EXPECT_EQ(failureTextOf<Entry>(R"({"name":"A","keyPrefix":)" + text + "}"),
              "expected a string at $.keyPrefix");
    EXPECT_EQ(failureTextOf<Entry>(R"({"name":"A","labelPlural":"As","createable":)" + text + "}"),
              "expected a boolean at $.createable");
    EXPECT_EQ(failureTextOf<Everything>(R"({"integer":)" + text + "}"), "expected an integer at $.integer");
    EXPECT_EQ(failureTextOf<Response>(R"({"sobjects":)" + text + "}"), "expected an array at $.sobjects");
    EXPECT_EQ(failureTextOf<Entry>(text), "expected an object at $");
    EXPECT_EQ((failureTextOf<std::map<std::string, bool>>(R"({"a":)" + text + "}")),
              "expected a boolean at $.a");
  }
}

TEST(JsonReadingTest, ReadsADoubleOfAnyDigitsWithinItsRange) {
  EXPECT_EQ(read<double>("18446744073709551616").value(), 18446744073709551616.0);
  EXPECT_EQ(read<double>("-123456789012345678901234567890").value(), -123456789012345678901234567890.0);
  for (const std::string_view text : {"1e400", "-1e400", "1e99999999999999999999"}) {
    EXPECT_EQ(failureTextOf<double>(text), "expected a number within the range of a double at $");
    EXPECT_EQ(failureTextOf<Date>(text), "expected a number within the range of a double at $");
  }
}

TEST(JsonReadingTest, ReadsTheOtherNumbersOfADocumentWithOneOfAnySize) {
  const auto all =
      read<Everything>(R"({"x":1e400,"integer":-7.0,"number":0.1,"date":-0.25,"map":{"b":2,"a":1e0},)"
                       R"("shared":)" +
                       std::string(account) + "}")
          .value();
  EXPECT_EQ(all.integer, -7);
  EXPECT_EQ(all.number, 0.1);
  EXPECT_EQ(all.date, Date::sinceReferenceDate(-0.25));
  EXPECT_EQ(all.map, (std::map<std::string, std::int64_t>{{"a", 1}, {"b", 2}}));
}

TEST(JsonReadingTest, AcceptsANumberOfAnySizeInADocumentAsDeepAsItMayBe) {
  EXPECT_TRUE(read<Response>(R"({"sobjects":[],"x":)" + nestedArrays(511, "1e400") + "}").hasValue());
  EXPECT_TRUE(read<Response>(R"({"sobjects":[],"x":1e400,"y":)" + nestedArrays(511) + "}").hasValue());
  EXPECT_EQ(failureTextOf<Response>(R"({"sobjects":[],"x":)" + nestedArrays(512, "1e400") + "}"),
            "not valid JSON at byte 530: nested deeper than 512");
}

TEST(JsonReadingTest, TakesOnlyTrueAndFalseAsBooleans) {
  for (const std::string_view text : {"0", "1", "\"true\"", "\"\"", "null", "[]", "{}", "1.0"}) {
    EXPECT_EQ(failureTextOf<bool>(text), "expected a boolean at $") << text;
  }
}

TEST(JsonReadingTest, TakesAnyNumberAsADouble) {
  EXPECT_EQ(read<double>("18446744073709551615").value(), 18446744073709551615.0);
  EXPECT_EQ(read<double>("-3").value(), -3.0);
  EXPECT_EQ(read<double>("1.7976931348623157e308").value(), 1.7976931348623157e308);
  EXPECT_EQ(read<double>("1e-400").value(), 0.0);
  EXPECT_EQ(failureTextOf<double>("\"1\""), "expected a number at $");
  EXPECT_EQ(failureTextOf<Date>("\"2026-11-20\""), "expected a number at $");
}

TEST(JsonReadingTest, ReadsADateAsSecondsSince2001) {
  EXPECT_EQ(read<Date>("0").value().secondsSince1970(), 978307200.0);
  EXPECT_EQ(read<Date>("0.25").value().secondsSinceReferenceDate(), 0.25);
  EXPECT_EQ(read<Date>("-978307200").value().secondsSince1970(), 0.0);
}

// Text

TEST(JsonReadingTest, KeepsEveryCharacterOfAText) {
  EXPECT_EQ(read<std::string>(R"("a\"\\\/\b\f\n\r\té\u00e9\ud83d\ude00")").value(),
            "a\"\\/\b\f\n\r\té\u00e9😀");
  EXPECT_EQ(read<std::string>(R"("a\u0000b")").value(), std::string("a\0b", 3));
  EXPECT_EQ(read<std::string>(R"("\/services\/data")").value(), "/services/data");
}

TEST(JsonReadingTest, SkipsAUtf8ByteOrderMark) {
  EXPECT_EQ(read<std::int64_t>("\xEF\xBB\xBF 1").value(), 1);
  EXPECT_EQ(failureTextOf<std::int64_t>("\xEF\xBB\xBF[1,]"), "not valid JSON at byte 6: syntax error");
}

// Depth

TEST(JsonReadingTest, AcceptsNestingUpTo512) {
  EXPECT_EQ(failureTextOf<std::string>(nestedArrays(511)), "expected a string at $");
  EXPECT_EQ(failureTextOf<std::string>(nestedArrays(512)), "expected a string at $");
  EXPECT_EQ(failureTextOf<std::string>(nestedArrays(512, "1")), "expected a string at $");
  EXPECT_EQ(failureTextOf<std::string>(nestedObjects(512, "")), "expected a string at $");
  EXPECT_EQ(failureTextOf<std::string>(nestedObjects(512, R"("a":1)")), "expected a string at $");
  EXPECT_TRUE(read<Response>(R"({"sobjects":[],"x":)" + nestedArrays(511, "1") + "}").hasValue());
}

TEST(JsonReadingTest, RefusesNestingOf513) {
  EXPECT_EQ(failureTextOf<std::string>(nestedArrays(513)),
            "not valid JSON at byte 512: nested deeper than 512");
  EXPECT_EQ(failureTextOf<std::string>(nestedArrays(513, "1")),
            "not valid JSON at byte 512: nested deeper than 512");
  EXPECT_EQ(failureOf<std::string>(nestedObjects(513, "")).kind(), DecodingError::Kind::invalidJson);
  EXPECT_EQ(failureTextOf<Response>(R"({"sobjects":[],"x":)" + nestedArrays(512) + "}"),
            "not valid JSON at byte 530: nested deeper than 512");
}

TEST(JsonReadingTest, RefusesNestingOf513AlsoAfterADocumentOf512) {
  EXPECT_EQ(failureTextOf<std::string>(nestedArrays(512, "1")), "expected a string at $");
  EXPECT_EQ(failureTextOf<std::string>(nestedArrays(513)),
            "not valid JSON at byte 512: nested deeper than 512");
}

TEST(JsonReadingTest, ReadsARecordAsDeepAsADocumentMayBe) {
  std::string text;
  for (int depth = 0; depth < 256; ++depth) text += R"({"value":"a","parts":[)";
  for (int depth = 0; depth < 256; ++depth) text += "]}";
  EXPECT_TRUE(read<Node>(text).hasValue());
}

// Strictness

struct Broken {
  std::string_view text;
  std::string_view description;

  friend void PrintTo(const Broken& broken, std::ostream* out) { *out << broken.text; }
};

class JsonStrictnessTest : public testing::TestWithParam<Broken> {};

TEST_P(JsonStrictnessTest, RefusesTheDocument) {
  const auto error = failureOf<Response>(GetParam().text);
  EXPECT_EQ(error.kind(), DecodingError::Kind::invalidJson);
  EXPECT_EQ(error.localizedDescription(), GetParam().description);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, JsonStrictnessTest,
    testing::Values(Broken{"", "not valid JSON at byte 0: the text ends too early"},
                    Broken{"  ", "not valid JSON at byte 2: the text ends too early"},
                    Broken{R"({"sobjects":[])", "not valid JSON at byte 14: the text ends too early"},
                    Broken{R"({"sobjects":[],})", "not valid JSON at byte 15: syntax error"},
                    Broken{R"({"sobjects":[]} x)", "not valid JSON at byte 16: more text after the value"},
                    Broken{R"({"sobjects":[]}{})", "not valid JSON at byte 15: more text after the value"},
                    Broken{"<html>", "not valid JSON at byte 0: syntax error"},
                    Broken{R"({'sobjects':[]})", "not valid JSON at byte 1: syntax error"},
                    Broken{R"({"sobjects":[],"x":NaN})", "not valid JSON at byte 19: syntax error"},
                    Broken{R"({"sobjects":[],"x":01})", "not valid JSON at byte 20: syntax error"}));

INSTANTIATE_TEST_SUITE_P(
    IgnoredMembers, JsonStrictnessTest,
    testing::Values(
        Broken{R"({"sobjects":[],"x":[1,]})", "not valid JSON at byte 22: syntax error"},
        Broken{R"({"sobjects":[],"x":"\q"})", "not valid JSON at byte 21: syntax error"},
        Broken{R"({"sobjects":[],"x":"\ud800"})", "not valid JSON at byte 26: syntax error"},
        Broken{R"({"sobjects":[],"x":"\ude00"})", "not valid JSON at byte 26: illegal trailing surrogate"},
        Broken{"{\"sobjects\":[],\"x\":\"a\nb\"}", "not valid JSON at byte 21: syntax error"},
        Broken{"{\"sobjects\":[],\"x\":\"\xFF\"}", "not valid JSON at byte 20: syntax error"},
        Broken{"{\"sobjects\":[],\"x\":\"\xED\xA0\x80\"}", "not valid JSON at byte 20: syntax error"},
        Broken{"{\"sobjects\":[],\"x\":\"\xC0\xAF\"}", "not valid JSON at byte 20: syntax error"},
        Broken{R"({"sobjects":[],"x":1e400,})", "not valid JSON at byte 25: syntax error"},
        Broken{R"({"sobjects":[],"x":1e99999999999999999999,"y":.5})",
               "not valid JSON at byte 46: syntax error"},
        Broken{R"({"sobjects":[],"x":18446744073709551616x})", "not valid JSON at byte 39: syntax error"},
        Broken{R"({"sobjects":[],"x":018446744073709551616})", "not valid JSON at byte 20: syntax error"},
        Broken{"\xEF\xBB\xBF{\"sobjects\":[],\"x\":[1e400,\"\xFF\"]}",
               "not valid JSON at byte 30: syntax error"}));

TEST(JsonReadingTest, RefusesADocumentThatIsCutAtAnyByte) {
  const std::string whole =
      R"({"sobjects":[{"name":"Açc\u00e9\n","keyPrefix":null,"labelPlural":"😀","createable":true,)"
      R"("x":[1.5e3,-2,{"y":false}]}],"z":""})";
  ASSERT_TRUE(read<Response>(whole).hasValue());
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const auto error = failureOf<Response>(whole.substr(0, length));
    EXPECT_EQ(error.kind(), DecodingError::Kind::invalidJson) << length;
    EXPECT_EQ(error.localizedDescription().find("not valid JSON at byte "), 0U)
        << error.localizedDescription();
  }
}

}  // namespace
}  // namespace vellora

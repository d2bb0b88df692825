#include "vellora/Platform/Json/Description.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/PrintRecords.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {
namespace {

using vellora::PrintTo;

struct SObject {
  std::string name;
  std::optional<std::string> keyPrefix;
  bool createable = false;

  static constexpr std::string_view recordName = "SObject";
  static constexpr auto fields() {
    return std::tuple(json::field("name", &SObject::name), json::field("keyPrefix", &SObject::keyPrefix),
                      json::field("createable", &SObject::createable));
  }
};

struct Response {
  std::vector<SObject> sObjects;
  std::shared_ptr<SObject> shared;
  std::optional<SObject> first;

  static constexpr std::string_view recordName = "Response";
  static constexpr auto fields() {
    return std::tuple(json::field("sobjects", &Response::sObjects, "sObjects"),
                      json::field("shared", &Response::shared), json::field("first", &Response::first));
  }
};

struct Empty {
  static constexpr std::string_view recordName = "Empty";
  static constexpr auto fields() { return std::tuple(); }
};

struct CustomError {
  [[nodiscard]] static std::string localizedDescription() { return "One sentence."; }
  [[nodiscard]] static std::string description() { return "noData"; }
};

TEST(DescriptionTest, TellsAPresentOptionalFromAnAbsentOne) {
  EXPECT_EQ(describe(std::optional<std::string>("abc")), R"(Optional("abc"))");
  EXPECT_EQ(describe(std::optional<std::string>("Account")), R"(Optional("Account"))");
  EXPECT_EQ(describe(std::optional<std::string>()), "nil");
  EXPECT_EQ(describe(std::optional<std::int64_t>(16)), "Optional(16)");
}

TEST(DescriptionTest, ShowsATextByItselfAsItIs) {
  EXPECT_EQ(describe("abc"), "abc");
  EXPECT_EQ(describe(std::string("a\"b")), "a\"b");
}

TEST(DescriptionTest, ShowsNumbersAndBooleans) {
  EXPECT_EQ(describe(true), "true");
  EXPECT_EQ(describe(false), "false");
  EXPECT_EQ(describe(std::int64_t{-7}), "-7");
  EXPECT_EQ(describe(16), "16");
  EXPECT_EQ(describe(0.1), "0.1");
  EXPECT_EQ(describe(16.0), "16.0");
  EXPECT_EQ(describe(1e300), "1e+300");
  EXPECT_EQ(describe(std::numeric_limits<double>::infinity()), "inf");
}

TEST(DescriptionTest, ShowsADateInUniversalTime) {
  EXPECT_EQ(describe(Date()), "2001-01-01 00:00:00 +0000");
  EXPECT_EQ(describe(Date::since1970(-0.5)), "1969-12-31 23:59:59 +0000");
  EXPECT_EQ(describe(Date::since1970(1795132799.9)), "2026-11-19 23:59:59 +0000");
  EXPECT_EQ(describe(Date::sinceReferenceDate(1e300)), "1e+300 seconds since 1970");
  EXPECT_EQ(describe(Date::sinceReferenceDate(-1e300)), "-1e+300 seconds since 1970");
}

TEST(DescriptionTest, ShowsADateOutsideTheYearsOfFourDigitsAsSeconds) {
  EXPECT_EQ(describe(Date::since1970(-62135596800.0)), "0001-01-01 00:00:00 +0000");
  EXPECT_EQ(describe(Date::since1970(-62135596801.0)), "-62135596801 seconds since 1970");
  EXPECT_EQ(describe(Date::since1970(253402300799.0)), "9999-12-31 23:59:59 +0000");
  EXPECT_EQ(describe(Date::since1970(253402300800.0)), "253402300800 seconds since 1970");
}

TEST(DescriptionTest, ShowsMaps) {
  using Meta = std::map<std::string, std::string>;
  EXPECT_EQ(describe(Meta{{"k", "v"}}), R"(["k": "v"])");
  EXPECT_EQ(describe(Meta{{"k", "v"}, {"a", "b"}}), R"(["a": "b", "k": "v"])");
  EXPECT_EQ(describe(Meta{}), "[:]");
}

TEST(DescriptionTest, ShowsLists) {
  EXPECT_EQ(describe(std::vector<std::string>{"a", "b"}), R"(["a", "b"])");
  EXPECT_EQ(describe(std::vector<std::string>{}), "[]");
  EXPECT_EQ(describe(std::vector<std::vector<std::int64_t>>{{1}, {}}), "[[1], []]");
}

TEST(DescriptionTest, ShowsARecordByItsFields) {
  EXPECT_EQ(describe(SObject{"Account", "001", true}),
            R"(SObject(name: "Account", keyPrefix: Optional("001"), createable: true))");
  EXPECT_EQ(describe(Empty{}), "Empty()");
}

TEST(DescriptionTest, ShowsRecordsWithinRecordsByFieldNames) {
  const SObject account{"Account", std::nullopt, true};
  const Response response{{account}, std::make_shared<SObject>(account), account};
  EXPECT_EQ(describe(response),
            R"(Response(sObjects: [SObject(name: "Account", keyPrefix: nil, createable: true)], )"
            R"(shared: SObject(name: "Account", keyPrefix: nil, createable: true), )"
            R"(first: Optional(SObject(name: "Account", keyPrefix: nil, createable: true))))");
  EXPECT_EQ(describe(Response{}), "Response(sObjects: [], shared: nil, first: nil)");
}

TEST(DescriptionTest, ShowsATypeThatDescribesItself) {
  EXPECT_EQ(describe(CustomError{}), "noData");
  EXPECT_EQ(describe(std::optional<Error>(CustomError{})), "Optional(noData)");
}

TEST(DescriptionTest, IsAppendedToALine) {
  std::string line = "typeSObject: ";
  describeTo(line, std::optional(SObject{"Account", std::nullopt, true}));
  line += ", instanceSObject: ";
  describeTo(line, std::optional<SObject>());
  EXPECT_EQ(line,
            "typeSObject: Optional(SObject(name: \"Account\", keyPrefix: nil, createable: true)), "
            "instanceSObject: nil");
}

TEST(DescriptionTest, StaysOnOneLine) {
  EXPECT_EQ(describe(std::optional<std::string>("a\r\nb\t\"c\"\\")), R"(Optional("a\r\nb\t\"c\"\\"))");
  EXPECT_EQ(describe(std::vector<std::string>{std::string("\0\x1B[31m", 6)}), R"(["\u0000\u001b[31m"])");
  EXPECT_EQ(describe(std::map<std::string, std::string>{{"\n", "\n"}}), R"(["\n": "\n"])");
}

TEST(DescriptionTest, PrintsRecordsInFailedExpectations) {
  EXPECT_EQ(testing::PrintToString(SObject{"A", std::nullopt, false}),
            R"(SObject(name: "A", keyPrefix: nil, createable: false))");
}

}  // namespace
}  // namespace vellora

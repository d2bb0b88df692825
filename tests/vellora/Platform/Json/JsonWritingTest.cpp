#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "vellora/Platform/Json/EncodingError.h"
#include "vellora/Platform/Json/JsonCodec.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora {
namespace {

struct Column {
  std::string name;
  std::optional<std::string> format;

  static constexpr std::string_view recordName = "Column";
  static constexpr auto fields() {
    return std::tuple(json::field("name", &Column::name), json::field("format", &Column::format));
  }
  friend bool operator==(const Column&, const Column&) = default;
};

struct Sheet {
  bool isOpen = false;
  std::int64_t size = 0;
  double ratio = 0;
  Date downloadedTime;
  std::vector<Column> columns;
  std::map<std::string, std::string> meta;
  std::optional<Column> first;
  std::optional<std::vector<std::string>> words;
  std::shared_ptr<Column> shared = std::make_shared<Column>();

  static constexpr std::string_view recordName = "Sheet";
  static constexpr auto fields() {
    return std::tuple(json::field("isOpen", &Sheet::isOpen), json::field("size", &Sheet::size),
                      json::field("ratio", &Sheet::ratio),
                      json::field("downloadedTime", &Sheet::downloadedTime),
                      json::field("columns", &Sheet::columns), json::field("meta", &Sheet::meta),
                      json::field("first", &Sheet::first), json::field("words", &Sheet::words),
                      json::field("shared", &Sheet::shared));
  }
  friend bool operator==(const Sheet& left, const Sheet& right) {
    return std::tie(left.isOpen, left.size, left.ratio, left.downloadedTime, left.columns, left.meta,
                    left.first, left.words, *left.shared) ==
           std::tie(right.isOpen, right.size, right.ratio, right.downloadedTime, right.columns, right.meta,
                    right.first, right.words, *right.shared);
  }
};

struct Link {
  std::optional<std::shared_ptr<Link>> next;

  static constexpr std::string_view recordName = "Link";
  static constexpr auto fields() { return std::tuple(json::field("next", &Link::next)); }
};

struct Tree {
  std::vector<Tree> trees;

  static constexpr std::string_view recordName = "Tree";
  static constexpr auto fields() { return std::tuple(json::field("trees", &Tree::trees)); }
};

struct Forest {
  std::map<std::string, Forest> forests;

  static constexpr std::string_view recordName = "Forest";
  static constexpr auto fields() { return std::tuple(json::field("forests", &Forest::forests)); }
};

template <class T>
std::string written(const T& value) {
  const auto result = json::encode(value);
  return result ? std::string(result.value().view()) : result.error().localizedDescription();
}

template <class T>
std::optional<EncodingError::Kind> failureOf(const T& value) {
  const auto result = json::encode(value);
  if (result) return std::nullopt;
  const auto* error = result.error().template as<EncodingError>();
  return error ? std::optional(error->kind()) : std::nullopt;
}

TEST(JsonWritingTest, WritesFieldsInTheirOrderWithoutBlanks) {
  Sheet sheet;
  sheet.isOpen = true;
  sheet.size = -7;
  sheet.ratio = 0.5;
  sheet.downloadedTime = Date::sinceReferenceDate(12.25);
  sheet.columns = {{"Name", "text"}, {"Owner", std::nullopt}};
  sheet.meta = {{"k", "v"}, {"a", "b"}};
  sheet.first = Column{"Name", std::nullopt};
  sheet.words = {"x", "y"};
  sheet.shared = std::make_shared<Column>(Column{"S", "f"});
  EXPECT_EQ(
      written(sheet),
      R"({"isOpen":true,"size":-7,"ratio":0.5,"downloadedTime":12.25,"columns":[{"name":"Name","format":"text"},)"
      R"({"name":"Owner"}],"meta":{"a":"b","k":"v"},"first":{"name":"Name"},"words":["x","y"],)"
      R"("shared":{"name":"S","format":"f"}})");
}

TEST(JsonWritingTest, LeavesAbsentOptionalsOut) {
  EXPECT_EQ(written(Sheet{}),
            R"({"isOpen":false,"size":0,"ratio":0,"downloadedTime":0,"columns":[],"meta":{},)"
            R"("shared":{"name":""}})");
}

TEST(JsonWritingTest, WritesBareValues) {
  EXPECT_EQ(written(std::string("abc")), R"("abc")");
  EXPECT_EQ(written(std::string()), R"("")");
  EXPECT_EQ(written(true), "true");
  EXPECT_EQ(written(std::int64_t{1}), "1");
  EXPECT_EQ(written(std::vector<bool>{}), "[]");
}

TEST(JsonWritingTest, WritesAnAbsentWholeValueAsNull) {
  EXPECT_EQ(written(std::optional<Column>()), "null");
  EXPECT_EQ(written(std::optional<std::string>("abc")), R"("abc")");
  EXPECT_EQ(written(std::vector<std::optional<std::string>>{"a", std::nullopt}), R"(["a",null])");
  EXPECT_EQ((written(std::map<std::string, std::optional<std::string>>{{"a", std::nullopt}})),
            R"({"a":null})");
}

TEST(JsonWritingTest, WritesTheExtremesOfIntegers) {
  EXPECT_EQ(written(std::numeric_limits<std::int64_t>::max()), "9223372036854775807");
  EXPECT_EQ(written(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(JsonWritingTest, WritesDoublesInTheShortestForm) {
  EXPECT_EQ(written(0.1), "0.1");
  EXPECT_EQ(written(0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(written(16.0), "16");
  EXPECT_EQ(written(1e22), "1e+22");
  EXPECT_EQ(written(-1.5e-9), "-1.5e-09");
  EXPECT_EQ(written(1.7976931348623157e308), "1.7976931348623157e+308");
  EXPECT_EQ(written(5e-324), "5e-324");
}

TEST(JsonWritingTest, WritesLargeDoublesWithAnExponent) {
  EXPECT_EQ(written(9223372036854774784.0), "9223372036854774784");
  EXPECT_EQ(written(9223372036854775808.0), "9.223372036854776e+18");
  EXPECT_EQ(written(-399130148921902301184.0), "-3.991301489219023e+20");
}

TEST(JsonWritingTest, ReadsEveryDoubleBackAsItWas) {
  std::mt19937_64 random(20261120);
  for (int round = 0; round < 20000; ++round) {
    const auto bits = random();
    double number = 0;
    static_assert(sizeof number == sizeof bits);
    std::memcpy(&number, &bits, sizeof number);
    if (!std::isfinite(number)) continue;
    const auto text = json::encode(number);
    ASSERT_TRUE(text.hasValue());
    const auto again = json::decode<double>(text.value());
    ASSERT_TRUE(again.hasValue()) << text.value().view() << ": " << again.error().localizedDescription();
    ASSERT_EQ(again.value(), number) << text.value().view();
  }
}

TEST(JsonWritingTest, RefusesNumbersThatAreNotFinite) {
  Sheet sheet;
  sheet.ratio = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(written(sheet), "cannot write a number that is not finite at $.ratio");
  EXPECT_EQ(failureOf(sheet), EncodingError::Kind::numberNotFinite);
  EXPECT_EQ(failureOf(std::numeric_limits<double>::infinity()), EncodingError::Kind::numberNotFinite);
  EXPECT_EQ(failureOf(Date::sinceReferenceDate(-std::numeric_limits<double>::infinity())),
            EncodingError::Kind::numberNotFinite);
}

TEST(JsonWritingTest, WritesADateAsSecondsSince2001) {
  EXPECT_EQ(written(Date::since1970(0)), "-978307200");
  EXPECT_EQ(written(Date::sinceReferenceDate(0.125)), "0.125");
}

TEST(JsonWritingTest, WritesASlashAsItIs) {
  EXPECT_EQ(written(std::string("/a/b")), R"("/a/b")");
}

TEST(JsonWritingTest, EscapesWhatJsonDemands) {
  EXPECT_EQ(written(std::string("\"\\\b\f\n\r\t\x01\x1F\x7F é😀")),
            "\"\\\"\\\\\\b\\f\\n\\r\\t\\u0001\\u001F\x7F é😀\"");
  EXPECT_EQ(written(std::string("a\0b", 3)), R"("a\u0000b")");
  EXPECT_EQ((written(std::map<std::string, std::string>{{"a\"\n", ""}})), R"({"a\"\n":""})");
}

TEST(JsonWritingTest, EscapesWhatJsonDemandsWhereverItStands) {
  for (std::size_t size = 1; size <= 20; ++size) {
    const std::string plain(size, 'x');
    EXPECT_EQ(written(plain), '"' + plain + '"');
    for (std::size_t at = 0; at < size; ++at) {
      for (const auto& [character, escape] : std::map<std::string, std::string>{{"\"", "\\\""},
                                                                                {"\\", "\\\\"},
                                                                                {"\x1F", "\\u001F"},
                                                                                {" ", " "},
                                                                                {"\x7F", "\x7F"},
                                                                                {"é", "é"}}) {
        const auto with = [&](const std::string& middle) {
          return plain.substr(0, at) + middle + plain.substr(at + 1);
        };
        EXPECT_EQ(written(with(character)), '"' + with(escape) + '"') << at << " of " << size;
        EXPECT_EQ(failureOf(with("\xFF")), EncodingError::Kind::textNotUtf8) << at << " of " << size;
      }
    }
  }
}

struct Misnamed {
  bool isOpen = false;

  static constexpr std::string_view recordName = "Misnamed";
  static constexpr auto fields() { return std::tuple(json::field("\xFF", &Misnamed::isOpen)); }
};

TEST(JsonWritingTest, RefusesARecordWhoseKeyIsNotUtf8) {
  EXPECT_EQ(failureOf(Misnamed()), EncodingError::Kind::keyNotUtf8);
}

TEST(JsonWritingTest, RefusesTextThatIsNotUtf8) {
  for (const char* text : {"\xFF", "\xC0\xAF", "\xED\xA0\x80", "\xE2\x82", "a\x80", "\xF4\x90\x80\x80"}) {
    EXPECT_EQ(failureOf(std::string(text)), EncodingError::Kind::textNotUtf8);
  }
}

TEST(JsonWritingTest, NamesWhereAValueCannotBeWritten) {
  Sheet sheet;
  sheet.columns = {{"Name", "text"}, {"Owner", "\xFF"}};
  EXPECT_EQ(written(sheet), "cannot write text that is not UTF-8 at $.columns[1].format");
  sheet.columns.clear();
  sheet.meta = {{"a b", "\xFF"}};
  EXPECT_EQ(written(sheet), R"(cannot write text that is not UTF-8 at $.meta["a b"])");
  sheet.meta = {{"\xFF", "v"}};
  EXPECT_EQ(written(sheet), "cannot write a key that is not UTF-8 at $.meta");
  sheet.meta.clear();
  sheet.shared = nullptr;
  EXPECT_EQ(written(sheet), "cannot write a null pointer at $.shared");
}

TEST(JsonWritingTest, RefusesAnObjectThatHoldsItself) {
  const auto link = std::make_shared<Link>();
  link->next = link;
  EXPECT_EQ(failureOf(*link), EncodingError::Kind::tooDeep);
  link->next.reset();
}

TEST(JsonWritingTest, WritesAsDeepAsItReads) {
  auto link = std::make_shared<Link>();
  for (int depth = 1; depth < 512; ++depth) link = std::make_shared<Link>(Link{link});
  const auto text = json::encode(*link);
  ASSERT_TRUE(text.hasValue());
  EXPECT_TRUE(json::decode<Link>(text.value()).hasValue());
  EXPECT_EQ(failureOf(Link{link}), EncodingError::Kind::tooDeep);
}

TEST(JsonWritingTest, CountsListsAndMapsAsLevels) {
  std::vector<Tree> list(1);
  std::map<std::string, Forest> map{{"k", {}}};
  for (int depth = 2; depth < 512; depth += 2) {
    list = {Tree{std::move(list)}};
    map = {{"k", Forest{std::move(map)}}};
  }
  EXPECT_EQ(failureOf(list.front()), std::nullopt);
  EXPECT_EQ(failureOf(list), EncodingError::Kind::tooDeep);
  EXPECT_EQ(failureOf(map.at("k")), std::nullopt);
  EXPECT_EQ(failureOf(map), EncodingError::Kind::tooDeep);
}

TEST(JsonWritingTest, CountsNoLevelForWhatStandsSideBySide) {
  const Tree flat{std::vector<Tree>(1000)};
  EXPECT_EQ(failureOf(flat), std::nullopt);
}

// Round trips

class RandomSheets {
 public:
  Sheet sheet() {
    Sheet sheet;
    sheet.isOpen = flip();
    sheet.size = static_cast<std::int64_t>(random_());
    sheet.ratio = number();
    sheet.downloadedTime = Date::sinceReferenceDate(number());
    for (auto left = upTo(4); left > 0; --left) sheet.columns.push_back(column());
    for (auto left = upTo(4); left > 0; --left) sheet.meta[text()] = text();
    if (flip()) sheet.first = column();
    if (flip()) sheet.words.emplace();
    for (auto left = upTo(4); sheet.words && left > 0; --left) sheet.words->push_back(text());
    *sheet.shared = column();
    return sheet;
  }

 private:
  std::size_t upTo(std::size_t largest) { return static_cast<std::size_t>(random_() % (largest + 1)); }
  bool flip() { return upTo(1) == 1; }
  double number() { return std::ldexp(static_cast<double>(random_()), static_cast<int>(upTo(200)) - 100); }
  std::string text() {
    static const std::vector<std::string> pieces = {
        "a", "\"", "\\", "/", "\n", "é", "😀", std::string(1, '\0'), "\x7F", " "};
    std::string text;
    for (auto left = upTo(6); left > 0; --left) text += pieces[upTo(pieces.size() - 1)];
    return text;
  }
  Column column() { return {text(), flip() ? std::optional(text()) : std::nullopt}; }

  std::mt19937_64 random_{20261120};
};

TEST(JsonWritingTest, ReadsBackWhatItWrote) {
  RandomSheets random;
  for (int round = 0; round < 2000; ++round) {
    const Sheet sheet = random.sheet();
    const auto text = json::encode(sheet);
    ASSERT_TRUE(text.hasValue());
    const auto again = json::decode<Sheet>(text.value());
    ASSERT_TRUE(again.hasValue()) << again.error().localizedDescription();
    ASSERT_EQ(again.value(), sheet) << text.value().view();
  }
}

}  // namespace
}  // namespace vellora

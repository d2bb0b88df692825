#include "vellora/Platform/Json/JsonDuplicateKeys.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/Platform/Json/JsonCodec.h"
#include "vellora/Platform/Json/JsonDocument.h"

namespace vellora {
namespace {

struct Labelled {
  std::string name;
  std::optional<std::string> label;

  static constexpr std::string_view recordName = "Labelled";
  static constexpr auto fields() {
    return std::tuple(json::field("name", &Labelled::name), json::field("label", &Labelled::label));
  }
};

// Reads two of its members by their keys.
struct ReadByKey {
  std::string name;
  std::optional<std::int64_t> size;

  static constexpr std::string_view recordName = "ReadByKey";
  static constexpr auto fields() { return std::tuple(json::field("name", &ReadByKey::name)); }
  static constexpr bool hasOwnJsonForm = true;
};

// Reads one of its members if that is possible.
struct Attempted {
  std::int64_t size = -1;

  static constexpr std::string_view recordName = "Attempted";
  static constexpr auto fields() { return std::tuple(json::field("size", &Attempted::size)); }
  static constexpr bool hasOwnJsonForm = true;
};

// Visits all of its members.
struct Visited {
  std::vector<std::pair<std::string, std::int64_t>> members;

  static constexpr std::string_view recordName = "Visited";
  static constexpr auto fields() { return std::tuple(); }
  static constexpr bool hasOwnJsonForm = true;
};

}  // namespace

template <>
struct json::OwnForm<ReadByKey> {
  static bool decode(const Reader& reader, ReadByKey& out) {
    return reader.member("name", out.name) && reader.member("size", out.size);
  }
};

template <>
struct json::OwnForm<Attempted> {
  static bool decode(const Reader& reader, Attempted& out) {
    static_cast<void>(reader.tryMember("size", out.size));
    return true;
  }
};

template <>
struct json::OwnForm<Visited> {
  static bool decode(const Reader& reader, Visited& out) {
    return reader.forEachMember([&](std::string_view key, const Reader& value) {
      out.members.emplace_back(key, 0);
      return value.read(out.members.back().second);
    });
  }
};

namespace {

using Dictionary = std::map<std::string, std::int64_t>;

template <class T>
Result<T> decoded(std::string_view text) {
  return json::decode<T>(Data(std::string(text)));
}

template <class T>
std::string refusalOf(std::string_view text) {
  const auto result = decoded<T>(text);
  return result ? "no failure" : result.error().localizedDescription();
}

TEST(JsonDuplicateKeysTest, ARecordTakesTheFirst) {
  EXPECT_EQ(decoded<Labelled>(R"({"name":"first","name":"second","label":"l","name":"third"})").value().name,
            "first");
  EXPECT_EQ(
      decoded<Labelled>(R"({"name":"first","label":"l","name":"after all fields were found"})").value().name,
      "first");
}

TEST(JsonDuplicateKeysTest, ADictionaryTakesTheFirst) {
  EXPECT_EQ(decoded<Dictionary>(R"({"a":1,"b":2,"a":3,"b":4,"c":5})").value(),
            (Dictionary{{"a", 1}, {"b", 2}, {"c", 5}}));
}

TEST(JsonDuplicateKeysTest, AMemberThatIsReadByItsKeyIsTheFirst) {
  const auto value = decoded<ReadByKey>(R"({"size":1,"name":"first","size":2,"name":"second"})").value();
  EXPECT_EQ(value.name, "first");
  EXPECT_EQ(value.size, 1);
}

TEST(JsonDuplicateKeysTest, AVisitSeesTheFirst) {
  const auto value = decoded<Visited>(R"({"b":1,"a":2,"b":3,"a":4,"c":5})").value();
  EXPECT_EQ(value.members, (std::vector<std::pair<std::string, std::int64_t>>{{"b", 1}, {"a", 2}, {"c", 5}}));
}

TEST(JsonDuplicateKeysTest, LaterOnesMayHaveAnyValue) {
  EXPECT_EQ(decoded<Labelled>(R"({"name":"A","name":1,"name":null,"label":"l","label":[{}]})").value().label,
            "l");
  EXPECT_EQ(decoded<Dictionary>(R"({"a":1,"a":"x","a":null})").value(), (Dictionary{{"a", 1}}));
  EXPECT_EQ(decoded<ReadByKey>(R"({"name":"A","name":1,"size":2,"size":"x"})").value().size, 2);
  EXPECT_EQ(decoded<Visited>(R"({"a":1,"a":"x"})").value().members.size(), 1U);
}

TEST(JsonDuplicateKeysTest, AFirstOneOfTheWrongTypeIsNotReplacedByALaterOne) {
  EXPECT_EQ(refusalOf<Labelled>(R"({"name":1,"name":"A"})"), "expected a string at $.name");
  EXPECT_EQ(refusalOf<Dictionary>(R"({"a":"x","a":1})"), "expected an integer at $.a");
  EXPECT_EQ(refusalOf<ReadByKey>(R"({"name":null,"name":"A"})"), "expected a string at $.name");
  EXPECT_EQ(refusalOf<Visited>(R"({"a":"x","a":1})"), "expected an integer at $.a");
  EXPECT_EQ(decoded<Attempted>(R"({"size":"x","size":1})").value().size, -1);
}

TEST(JsonDuplicateKeysTest, AFirstOneThatIsNullIsAnAbsentOptional) {
  EXPECT_EQ(decoded<Labelled>(R"({"name":"A","label":null,"label":"l"})").value().label, std::nullopt);
  EXPECT_EQ(decoded<ReadByKey>(R"({"name":"A","size":null,"size":1})").value().size, std::nullopt);
}

TEST(JsonDuplicateKeysTest, KeysAreTheSameHoweverTheyAreEscaped) {
  EXPECT_EQ(decoded<Labelled>(R"({"n\u0061me":"first","name":"second"})").value().name, "first");
  EXPECT_EQ(decoded<Dictionary>(R"({"a\/b":1,"a/b":2})").value(), (Dictionary{{"a/b", 1}}));
  EXPECT_EQ(decoded<ReadByKey>(R"({"n\u0061me":"first","name":"second"})").value().name, "first");
  EXPECT_EQ(decoded<Visited>(R"({"\u0061":1,"a":2})").value().members.size(), 1U);
}

TEST(JsonDuplicateKeysTest, KeysThatDifferInCaseAreNoDuplicates) {
  EXPECT_EQ(decoded<Dictionary>(R"({"a":1,"A":2})").value(), (Dictionary{{"A", 2}, {"a", 1}}));
  EXPECT_EQ(decoded<Labelled>(R"({"Name":"other","name":"this"})").value().name, "this");
}

TEST(JsonDuplicateKeysTest, EachObjectHasDuplicatesOfItsOwn) {
  using Nested = std::map<std::string, Dictionary>;
  EXPECT_EQ(decoded<Nested>(R"({"x":{"a":1,"a":2},"y":{"a":3},"x":{"b":4}})").value(),
            (Nested{{"x", {{"a", 1}}}, {"y", {{"a", 3}}}}));
}

TEST(JsonDuplicateKeysTest, GoesThroughTheFirstMembersUntilItIsStopped) {
  const Data text(std::string(R"({"a":1,"a":2,"b":3,"c":4})"));
  json::Document document;
  ASSERT_FALSE(document.parse(text).has_value());
  simdjson::dom::object object;
  ASSERT_FALSE(document.root().get(object));
  const auto keysUntil = [&](std::string_view last) {
    std::set<std::string_view> seen;
    std::string keys;
    const auto find = [&](std::string_view key, auto offer) {
      const auto [place, isFree] = seen.insert(key);
      return offer(place, isFree);
    };
    const auto take = [&](auto, std::string_view key, json::Element) {
      keys += key;
      return key != last;
    };
    const bool isThrough = json::forEachFirstMember(object, find, take);
    return std::pair(keys, isThrough);
  };
  EXPECT_EQ(keysUntil("b"), std::pair(std::string("ab"), false));
  EXPECT_EQ(keysUntil("none"), std::pair(std::string("abc"), true));
}

}  // namespace
}  // namespace vellora

#include "vellora/Platform/Json/JsonCodec.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "vellora/Platform/Json/DecodingError.h"

namespace vellora {
namespace {

struct Flat {
  std::string name;

  static constexpr std::string_view recordName = "Flat";
  static constexpr auto fields() { return std::tuple(json::field("name", &Flat::name)); }
  friend bool operator==(const Flat&, const Flat&) = default;
};

// Has two JSON forms: "flat" is taken when it can be read, else the nested "groups" are flattened.
struct TwoForms {
  std::vector<Flat> flat;
  std::string type;

  static constexpr std::string_view recordName = "TwoForms";
  static constexpr auto fields() {
    return std::tuple(json::field("flat", &TwoForms::flat), json::field("type", &TwoForms::type));
  }
  static constexpr bool hasOwnJsonForm = true;
};

// Visits members of any key and collects their values.
struct Collected {
  std::vector<TwoForms> values;
  std::vector<std::string> keys;

  static constexpr std::string_view recordName = "Collected";
  static constexpr auto fields() { return std::tuple(json::field("values", &Collected::values)); }
  static constexpr bool hasOwnJsonForm = true;
};

// Builds the member `lengths` from the member `words`.
struct Derived {
  std::map<std::string, std::int64_t> lengths;
  std::vector<std::string> words;
  std::optional<std::string> title;

  static constexpr std::string_view recordName = "Derived";
  static constexpr auto fields() {
    return std::tuple(json::field("lengths", &Derived::lengths), json::field("words", &Derived::words));
  }
  static constexpr bool hasOwnJsonForm = true;
};

// Has a title before it is read.
struct Titled {
  std::optional<std::string> title = "untitled";

  static constexpr std::string_view recordName = "Titled";
  static constexpr auto fields() { return std::tuple(json::field("title", &Titled::title)); }
  static constexpr bool hasOwnJsonForm = true;
};

// Has a text that holds another document, so that decoding it begins a decoding within a decoding.
struct Wrapped {
  Flat inner;
  std::string after;

  static constexpr std::string_view recordName = "Wrapped";
  static constexpr auto fields() { return std::tuple(json::field("inner", &Wrapped::inner)); }
  static constexpr bool hasOwnJsonForm = true;
};

}  // namespace

template <>
struct json::OwnForm<TwoForms> {
  static bool decode(const Reader& reader, TwoForms& out) {
    if (!reader.member("type", out.type)) return false;
    if (reader.tryMember("flat", out.flat)) return true;
    std::vector<std::vector<Flat>> groups;
    if (!reader.member("groups", groups)) return false;
    for (const auto& group : groups) out.flat.insert(out.flat.end(), group.begin(), group.end());
    return true;
  }
  static bool encode(const TwoForms& value, Writer& writer) {
    return writer.member("type", value.type) && writer.member("flat", value.flat);
  }
};

template <>
struct json::OwnForm<Collected> {
  static bool decode(const Reader& reader, Collected& out) {
    return reader.forEachMember([&](std::string_view key, const Reader& value) {
      out.keys.emplace_back(key);
      return value.read(out.values.emplace_back());
    });
  }
};

template <>
struct json::OwnForm<Derived> {
  static bool decode(const Reader& reader, Derived& out) {
    if (!reader.member("words", out.words) || !reader.member("title", out.title)) return false;
    for (const auto& word : out.words) out.lengths[word] = static_cast<std::int64_t>(word.size());
    return true;
  }
  static bool encode(const Derived& value, Writer& writer) {
    return writer.member("words", value.words) && writer.member("title", value.title);
  }
};

template <>
struct json::OwnForm<Titled> {
  static bool decode(const Reader& reader, Titled& out) { return reader.member("title", out.title); }
};

template <>
struct json::OwnForm<Wrapped> {
  static bool decode(const Reader& reader, Wrapped& out) {
    std::string text;
    if (!reader.member("text", text)) return false;
    const auto inner = json::decode<Flat>(Data(text));
    if (inner) out.inner = inner.value();
    return reader.member("after", out.after);
  }
};

namespace {

template <class T>
Result<T> read(std::string_view text) {
  return json::decode<T>(Data(std::string(text)));
}

template <class T>
std::string failureTextOf(std::string_view text) {
  const auto result = read<T>(text);
  return result ? "no failure" : result.error().localizedDescription();
}

TEST(JsonCodecTest, TakesTheFirstFormWhenItCanBeRead) {
  const auto value =
      read<TwoForms>(R"({"type":"A","flat":[{"name":"x"}],"groups":[[{"name":"y"}]]})").value();
  EXPECT_EQ(value.flat, (std::vector<Flat>{{"x"}}));
}

TEST(JsonCodecTest, TakesTheOtherFormWhateverIsWrongWithTheFirst) {
  for (const std::string_view flat :
       {"null", "1", "{}", "[null]", R"([{"name":"x"},{"name":1}])", R"([{}])"}) {
    const auto value = read<TwoForms>(R"({"type":"A","flat":)" + std::string(flat) +
                                      R"(,"groups":[[{"name":"y"},{"name":"z"}],[{"name":"w"}]]})");
    ASSERT_TRUE(value.hasValue()) << flat;
    EXPECT_EQ(value.value().flat, (std::vector<Flat>{{"y"}, {"z"}, {"w"}})) << flat;
  }
  EXPECT_TRUE(read<TwoForms>(R"({"type":"A","groups":[]})").hasValue());
}

TEST(JsonCodecTest, ReportsTheFailureOfTheLastFormAlone) {
  EXPECT_EQ(failureTextOf<TwoForms>(R"({"type":"A","flat":[{"name":1}]})"), R"(missing key "groups" at $)");
  EXPECT_EQ(
      failureTextOf<TwoForms>(R"({"type":"A","flat":[{"name":1}],"groups":[[{"name":"y"},{"name":null}]]})"),
      "expected a string at $.groups[0][1].name");
  EXPECT_EQ(failureTextOf<TwoForms>("[]"), "expected an object at $");
}

TEST(JsonCodecTest, WritesAnIrregularRecordAsItSays) {
  const auto text = json::encode(TwoForms{{{"x"}}, "A"}).value();
  EXPECT_EQ(text.view(), R"({"type":"A","flat":[{"name":"x"}]})");
  EXPECT_EQ(json::encode(TwoForms{{{"x"}, {"\xFF"}}, "A"}).error().localizedDescription(),
            "cannot write text that is not UTF-8 at $.flat[1].name");
}

TEST(JsonCodecTest, VisitsMembersInDocumentOrder) {
  const auto value =
      read<Collected>(
          R"({"b":{"type":"1","flat":[]},"a b":{"type":"2","flat":[]},"":{"type":"3","flat":[]}})")
          .value();
  EXPECT_EQ(value.keys, (std::vector<std::string>{"b", "a b", ""}));
  EXPECT_EQ(value.values[2].type, "3");
  EXPECT_TRUE(read<Collected>("{}").value().values.empty());
}

TEST(JsonCodecTest, NamesTheMemberAtWhichAVisitFailed) {
  EXPECT_EQ(failureTextOf<Collected>(R"({"a b":{"type":"1","flat":[]},"c\"\n":{}})"),
            R"(missing key "type" at $["c\"\n"])");
  EXPECT_EQ(failureTextOf<Collected>("null"), "expected an object at $");
}

TEST(JsonCodecTest, BuildsDerivedMembersWhileReading) {
  const auto value = read<Derived>(R"({"words":["a","bcd"],"lengths":{"z":1}})").value();
  EXPECT_EQ(value.lengths, (std::map<std::string, std::int64_t>{{"a", 1}, {"bcd", 3}}));
  EXPECT_EQ(json::encode(value).value().view(), R"({"words":["a","bcd"]})");
}

TEST(JsonCodecTest, ReadsAnOptionalMemberByKey) {
  EXPECT_EQ(read<Derived>(R"({"words":[],"title":"t"})").value().title, "t");
  EXPECT_EQ(read<Derived>(R"({"words":[],"title":null})").value().title, std::nullopt);
  EXPECT_EQ(failureTextOf<Derived>(R"({"words":[],"title":1})"), "expected a string at $.title");
}

TEST(JsonCodecTest, DecodesWithinADecoding) {
  const auto value = read<Wrapped>(R"({"text":"{\"name\":\"inner\"}","after":"still there"})").value();
  EXPECT_EQ(value.inner.name, "inner");
  EXPECT_EQ(value.after, "still there");
}

TEST(JsonCodecTest, ReadsALargeDocumentAndThenASmallOne) {
  std::string text = "[";
  for (int index = 0; index < 400'000; ++index) text += R"({"name":"abc"},)";
  text += R"({"name":"last"}])";
  const auto values = json::decode<std::vector<Flat>>(Data(text)).value();
  EXPECT_EQ(values.size(), 400'001U);
  EXPECT_EQ(values.back().name, "last");
  EXPECT_EQ(read<Flat>(R"({"name":"small"})").value().name, "small");
}

TEST(JsonCodecTest, DecodesOnManyThreadsAtOnce) {
  const Data shared(std::string(R"([{"name":"a"},{"name":"b"}])"));
  std::vector<std::vector<Flat>> results(8);
  std::vector<std::thread> threads;
  for (auto& result : results) {
    threads.emplace_back([&result, shared] {
      for (int round = 0; round < 200; ++round) result = json::decode<std::vector<Flat>>(shared).value();
    });
  }
  for (auto& thread : threads) thread.join();
  for (const auto& result : results) EXPECT_EQ(result, (std::vector<Flat>{{"a"}, {"b"}}));
}

TEST(JsonCodecTest, KeepsAPathOnOneLineOfBoundedLength) {
  const std::string key(10'000, 'k');
  const auto text = failureTextOf<Collected>(R"({")" + key + R"(\r\n":1})");
  EXPECT_EQ(text, "expected an object at $[\"" + std::string(78, 'k') + "…\"]");
}

TEST(JsonCodecTest, AMemberThatIsNotThereHasNoValueWhateverItHadBefore) {
  EXPECT_EQ(read<Titled>(R"({"title":"A"})").value().title, "A");
  EXPECT_EQ(read<Titled>("{}").value().title, std::nullopt);
}

}  // namespace
}  // namespace vellora

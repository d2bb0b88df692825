#include "apps/vellora/command/Document.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "vellora/Models/SObject.h"

namespace vellora::command {
namespace {

struct Part {
  std::string name;
  std::optional<double> size = {};

  static constexpr auto fields() {
    return std::tuple(json::field("name", &Part::name), json::field("size", &Part::size));
  }
};

struct Whole {
  bool good = true;
  std::int64_t count = 0;
  std::vector<Part> parts = {};
  std::map<std::string, Part> named = {};
  std::optional<Part> best = {};
  std::optional<SObject> type = {};

  static constexpr auto fields() {
    return std::tuple(json::field("good", &Whole::good), json::field("count", &Whole::count),
                      json::field("parts", &Whole::parts), json::field("named", &Whole::named),
                      json::field("best", &Whole::best), json::field("type", &Whole::type));
  }
};

template <class T>
std::string textOf(const T& document) {
  const auto json = encode(document);
  return json ? std::string(json.value().view()) : json.error().localizedDescription();
}

TEST(DocumentTest, WritesItsMembersInTheirOrder) {
  EXPECT_EQ(textOf(Whole{.count = -3}), R"({"good":true,"count":-3,"parts":[],"named":{}})");
}

TEST(DocumentTest, WritesDocumentsWithinListsMapsAndMembers) {
  EXPECT_EQ(
      textOf(Whole{.good = false,
                   .parts = {{"a", 0.5}, {"b"}},
                   .named = {{"one \"1\"", {"c"}}, {"two", {"d", 1e300}}},
                   .best = Part{"e", -0.0}}),
      R"({"good":false,"count":0,"parts":[{"name":"a","size":0.5},{"name":"b"}],)"
      R"("named":{"one \"1\"":{"name":"c"},"two":{"name":"d","size":1e+300}},"best":{"name":"e","size":-0}})");
}

TEST(DocumentTest, WritesRecordsOfTheLibraryInTheirOwnForm) {
  const SObject note{"Note", std::nullopt, "</b>", "Notes", true};
  const std::string text(json::encode(note).value().view());
  EXPECT_EQ(textOf(Whole{.type = note}),
            R"({"good":true,"count":0,"parts":[],"named":{},"type":)" + text + "}");
  EXPECT_EQ(textOf(std::vector{note, note}), "[" + text + "," + text + "]");
}

TEST(DocumentTest, TellsWhatHasNoJsonFormAndWhere) {
  EXPECT_EQ(textOf(Whole{.parts = {{"a"}, {"\xff"}}}),
            "cannot write text that is not UTF-8 at $.parts[1].name");
  EXPECT_EQ(textOf(Whole{.best = Part{"a", NAN}}), "cannot write a number that is not finite at $.best.size");
}

}  // namespace
}  // namespace vellora::command

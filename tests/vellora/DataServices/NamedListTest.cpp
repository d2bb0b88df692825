#include "vellora/DataServices/NamedList.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "vellora/Models/SObject.h"

namespace vellora {
namespace {

SObject labelled(const std::string& name, const std::string& label) {
  return {name, std::nullopt, label, "", false};
}

TEST(NamedListTest, FindsTheFirstRecordOfAName) {
  const NamedList<SObject> list({labelled("A", "first"), labelled("B", "b"), labelled("A", "second")});
  ASSERT_NE(list.firstNamed("A"), nullptr);
  EXPECT_EQ(list.firstNamed("A")->label, "first");
  EXPECT_EQ(list.firstNamed("B"), &list.records()[1]);
}

TEST(NamedListTest, ComparesNamesExactly) {
  const NamedList<SObject> list({labelled("Account", "")});
  EXPECT_EQ(list.firstNamed("account"), nullptr);
  EXPECT_EQ(list.firstNamed("Accounts"), nullptr);
  EXPECT_EQ(list.firstNamed(""), nullptr);
  EXPECT_EQ(NamedList<SObject>({}).firstNamed("Account"), nullptr);
}

TEST(NamedListTest, KeepsItsNamesWhenItIsMoved) {
  NamedList<SObject> list({labelled("A", "a"), labelled("a name too long to stand inside its object", "b")});
  const NamedList<SObject> moved = std::move(list);
  EXPECT_EQ(moved.firstNamed("A"), &moved.records()[0]);
  EXPECT_EQ(moved.firstNamed("a name too long to stand inside its object"), &moved.records()[1]);
}

TEST(NamedListTest, ReadsItselfFromJson) {
  const auto list = NamedList<SObject>::decode(
      Data(std::string(R"([{"name":"A","label":"a","labelPlural":"as","createable":true}])")));
  ASSERT_TRUE(list);
  EXPECT_EQ(list.value().firstNamed("A")->labelPlural, "as");
  EXPECT_EQ(NamedList<SObject>::decode(Data(std::string("[1]"))).error().localizedDescription(),
            "expected an object at $[0]");
}

}  // namespace
}  // namespace vellora

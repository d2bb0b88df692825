#include "vellora/Catalog/Sheet.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "tests/support/TestError.h"

namespace vellora {
namespace {

using Why = Missing::Why;

const Missing unknown(Why::unknown);

TEST(SheetTest, AccountsForEachKeyOnceWhateverComesAfterwards) {
  Sheet<int> sheet({"a", "b"});
  sheet.found("a", 1);
  sheet.found("a", 2);
  sheet.missed("a", unknown);
  sheet.found("stranger", 3);
  EXPECT_TRUE(sheet.isOpen());
  sheet.missed("b", unknown);
  EXPECT_FALSE(sheet.isOpen());
  sheet.close(End::answered, Missing(Why::timedOut));
  const auto answer = sheet.take();
  EXPECT_EQ(answer.found, (std::map<std::string, int>{{"a", 1}}));
  ASSERT_EQ(answer.missing.size(), 1U);
  EXPECT_EQ(answer.missing.at("b").why(), Why::unknown);
  EXPECT_EQ(answer.end, End::answered);
}

TEST(SheetTest, ClosingGivesOpenKeysTheirReason) {
  Sheet<int> sheet({"a", "b"});
  sheet.found("a", 1);
  sheet.close(End::timedOut, Missing(Why::timedOut));
  const auto answer = sheet.take();
  EXPECT_EQ(answer.end, End::timedOut);
  EXPECT_EQ(answer.missing.at("b").why(), Why::timedOut);
}

TEST(SheetTest, AnAnswerWithoutAnythingFoundHasFailedWhenAKeyCouldNotBeAsked) {
  const Missing failed(Why::failed, Failure(tests::TestError{"down"}));
  Sheet<int> nothing({"a", "b"});
  nothing.missed("a", unknown);
  nothing.missed("b", failed);
  nothing.close(End::answered, unknown);
  const auto answer = nothing.take();
  EXPECT_EQ(answer.end, End::failed);
  ASSERT_TRUE(answer.trouble);
  EXPECT_EQ(answer.trouble->text(), "down");

  Sheet<int> something({"a", "b"});
  something.found("a", 1);
  something.missed("b", failed);
  something.close(End::answered, unknown);
  EXPECT_EQ(something.take().end, End::answered);
}

TEST(SheetTest, AFailureMakesOnlyOfAnAnswerAFailedOne) {
  Sheet<int> answered({});
  answered.fail(tests::TestError{"down"});
  answered.close(End::answered, unknown);
  EXPECT_EQ(answered.take().end, End::failed);
  Sheet<int> late({});
  late.fail(tests::TestError{"down"});
  late.close(End::timedOut, unknown);
  EXPECT_EQ(late.take().end, End::timedOut);
}

TEST(SheetTest, TellsTheAgeOfEachKey) {
  const Age common{Date::since1970(100), false};
  const Age other{Date::since1970(50), true};
  Sheet<int> sheet({"a", "b"});
  sheet.setAge(common);
  sheet.found("a", 1);
  sheet.found("b", 2, other);
  sheet.close(End::answered, unknown);
  const auto answer = sheet.take();
  EXPECT_EQ(answer.ageOf("a"), common);
  EXPECT_EQ(answer.ageOf("b"), other);
}

TEST(SheetTest, KeepsTheFirstTrouble) {
  Sheet<int> sheet({});
  sheet.trouble(Failure(tests::TestError{"first"}));
  sheet.trouble(Failure(tests::TestError{"second"}));
  EXPECT_EQ(sheet.take().trouble->text(), "first");
}

TEST(SheetTest, NotesAnAgeThatKeysHaveInCommonOnce) {
  const Age common{Date::since1970(100), false};
  const Age other{Date::since1970(50), true};
  Sheet<int> sheet({"a", "b", "c"});
  sheet.found("a", 1, common);
  sheet.found("b", 2, common);
  sheet.found("c", 3, other);
  const auto answer = sheet.take();
  EXPECT_EQ(answer.age, common);
  EXPECT_EQ(answer.ageOf("b"), common);
  EXPECT_EQ(answer.ageOf("c"), other);
  EXPECT_EQ(answer.otherAges.size(), 1U);
}

TEST(SheetTest, AKeysOwnAgeDoesNotBecomeThatOfThoseWithoutOne) {
  const Age own{Date::since1970(50), true};
  Sheet<int> sheet({"a", "b"});
  sheet.found("a", 1);
  sheet.found("b", 2, own);
  const auto answer = sheet.take();
  EXPECT_EQ(answer.ageOf("a"), Age());
  EXPECT_EQ(answer.ageOf("b"), own);
}

TEST(SheetTest, AccountsForKeysInAnyOrder) {
  Sheet<int> sheet({"a", "b", "c", "d", "e"});
  sheet.found("d", 4);
  sheet.found("b", 2);
  sheet.missed("c", unknown);
  sheet.found("d", 5);
  sheet.missed("b", unknown);
  sheet.found("c", 3);
  EXPECT_TRUE(sheet.isOpen());
  sheet.found("a", 1);
  sheet.close(End::timedOut, Missing(Why::timedOut));
  EXPECT_FALSE(sheet.isOpen());
  const auto answer = sheet.take();
  EXPECT_EQ(answer.found, (std::map<std::string, int>{{"a", 1}, {"b", 2}, {"d", 4}}));
  ASSERT_EQ(answer.missing.size(), 2U);
  EXPECT_EQ(answer.missing.at("c").why(), Why::unknown);
  EXPECT_EQ(answer.missing.at("e").why(), Why::timedOut);
}

}  // namespace
}  // namespace vellora

#include "tests/faults/OutcomeTable.h"

#include <gtest/gtest.h>

namespace vellora::faults {
namespace {

using testkit::HostFault;
using Lasting = testkit::HostFaults::Lasting;

class OutcomeTableTest : public testing::Test {
 protected:
  [[nodiscard]] std::string single(const std::string& operation, const std::string& state,
                                   const NamedFault& fault) const {
    return table.expected(operation, state, fault).answer;
  }

  [[nodiscard]] bool pair(const NamedFault& first, const NamedFault& second, const std::string& answer,
                          const std::string& afterwards = "right") const {
    return table.allows("ids", "cold", first, second, {answer, afterwards});
  }

  const OutcomeTable table{R"(
# A comment
group useless = error, no body
* | * | * | * | * | right |
ids | * | GET * | useless | * | empty |
ids | warm, expired | GET themes | error | then on | never | same never
ids | * | read prefix | missing | * | no 001a |
ids | * | read type | missing | * | 00Bv = ListView |
ids | * | read table | missing | * | empty | anew empty
pair | ids | useless | never answered | never; a *, then * | same *
)"};

  const NamedFault useless{"GET themes", HostFault::networkError, Lasting::once};
  const NamedFault never{"GET types", HostFault::neverAnswered, Lasting::once};
  const NamedFault prefix{"read prefix", HostFault::missing, Lasting::once};
  const NamedFault type{"read type", HostFault::missing, Lasting::once};
  const NamedFault readTable{"read table", HostFault::missing, Lasting::once};
  const NamedFault lost{"log", HostFault::lineLost, Lasting::once};
};

TEST_F(OutcomeTableTest, TheLastLineThatFitsDecides) {
  EXPECT_EQ(single("ids", "cold", useless), "empty");
  EXPECT_EQ(single("ids", "warm", useless), "empty") << "the later line is for then on";
  EXPECT_EQ(single("ids", "warm", {"GET themes", HostFault::networkError, Lasting::fromThenOn}), "never");
  EXPECT_EQ(single("ids", "cold", {"GET themes", HostFault::garbageBody, Lasting::once}), "right");
  EXPECT_EQ(single("names", "cold", useless), "right");
}

TEST_F(OutcomeTableTest, NothingStandsForRightAfterwards) {
  EXPECT_EQ(table.expected("ids", "cold", useless).afterwards, "right");
  EXPECT_EQ(table.expected("ids", "cold", readTable).afterwards, "anew empty");
}

TEST_F(OutcomeTableTest, OfTwoFaultsTheGraverDecides) {
  EXPECT_TRUE(pair(useless, lost, "empty"));
  EXPECT_FALSE(pair(useless, lost, "right"));
  EXPECT_TRUE(pair(prefix, useless, "empty"));
  EXPECT_FALSE(pair(prefix, useless, "no 001a"));
  EXPECT_TRUE(pair(lost, lost, "right"));
  EXPECT_FALSE(pair(lost, lost, "empty"));
}

TEST_F(OutcomeTableTest, WrongEntriesAddUp) {
  EXPECT_TRUE(pair(type, prefix, "no 001a, 00Bv = ListView"));
  EXPECT_FALSE(pair(type, prefix, "no 001a"));
  EXPECT_FALSE(pair(type, prefix, "right"));
}

TEST_F(OutcomeTableTest, AfterwardsItIsRightOrAsOneOfTheFaultsSays) {
  EXPECT_TRUE(pair(readTable, useless, "empty", "anew empty"));
  EXPECT_TRUE(pair(readTable, useless, "empty", "right"));
  EXPECT_FALSE(pair(readTable, useless, "empty", "same empty"));
  EXPECT_FALSE(pair(lost, useless, "empty", "anew empty"));
}

TEST_F(OutcomeTableTest, ALineAboutPairsAllowsMore) {
  EXPECT_TRUE(pair(useless, never, "empty"));
  EXPECT_TRUE(pair(useless, never, "never"));
  EXPECT_TRUE(pair(useless, never, "never", "same never"));
  EXPECT_FALSE(pair(useless, never, "never", "anew never"));
  EXPECT_FALSE(pair(never, useless, "never")) << "in that order only";
}

TEST_F(OutcomeTableTest, SeveralAnswersNeedAPatternForSeveral) {
  EXPECT_TRUE(pair(useless, never, "a b, then c"));
  EXPECT_FALSE(pair(useless, never, "a b, then c, then d"));
  EXPECT_FALSE(pair(useless, never, "a b"));
}

TEST_F(OutcomeTableTest, ATextOfAnotherFormIsRefusedWithItsLine) {
  EXPECT_DEATH(OutcomeTable("ids | cold | right"), "seven cells.*ids | cold | right");
  EXPECT_DEATH(OutcomeTable("group useless"), "a group needs a name");
}

}  // namespace
}  // namespace vellora::faults

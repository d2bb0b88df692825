#include "vellora/Catalog/KeyRefusal.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora {
namespace {

using Case = QuestionError::Case;

std::optional<Case> refused(std::string_view key, KeyKind kind = KeyKind::name) {
  const auto refusal = refusalOf(key, kind);
  return refusal ? std::optional(refusal->errorCase) : std::nullopt;
}

TEST(KeyRefusalTest, RefusesWhatIsNoKeyOfAnyKind) {
  for (const auto kind : {KeyKind::id, KeyKind::name, KeyKind::listedName}) {
    EXPECT_EQ(refused("", kind), Case::emptyKey);
    EXPECT_EQ(refused("Acc\xC3(", kind), Case::notUtf8);
    EXPECT_EQ(refused(std::string(2001, 'A'), kind), Case::tooLong);
    EXPECT_EQ(refused("K\xC3\xBCste", kind), std::nullopt);
    EXPECT_EQ(refused("\xEF\xBF\xBD", kind), std::nullopt) << "the replacement character is one";
    EXPECT_EQ(refused(std::string(2000, 'A'), kind), std::nullopt);
  }
}

TEST(KeyRefusalTest, RefusesWhatWouldChangeTheQueryInAnIdAlone) {
  for (const auto* id : {"00B'", "00B\"", "00B\\"}) {
    EXPECT_EQ(refused(id, KeyKind::id), Case::quoteInId);
    EXPECT_EQ(refused(id, KeyKind::name), std::nullopt);
  }
}

TEST(KeyRefusalTest, RefusesACommaWhereNamesAreListed) {
  EXPECT_EQ(refused("A,B", KeyKind::listedName), Case::commaInName);
  EXPECT_EQ(refused("A,B", KeyKind::name), std::nullopt);
}

TEST(KeyRefusalTest, SaysOfAKeyThatItIsTooLong) {
  const auto refusal = refusalOf(std::string(2001, 'A'), KeyKind::id);
  ASSERT_TRUE(refusal);
  EXPECT_EQ(refusal->localizedDescription(), "The key is too long.");
}

}  // namespace
}  // namespace vellora

#include "vellora/Catalog/QuestionReport.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

TEST(QuestionReportTest, NamesEachKindOfQuestion) {
  EXPECT_EQ(nameOf(QuestionKind::records), "records");
  EXPECT_EQ(nameOf(QuestionKind::types), "types");
  EXPECT_EQ(nameOf(QuestionKind::allTypes), "allTypes");
  EXPECT_EQ(nameOf(QuestionKind::searchColumns), "searchColumns");
  EXPECT_EQ(nameOf(QuestionKind::headlines), "headlines");
  EXPECT_EQ(nameOf(QuestionKind::refresh), "refresh");
  EXPECT_EQ(nameOf(QuestionKind::load), "load");
}

TEST(QuestionReportTest, NamesEachOrigin) {
  EXPECT_EQ(nameOf(QuestionReport::Origin::nowhere), "nowhere");
  EXPECT_EQ(nameOf(QuestionReport::Origin::cache), "cache");
  EXPECT_EQ(nameOf(QuestionReport::Origin::server), "server");
}

}  // namespace
}  // namespace vellora

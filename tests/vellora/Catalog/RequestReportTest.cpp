#include "vellora/Catalog/RequestReport.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

TEST(RequestReportTest, NamesEachOutcome) {
  EXPECT_EQ(nameOf(RequestReport::Outcome::nothing), "nothing");
  EXPECT_EQ(nameOf(RequestReport::Outcome::body), "body");
  EXPECT_EQ(nameOf(RequestReport::Outcome::error), "error");
}

}  // namespace
}  // namespace vellora

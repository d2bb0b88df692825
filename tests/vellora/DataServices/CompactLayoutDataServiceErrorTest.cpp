#include "vellora/DataServices/CompactLayoutDataServiceError.h"

#include <gtest/gtest.h>

namespace vellora {
namespace {

TEST(CompactLayoutDataServiceErrorTest, CasesEqualThemselvesOnly) {
  EXPECT_EQ(CompactLayoutDataServiceError::network(), CompactLayoutDataServiceError::network());
  EXPECT_FALSE(CompactLayoutDataServiceError::network() == CompactLayoutDataServiceError::decoding());
  EXPECT_FALSE(CompactLayoutDataServiceError::decoding() == CompactLayoutDataServiceError::encoding());
  EXPECT_EQ(CompactLayoutDataServiceError::encoding().errorCase(),
            CompactLayoutDataServiceError::Case::encoding);
}

TEST(CompactLayoutDataServiceErrorTest, TextsAreThePlatformsDefaults) {
  EXPECT_EQ(CompactLayoutDataServiceError::decoding().localizedDescription(),
            "The operation could not be completed. (CompactLayoutDataServiceError.decoding)");
  EXPECT_EQ(CompactLayoutDataServiceError::encoding().localizedDescription(),
            "The operation could not be completed. (CompactLayoutDataServiceError.encoding)");
  EXPECT_EQ(CompactLayoutDataServiceError::network().localizedDescription(),
            "The operation could not be completed. (CompactLayoutDataServiceError.network)");
  EXPECT_EQ(CompactLayoutDataServiceError::network().description(), "network");
}

TEST(CompactLayoutDataServiceErrorTest, TravelsAsAnError) {
  const Error error = CompactLayoutDataServiceError::network();
  ASSERT_NE(error.as<CompactLayoutDataServiceError>(), nullptr);
  EXPECT_EQ(error.description(), "network");
}

}  // namespace
}  // namespace vellora

#include "vellora/Platform/Values/EnumerationError.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vellora {
namespace {

struct Refused {
  std::string host;
  [[nodiscard]] std::string localizedDescription() const { return "cannot reach " + host; }
  [[nodiscard]] static std::string description() { return "refused"; }
};

struct ServiceError : EnumerationError {
  explicit ServiceError(std::string_view caseName, std::optional<Error> payload = {})
      : EnumerationError("ServiceError", caseName, std::move(payload)) {}
  friend bool operator==(const ServiceError& a, const ServiceError& b) { return a.equals(b); }
};

TEST(EnumerationErrorTest, TellsItsCaseAndTheErrorThatItCarries) {
  EXPECT_EQ(ServiceError("noData").description(), "noData");
  EXPECT_EQ(ServiceError("other", Refused{"example"}).description(), "other(refused)");
}

TEST(EnumerationErrorTest, IsEqualToOneOfTheSameCaseThatCarriesTheSame) {
  const ServiceError plain("noData");
  const ServiceError carrying("other", Refused{"example"});
  EXPECT_TRUE(plain == ServiceError("noData"));
  EXPECT_FALSE(plain == ServiceError("invalidUrl"));
  EXPECT_TRUE(carrying == ServiceError("other", Refused{"example"}));
  EXPECT_FALSE(carrying == ServiceError("other", Refused{"example.org"}));
  EXPECT_FALSE(carrying == ServiceError("noData", Refused{"example"}));
}

TEST(EnumerationErrorTest, DiffersFromOneOfTheSameCaseThatCarriesNothing) {
  const ServiceError carrying("other", Refused{"example"});
  EXPECT_FALSE(carrying == ServiceError("other"));
  EXPECT_FALSE(ServiceError("other") == carrying);
}

}  // namespace
}  // namespace vellora

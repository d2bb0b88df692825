#include "apps/vellora/command/RequestFailures.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>

namespace vellora::command {
namespace {

using hostkit::CurlNetworkError;

TEST(RequestFailuresTest, TheFirstOfSeveralStands) {
  RequestFailures failures;
  EXPECT_EQ(failures.first(), std::nullopt);
  failures.note(
      {.path = "/a", .error = CurlNetworkError{CurlNetworkError::Kind::unreachable, "no way to /a"}});
  failures.note(
      {.path = "/b", .error = CurlNetworkError{CurlNetworkError::Kind::timedOut, "no time for /b"}});
  EXPECT_EQ(failures.first(), "no way to /a");
}

TEST(RequestFailuresTest, ALineAboutAnAnswerBlamesTheLatestOne) {
  RequestFailures failures;
  failures.note({.path = "/a", .statusCode = 200, .error = {}});
  failures.note({.path = "/b", .statusCode = 500, .error = {}});
  failures.note("Failed to decode: not JSON");
  EXPECT_EQ(failures.first(),
            "the answer of the server to /b (status 500) cannot be used: Failed to decode: not JSON");
}

TEST(RequestFailuresTest, ALineThatQuotesASecretIsCleaned) {
  const auto secrets = std::make_shared<hostkit::KnownSecrets>();
  secrets->note("abc-secret99");
  RequestFailures failures(secrets);
  failures.note({.path = "/a", .statusCode = 200, .error = {}});
  failures.note("expected an object at $[\"abc-secret99\"]");
  EXPECT_EQ(
      failures.first(),
      "the answer of the server to /a (status 200) cannot be used: expected an object at $[\"[token]\"]");
}

TEST(RequestFailuresTest, ALineBeforeAnyAnswerBlamesNothing) {
  RequestFailures failures;
  failures.note("Failed to decode: not JSON");
  EXPECT_EQ(failures.first(), std::nullopt);
}

}  // namespace
}  // namespace vellora::command

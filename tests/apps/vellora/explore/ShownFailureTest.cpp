#include "apps/vellora/explore/ShownFailure.h"

#include <gtest/gtest.h>

#include <string>

#include "apps/vellora/explore/SwitchedNetwork.h"
#include "hostkit/network/CurlNetworkError.h"
#include "vellora/Models/SObject.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora::explore {
namespace {

using hostkit::CurlNetworkError;
using Kind = CurlNetworkError::Kind;

template <class E>
ShownFailure shownAs(const E& error) {
  return shownFailure(Failure(Error(error)), hostkit::KnownSecrets());
}

ShownFailure ofStatus(int status, const std::string& text) {
  return shownAs(CurlNetworkError{Kind::errorStatus, text, status});
}

TEST(ShownFailureTest, TellsWhatTheServerSaidOfAStatus) {
  const auto failure = ofStatus(401, "401 for /services/data/v50.0/theme: Bad token: sign in.");
  EXPECT_EQ(failure.kind, "signIn");
  EXPECT_EQ(failure.status, 401);
  EXPECT_EQ(failure.text, "401 for /services/data/v50.0/theme: Bad token: sign in.");
  EXPECT_EQ(failure.words, "Bad token: sign in.");
  EXPECT_EQ(ofStatus(500, "500 for /a").words, "");
  EXPECT_EQ(
      ofStatus(503, "/a is not sent, since the server wants to be left alone for another 17 s (503)").words,
      "");
}

TEST(ShownFailureTest, KnowsTheKindsThatThereIsAdviceFor) {
  EXPECT_EQ(ofStatus(403, "").kind, "forbidden");
  EXPECT_EQ(ofStatus(404, "").kind, "notFound");
  for (const int status : {429, 500, 503}) EXPECT_EQ(ofStatus(status, "").kind, "serverError");
  EXPECT_EQ(ofStatus(418, "").kind, "refused");
  const auto kindOf = [](Kind kind) { return shownAs(CurlNetworkError{kind, "text"}).kind; };
  EXPECT_EQ(kindOf(Kind::badToken), "signIn");
  EXPECT_EQ(kindOf(Kind::unreachable), "unreachable");
  EXPECT_EQ(kindOf(Kind::connectionLost), "unreachable");
  EXPECT_EQ(kindOf(Kind::timedOut), "timedOut");
  EXPECT_EQ(kindOf(Kind::tls), "tls");
  EXPECT_EQ(kindOf(Kind::protocol), "unusable");
  EXPECT_EQ(kindOf(Kind::shutDown), "other");
  EXPECT_EQ(shownAs(ServerTakenAway()).kind, "takenAway");
  EXPECT_EQ(shownAs(json::decode<SObject>(Data("<html>")).error()).kind, "unusable");
}

TEST(ShownFailureTest, RepeatsNoSecret) {
  hostkit::KnownSecrets secrets;
  secrets.note("abc-secret99");
  const CurlNetworkError error{Kind::errorStatus, "401 for /a: not abc-secret99", 401};
  const auto failure = shownFailure(Failure(Error(error)), secrets);
  EXPECT_EQ(failure.text, "401 for /a: not [token]");
  EXPECT_EQ(failure.words, "not [token]");
}

}  // namespace
}  // namespace vellora::explore

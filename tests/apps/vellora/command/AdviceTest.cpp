#include "apps/vellora/command/Advice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "hostkit/network/CurlNetworkError.h"
#include "vellora/Catalog/QuestionError.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/Platform/Json/DecodingError.h"

namespace vellora::command {
namespace {

using hostkit::CurlNetworkError;
using testing::EndsWith;

CurlNetworkError status(int code, const std::string& words = "No.") {
  return {CurlNetworkError::Kind::errorStatus, std::to_string(code) + " for /a: " + words, code};
}

std::string said(const Error& error) {
  return reasonWithAdvice(Failure(error));
}

TEST(AdviceTest, OfARefusalItSaysWhatTheTokenNeeds) {
  EXPECT_EQ(said(status(401, "Session expired.")),
            "401 for /a: Session expired; the token is missing, expired or wrong: give a valid one with "
            "--token-file FILE");
  EXPECT_EQ(said(status(403)),
            "403 for /a: No; the server forbids it to this token: give that of a user who may see it with "
            "--token-file FILE");
}

TEST(AdviceTest, OfWhatIsNotThereItSaysToLookAtTheAddress) {
  const std::string advice = "; check that a records server is at the address of --server";
  EXPECT_EQ(said(status(404)), "404 for /a: No" + advice);
  EXPECT_THAT(said(SObjectsDataServiceError::network().ofRequest(
                  "/a", Error(DecodingError::invalidJson(0, "no value")))),
              EndsWith("cannot be used: not valid JSON at byte 0: no value" + advice));
}

TEST(AdviceTest, OfAServerInTroubleItSaysWhenToTryAgain) {
  EXPECT_EQ(said(status(503)), "503 for /a: No; the server is in trouble: try again later");
  EXPECT_EQ(said(status(500, "Told to fail.")),
            "500 for /a: Told to fail; the server is in trouble: try again later");
  auto soon = status(503);
  soon.retryAfter = std::chrono::milliseconds(29'500);
  EXPECT_EQ(said(soon), "503 for /a: No; the server is in trouble: try again in 30 s");
  auto tooMany = status(429);
  EXPECT_EQ(said(tooMany), "429 for /a: No; the server is asked too often: try again later");
  tooMany.retryAfter = std::chrono::seconds(7);
  EXPECT_EQ(said(tooMany), "429 for /a: No; the server is asked too often: try again in 7 s");
}

TEST(AdviceTest, WhatSaysItselfWhatToDoStaysAsItIs) {
  const CurlNetworkError unreachable{CurlNetworkError::Kind::unreachable,
                                     "no connection to h:1/a (refused): check the address."};
  EXPECT_EQ(said(unreachable), "no connection to h:1/a (refused): check the address.");
  EXPECT_EQ(said(status(418)), "418 for /a: No.");
  EXPECT_EQ(said(QuestionError{QuestionError::Case::emptyKey}), "The key is empty.");
}

}  // namespace
}  // namespace vellora::command

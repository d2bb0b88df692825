#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/network/CurlNetwork.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"

namespace vellora::hostkit {

/// One server, and one network that talks to it with a token.
class CurlNetworkFixture : public testing::Test {
 protected:
  using Kind = CurlNetworkError::Kind;
  using Then = tests::ScriptedServer::Then;

  [[nodiscard]] static std::shared_ptr<CurlNetwork> makeNetwork(CurlNetwork::Options options) {
    const auto made = CurlNetwork::make(std::move(options));
    return made ? made.value() : nullptr;
  }

  /// Puts a network of these options in the place of the one that there is.
  void remake(CurlNetwork::Options options) { network = makeNetwork(std::move(options)); }

  tests::NetworkAnswer ask(const std::string& path, double timeoutSeconds = 60) {
    return tests::answerTo(*network, tests::get(path, timeoutSeconds));
  }

  /// Expects `answer` to be an error of that kind alone, in one line and without the token.
  void expectError(const tests::NetworkAnswer& answer, Kind kind) const {
    EXPECT_FALSE(answer.data);
    EXPECT_FALSE(answer.response);
    const auto* error = answer.errorAs<CurlNetworkError>();
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->kind, kind);
    EXPECT_THAT(error->text, testing::Not(testing::HasSubstr("\n")));
    EXPECT_THAT(error->text, testing::Not(testing::HasSubstr(canary)));
  }

  const std::string canary = "canary-token-5f1c";
  tests::ScriptedServer server;
  std::shared_ptr<CurlNetwork> network =
      makeNetwork({.server = server.url(), .token = [this] { return std::optional(canary); }});
};

}  // namespace vellora::hostkit

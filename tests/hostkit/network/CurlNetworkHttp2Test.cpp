#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "tests/support/Http2Server.h"
#include "tests/support/Requests.h"

namespace vellora::hostkit {
namespace {

using Kind = CurlNetworkError::Kind;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using tests::get;
using tests::Http2Server;

struct Answer {
  std::optional<std::string> body;
  std::optional<CurlNetworkError> error;
  int status = 0;
};

/// A network and a server that have nothing but HTTP/2 in common.
class CurlNetworkHttp2Test : public testing::Test {
 protected:
  std::future<Answer> send(const std::string& path) {
    auto promise = std::make_shared<std::promise<Answer>>();
    network->sendRequest(get(path), [promise](const auto& data, const auto& error, const auto& response) {
      promise->set_value({data ? std::optional(std::string(data->view())) : std::nullopt,
                          error ? std::optional(*error->template as<CurlNetworkError>()) : std::nullopt,
                          response ? response->statusCode : 0});
    });
    return promise->get_future();
  }

  Http2Server server;
  std::shared_ptr<CurlNetwork> network =
      CurlNetwork::make({.server = server.url(),
                         .token = [] { return std::optional<std::string>("token-of-http2"); },
                         .caFile = server.certificate()})
          .value();
};

TEST_F(CurlNetworkHttp2Test, DeliversBodyAndStatusAndSendsTheToken) {
  server.serve("/theme", "over HTTP/2");

  const Answer answer = send("/theme").get();

  EXPECT_EQ(answer.body, "over HTTP/2");
  EXPECT_EQ(answer.status, 200);
  EXPECT_THAT(server.stop(), AllOf(HasSubstr(":path: /theme\n"), HasSubstr("Bearer token-of-http2\n"),
                                   HasSubstr("accept-encoding: gzip\n")));
}

TEST_F(CurlNetworkHttp2Test, DeliversTheBodyOfAnErrorStatus) {
  const Answer answer = send("/missing").get();
  EXPECT_EQ(answer.status, 404);
  EXPECT_THAT(answer.body, testing::Optional(HasSubstr("404")));
}

TEST_F(CurlNetworkHttp2Test, AnswersManyRequestsThatAreUnderWayAtOnce) {
  const std::string large(300'000, 'x');
  server.serve("/large", large);
  std::vector<std::future<Answer>> answers;
  for (int i = 0; i < 24; ++i) answers.push_back(send("/large"));
  for (auto& answer : answers) EXPECT_TRUE(answer.get().body == large);
}

TEST_F(CurlNetworkHttp2Test, AServerThatDiesIsAnErrorForEachRequest) {
  server.serve("/theme", "x");
  EXPECT_EQ(send("/theme").get().body, "x");  // so that there is a connection
  static_cast<void>(server.stop());
  std::vector<std::future<Answer>> answers;
  for (int i = 0; i < 10; ++i) answers.push_back(send("/theme"));
  for (auto& pending : answers) {
    const Answer answer = pending.get();
    ASSERT_TRUE(answer.error);
    EXPECT_THAT(answer.error->kind, testing::AnyOf(Kind::unreachable, Kind::connectionLost));
    EXPECT_THAT(answer.error->text, Not(HasSubstr("token-of-http2")));
  }
}

}  // namespace
}  // namespace vellora::hostkit

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "apps/http/Server.h"
#include "tests/support/AllocationCounter.h"
#include "tests/support/HttpClient.h"

namespace vellora::http {
namespace {

using test::HttpClient;
using test::httpGet;
using tests::AllocationFailure;

/// A server whose answer to "/later" is the test's, and to anything else "now".
class ServerMemoryTest : public testing::Test {
 protected:
  ServerMemoryTest() {
    server->run([this](const Request& request, const Exchange& exchange) {
      if (request.target == "/later") return pending_.set_value(exchange);
      exchange.answer({200, "text/plain", Data("now")});
    });
  }

  ~ServerMemoryTest() override { server->stop(); }

  /// The exchange of a request for "/later" that nobody else has any more: the server's thread has gone on.
  Exchange exchangeOf(HttpClient& client) {
    client.sendGet("/later");
    auto exchange = pending_.get_future().get();
    EXPECT_EQ(httpGet(server->port(), "/").body, "now");
    return exchange;
  }

  const std::unique_ptr<Server> server = Server::listen({}).value();

 private:
  std::promise<Exchange> pending_;
};

TEST_F(ServerMemoryTest, AnExchangeThatIsGivenUpWithoutMemoryDropsItsConnection) {
  HttpClient client(server->port());
  auto exchange = std::make_optional(exchangeOf(client));
  {
    const AllocationFailure failure(1, AllocationFailure::Extent::allFromThereOn);
    exchange.reset();
    EXPECT_FALSE(failure.happened());
  }
  EXPECT_TRUE(client.receiveEnd());
}

TEST_F(ServerMemoryTest, AnAnswerThatIsThereReachesTheServersThreadWithoutMemory) {
  HttpClient client(server->port());
  const auto exchange = exchangeOf(client);
  Response response{200, "text/plain", Data("later")};
  {
    const AllocationFailure failure(1, AllocationFailure::Extent::allFromThereOn);
    exchange.answer(std::move(response));
    EXPECT_FALSE(failure.happened());
  }
  EXPECT_EQ(client.receive().body, "later");
}

/// A server on whose own thread one allocation fails behind each request for "/fail".
class FailingServer {
 public:
  FailingServer() {
    server_->run([this](const Request& request, const Exchange& exchange) {
      if (request.target == "/fail") {
        failure_.emplace(number_);
      } else {
        hasHappened_ = failure_ && failure_->happened();
        failure_.reset();
      }
      exchange.answer({200, "text/plain", Data("served")});
    });
  }

  ~FailingServer() { server_->stop(); }
  FailingServer(const FailingServer&) = delete;
  FailingServer& operator=(const FailingServer&) = delete;

  /// Has the allocation of that number fail, and comes back once another client was served: at once, or after
  /// its connection was the one to end. Tells whether there was such an allocation.
  [[nodiscard]] bool servesOnAfter(std::size_t number) {
    number_ = number;
    HttpClient hit(server_->port());
    hit.sendGet("/fail");
    static_cast<void>(hit.receive());
    if (httpGet(server_->port(), "/").body != "served") {
      EXPECT_EQ(httpGet(server_->port(), "/").body, "served");
    }
    return hasHappened_;
  }

 private:
  std::atomic<std::size_t> number_ = 0;
  std::atomic<bool> hasHappened_ = false;
  std::optional<AllocationFailure> failure_;  // only on the server's thread
  const std::unique_ptr<Server> server_ = Server::listen({}).value();
};

TEST(ServerOutOfMemoryTest, ServesOnWhicheverAllocationOfItsThreadFails) {
  FailingServer server;
  std::size_t failed = 0;
  while (server.servesOnAfter(failed + 1) && !testing::Test::HasFailure()) ++failed;
  EXPECT_GT(failed, 10U);
}

}  // namespace
}  // namespace vellora::http

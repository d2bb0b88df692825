#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/network/CurlNetwork.h"
#include "hostkit/network/CurlNetworkError.h"
#include "tests/hostkit/network/PackedLetters.h"
#include "tests/memory/EachCAllocation.h"
#include "tests/support/CAllocationFailure.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"

// Each allocation of libcurl fails in turn while a network starts, answers a request and goes. The request
// has one answer, the right one or an error, and with memory there again the same network answers the next
// one.

namespace vellora::hostkit {
namespace {

using tests::CAllocationFailure;
using tests::failEachCAllocationOf;
using tests::get;
using tests::NetworkAnswer;
using tests::ScriptedServer;
using Extent = CAllocationFailure::Extent;
using Then = ScriptedServer::Then;

class NetworkCAllocationTest : public testing::Test {
 protected:
  NetworkCAllocationTest() {
    server.replyBy([](const ScriptedServer::Request& request) -> ScriptedServer::Reply {
      if (request.target() == "/packed")
        return ScriptedServer::http("200 OK", packedLetters, {"Content-Encoding: gzip"});
      if (request.target() == "/moved") return ScriptedServer::http("302 Found", "", {"Location: /plain"});
      if (request.target() == "/half")
        return {"HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\nhalf", Then::close};
      if (request.target() == "/refused") return ScriptedServer::http("401 Unauthorized", "no");
      if (request.target() == "/silent") return {"", Then::keepOpen};
      return ScriptedServer::http("200 OK", "{}", {"X-Long: " + std::string(3000, 'x')});
    });
  }

  [[nodiscard]] Result<std::shared_ptr<CurlNetwork>> make() const {
    return CurlNetwork::make(
        {.server = server.url(), .token = [] { return std::optional<std::string>("token"); }});
  }

  /// The network; null where there was no memory for it.
  [[nodiscard]] std::shared_ptr<CurlNetwork> makeOrNone() const {
    try {
      const auto made = make();
      if (made) return made.value();
      EXPECT_NE(made.error().as<CurlNetworkError>(), nullptr);
    } catch (const std::bad_alloc&) {  // on the thread that called
    }
    return nullptr;
  }

  [[nodiscard]] static NetworkAnswer ask(CurlNetwork& network, const std::string& path, double timeout = 20) {
    return tests::answerTo(network, get(path, timeout));
  }

  /// The right answer, or an error and nothing else.
  static void expectRightOrError(const NetworkAnswer& answer, const std::string& body) {
    if (answer.error) {
      EXPECT_NE(answer.errorAs<CurlNetworkError>(), nullptr);
      EXPECT_FALSE(answer.data || answer.response);
    } else {
      EXPECT_EQ(answer.body(), body);
      EXPECT_EQ(answer.status(), 200);
    }
  }

  /// Starts a network and asks it, with that allocation failing; every second time the network goes without
  /// memory as well.
  bool askWith(std::size_t number, Extent extent, const std::string& path, const std::string& body,
               double timeout) {
    const std::size_t blocksBefore = CAllocationFailure::liveBlocks();
    std::optional<CAllocationFailure> failure(std::in_place, number, extent);
    std::shared_ptr<CurlNetwork> network = makeOrNone();
    if (network) expectRightOrError(ask(*network, path, timeout), body);
    if (number % 2 != 0) network.reset();
    const bool happened = failure->happened();
    failure.reset();
    if (network) {
      EXPECT_EQ(ask(*network, "/plain").body(), "{}");
    }
    network.reset();
    EXPECT_EQ(CAllocationFailure::liveBlocks(), blocksBefore) << "blocks are leaked";
    return happened;
  }

  void failEachOf(const std::string& path, const std::string& body, double timeout = 20) {
    static_cast<void>(ask(*make().value(), "/plain"));  // what curl keeps for ever, it has now
    failEachCAllocationOf(
        path.c_str(), [&](auto number, auto extent) { return askWith(number, extent, path, body, timeout); },
        5);
  }

  ScriptedServer server;
};

TEST_F(NetworkCAllocationTest, APlainRequest) {
  failEachOf("/plain", "{}");
}

TEST_F(NetworkCAllocationTest, APackedBody) {
  failEachOf("/packed", unpackedLetters);
}

TEST_F(NetworkCAllocationTest, ARedirect) {
  failEachOf("/moved", "{}");
}

TEST_F(NetworkCAllocationTest, ARefusedToken) {
  failEachOf("/refused", "(an error)");
}

TEST_F(NetworkCAllocationTest, HalfABody) {
  failEachOf("/half", "(an error)");
}

TEST_F(NetworkCAllocationTest, ATimeOut) {
  constexpr double soon = 0.02;  // seconds
  failEachOf("/silent", "(an error)", soon);
}

TEST_F(NetworkCAllocationTest, AShutDownWithARequestUnderWayNeedsNoMemoryOfCurls) {
  static_cast<void>(ask(*make().value(), "/plain"));
  const std::size_t blocksBefore = CAllocationFailure::liveBlocks();
  auto made = make();
  const auto asked = server.requests().size();
  auto answer = tests::send(*made.value(), get("/silent"));
  ASSERT_TRUE(server.waitForRequests(asked + 1));
  const CAllocationFailure failure(1, Extent::allFromThereOn);
  made = Error(CurlNetworkError{});
  const auto given = answer.get();
  EXPECT_FALSE(failure.happened());
  ASSERT_NE(given.errorAs<CurlNetworkError>(), nullptr);
  EXPECT_EQ(given.errorAs<CurlNetworkError>()->kind, CurlNetworkError::Kind::shutDown);
  EXPECT_EQ(CAllocationFailure::liveBlocks(), blocksBefore) << "blocks are leaked";
}

}  // namespace
}  // namespace vellora::hostkit

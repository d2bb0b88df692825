#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "hostkit/network/CurlNetworkError.h"
#include "hostkit/network/GzipDecoder.h"
#include "tests/hostkit/bodies/BodiesCache.h"
#include "tests/hostkit/network/PackedLetters.h"
#include "tests/memory/NetworkCAllocationFixture.h"
#include "tests/support/CAllocationFailure.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"

// Each allocation of libcurl and zlib fails in turn while a network starts, answers a request and goes.

namespace vellora::hostkit {
namespace {

using vellora::tests::CAllocationFailure;
using vellora::tests::get;
using vellora::tests::ScriptedServer;
using Then = ScriptedServer::Then;

class NetworkCAllocationTest : public NetworkCAllocationFixture {
 protected:
  NetworkCAllocationTest() {
    server.replyBy([this](const ScriptedServer::Request& request) -> ScriptedServer::Reply {
      if (request.target() == "/packed")
        return ScriptedServer::http("200 OK", packedLetters, {"Content-Encoding: gzip"});
      if (const auto kept = keptReply(request)) return *kept;
      if (request.target() == "/moved") return ScriptedServer::http("302 Found", "", {"Location: /plain"});
      if (request.target() == "/half")
        return {"HTTP/1.1 200 OK\r\nContent-Length: 99\r\n\r\nhalf", Then::close};
      if (request.target() == "/refused") return ScriptedServer::http("401 Unauthorized", "no");
      if (request.target() == "/renewed" && request.text.find("Bearer token") != std::string::npos)
        return ScriptedServer::http("401 Unauthorized", "no");
      if (request.target() == "/silent") return {"", Then::keepOpen};
      return ScriptedServer::http("200 OK", "{}", {"X-Long: " + std::string(3000, 'x')});
    });
  }

  [[nodiscard]] CurlNetwork::Options options() const override { return {.server = server.url()}; }

  /// The reply of a body that never changes, and may be kept.
  [[nodiscard]] std::optional<ScriptedServer::Reply> keptReply(const ScriptedServer::Request& request) {
    const bool isPacked = request.target() == "/kept-packed";
    if (!isPacked && request.target() != "/kept") return std::nullopt;
    if (request.text.find("If-None-Match: \"1\"") != std::string::npos) {
      ++confirmed;
      return ScriptedServer::Reply{"HTTP/1.1 304 Not Modified\r\nETag: \"1\"\r\n\r\n"};
    }
    std::vector<std::string> headers{"ETag: \"1\""};
    if (isPacked) headers.emplace_back("Content-Encoding: gzip");
    return ScriptedServer::http("200 OK", isPacked ? packedLetters : "kept", headers);
  }

  std::atomic<int> confirmed = 0;  // how many 304s there were
  ScriptedServer server;
};

/// One that asks for a body only if it has changed since it was kept.
class ConditionalCAllocationTest : public NetworkCAllocationTest {
 protected:
  [[nodiscard]] CurlNetwork::Options options() const override {
    auto options = NetworkCAllocationTest::options();
    options.bodies = bodies->cache;
    return options;
  }

  void prepare() override {
    bodies.emplace();
    const auto network = make().value();
    for (const char* const path : {"/kept", "/kept-packed"}) static_cast<void>(ask(*network, path));
    confirmedBefore = confirmed;
  }

  void expectAsked() const override { EXPECT_GT(confirmed, confirmedBefore) << "it is a 304"; }

  std::optional<BodiesCache> bodies = BodiesCache();
  int confirmedBefore = 0;
};

/// One that has another token when the server refuses the first.
class RenewalCAllocationTest : public NetworkCAllocationTest {
 protected:
  [[nodiscard]] CurlNetwork::Options options() const override {
    auto options = NetworkCAllocationTest::options();
    options.renewedToken = [this](const std::string& /*refused*/) {
      ++renewals;
      return std::optional<std::string>("another");
    };
    return options;
  }

  void prepare() override { renewalsBefore = renewals; }
  void expectAsked() const override { EXPECT_EQ(renewals, renewalsBefore + 1) << "it was renewed"; }

  mutable std::atomic<int> renewals = 0;
  int renewalsBefore = 0;
};

TEST_F(NetworkCAllocationTest, APlainRequest) {
  failEachOf("a plain request", {"/plain", "{}"});
}

TEST_F(NetworkCAllocationTest, APackedBody) {
  failEachOf("a packed body", {"/packed", unpackedLetters});
}

TEST_F(NetworkCAllocationTest, ARedirect) {
  failEachOf("a redirect", {"/moved", "{}"});
}

TEST_F(NetworkCAllocationTest, ARefusedToken) {
  failEachOf("a refused token", {"/refused", "", CurlNetworkError::Kind::errorStatus});
}

TEST_F(RenewalCAllocationTest, ARefusedTokenAndTheRequestWithAnotherOne) {
  failEachOf("a renewed token", {"/renewed", "{}"});
}

TEST_F(NetworkCAllocationTest, HalfABody) {
  failEachOf("half a body", {"/half", "", CurlNetworkError::Kind::connectionLost});
}

TEST_F(NetworkCAllocationTest, ATimeOut) {
  constexpr double soon = 0.02;  // seconds
  failEachOf("a time-out", {"/silent", "", CurlNetworkError::Kind::timedOut, soon});
}

TEST_F(ConditionalCAllocationTest, ABodyThatHasNotChanged) {
  failEachOf("a 304", {"/kept", "kept"});
}

TEST_F(ConditionalCAllocationTest, APackedBodyThatHasNotChanged) {
  failEachOf("a 304 about a packed body", {"/kept-packed", unpackedLetters});
}

TEST_F(NetworkCAllocationTest, ALackOfMemoryToUnpackABodyIsNoFaultOfTheServers) {
  const auto network = make().value();
  {
    const CAllocationFailure failure(1, Extent::one, Library::zlib);
    const auto answer = ask(*network, "/packed");
    EXPECT_TRUE(failure.happened());
    ASSERT_NE(answer.errorAs<CurlNetworkError>(), nullptr);
    EXPECT_EQ(answer.errorAs<CurlNetworkError>()->kind, CurlNetworkError::Kind::unavailable);
  }
  EXPECT_EQ(ask(*network, "/packed").body(), unpackedLetters);
}

// Between two pieces zlib keeps what it has unpacked last.
TEST_F(NetworkCAllocationTest, NorIsALackOfMemoryBetweenTwoPiecesOfABody) {
  GzipDecoder decoder;
  std::string body;
  const CAllocationFailure failure(1, Extent::one, Library::zlib);
  const std::string_view piece = std::string_view(packedLetters).substr(0, 16);
  EXPECT_THROW(static_cast<void>(decoder.append(piece, body, unpackedLetters.size())), std::bad_alloc);
  EXPECT_TRUE(failure.happened());
}

TEST_F(NetworkCAllocationTest, AShutDownWithARequestUnderWayNeedsNoMemoryOfCurls) {
  static_cast<void>(ask(*make().value(), "/plain"));
  const std::size_t blocksBefore = CAllocationFailure::liveBlocks();
  auto made = make();
  const auto asked = server.requests().size();
  auto answer = vellora::tests::send(*made.value(), get("/silent"));
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

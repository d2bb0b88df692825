#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/network/CurlNetwork.h"
#include "hostkit/network/CurlNetworkError.h"
#include "tests/hostkit/network/PackedLetters.h"
#include "tests/memory/EachCAllocation.h"
#include "tests/memory/NetworkCAllocationFixture.h"
#include "tests/support/CAllocationFailure.h"
#include "tests/support/Http2Server.h"
#include "tests/support/ScriptedHttp2Server.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/TestCertificate.h"
#include "tests/support/TlsServer.h"

// The same over TLS, where OpenSSL takes most of the memory, and over HTTP/2.

namespace vellora::hostkit {
namespace {

using vellora::tests::CAllocationFailure;
using vellora::tests::failEachCAllocationOf;
using vellora::tests::Http2Server;
using vellora::tests::ScriptedHttp2Server;
using vellora::tests::ScriptedServer;
using vellora::tests::TestCertificate;
using vellora::tests::TlsServer;

class TlsCAllocationTest : public NetworkCAllocationFixture {
 protected:
  TlsCAllocationTest() {
    plain.replyBy([](const ScriptedServer::Request& request) {
      if (request.target() == "/packed")
        return ScriptedServer::http("200 OK", packedLetters, {"Content-Encoding: gzip"});
      return ScriptedServer::http("200 OK", "{}");
    });
  }

  [[nodiscard]] CurlNetwork::Options options() const override {
    return {.server = server.url(), .caFile = server.certificate()};
  }

  ScriptedServer plain;
  TlsServer server{plain.port()};
};

TEST_F(TlsCAllocationTest, NoneOfCurlsThatFailsSpoilsAPackedBody) {
  failEachOf("libcurl, a packed body over TLS",
             {.path = "/packed", .body = unpackedLetters, .failing = Library::curl});
}

TEST_F(TlsCAllocationTest, NoneOfOpenSslsThatFailsSpoilsAnAnswer) {
  failEachOf("OpenSSL, an answer over TLS",
             {.path = "/packed", .body = unpackedLetters, .failing = Library::openSsl, .shortForm = 97});
}

// Whatever OpenSSL has no memory for, it must not overlook who has signed.
TEST_F(TlsCAllocationTest, NoneOfOpenSslsThatFailsMakesAStrangersCertificateTrusted) {
  const TestCertificate trusted("IP:127.0.0.1");  // another than the server's
  const auto make = [&] {
    return CurlNetwork::make({.server = server.url(), .caFile = trusted.file()}).value();
  };
  const auto askStranger = [&](std::size_t number, Extent extent) {
    const std::size_t blocksBefore = CAllocationFailure::liveBlocks();
    bool happened = false;
    {
      const auto network = make();
      const CAllocationFailure failure(number, extent, Library::openSsl);
      const auto answer = ask(*network, "/plain");
      happened = failure.happened();
      if (happened) {
        expectError(answer);
      } else {
        expectError(answer, CurlNetworkError::Kind::tls);
      }
    }
    EXPECT_EQ(CAllocationFailure::liveBlocks(), blocksBefore) << "blocks are leaked";
    return happened;
  };
  // What OpenSSL keeps for ever, it has now.
  expectError(ask(*make(), "/plain"), CurlNetworkError::Kind::tls);
  failEachCAllocationOf("OpenSSL, a stranger's certificate", askStranger, 97);
  EXPECT_THAT(plain.requests(), testing::IsEmpty());
}

class Http2CAllocationTest : public NetworkCAllocationFixture {
 protected:
  Http2CAllocationTest() { server.serve("/plain", "{}"); }

  [[nodiscard]] CurlNetwork::Options options() const override {
    return {.server = server.url(), .caFile = server.certificate()};
  }

  Http2Server server;
};

TEST_F(Http2CAllocationTest, NoneOfCurlsThatFailsSpoilsAnAnswer) {
  failEachOf("libcurl, an answer over HTTP/2", {.path = "/plain", .body = "{}", .failing = Library::curl});
}

TEST_F(Http2CAllocationTest, NoneOfOpenSslsThatFailsSpoilsAnAnswer) {
  failEachOf("OpenSSL, an answer over HTTP/2",
             {.path = "/plain", .body = "{}", .failing = Library::openSsl, .shortForm = 97});
}

/// Whose server ends each connection in place of the second answer on it.
class ClosedHttp2CAllocationTest : public NetworkCAllocationFixture {
 protected:
  [[nodiscard]] CurlNetwork::Options options() const override {
    return {.server = server.url(), .caFile = server.certificate()};
  }

  ScriptedHttp2Server server{{"answer"}};
};

TEST_F(ClosedHttp2CAllocationTest, NoneOfCurlsThatFailsSpoilsARequestThatIsSentAgain) {
  const auto askAgain = [&](std::size_t number, Extent extent) {
    const std::size_t blocksBefore = CAllocationFailure::liveBlocks();
    auto network = make().value();
    EXPECT_EQ(ask(*network, "/plain").body(), "{}");
    std::optional<CAllocationFailure> failure(std::in_place, number, extent, Library::curl);
    const auto answer = ask(*network, "/plain");
    const bool happened = failure->happened();
    failure.reset();
    if (happened && answer.error) {
      expectError(answer);
    } else {
      EXPECT_EQ(answer.body(), "{}") << (answer.error ? answer.error->description() : "");
    }
    EXPECT_EQ(ask(*network, "/plain").body(), "{}");
    network.reset();
    EXPECT_LE(CAllocationFailure::liveBlocks(), blocksBefore) << "blocks are leaked";
    return happened;
  };
  static_cast<void>(ask(*make().value(), "/plain"));  // what the libraries keep for ever, they have now
  EXPECT_FALSE(askAgain(1'000'000, Extent::one));
  failEachCAllocationOf("libcurl, a request that is sent again over HTTP/2", askAgain, 5);
  EXPECT_THAT(server.stop(), testing::HasSubstr("\nasked 2.\nasked 2.\nasked 3.\nasked 3.\nasked 4.\n"));
}

#ifdef VELLORA_HAS_NGHTTP2
// nghttp2 1.52.0 loses a block where memory runs out while it takes in what a server has sent.
TEST_F(Http2CAllocationTest, NoneOfNghttp2sThatFailsSpoilsAnAnswer) {
  failEachOf("nghttp2, an answer over HTTP/2",
             {.path = "/plain", .body = "{}", .failing = Library::nghttp2, .shortForm = 1, .mayLeak = 1});
}
#endif

}  // namespace
}  // namespace vellora::hostkit

#ifdef VELLORA_HAS_NGHTTP2
// Asked by AddressSanitizer, which would report that block.
extern "C" [[gnu::visibility("default")]] const char* __lsan_default_suppressions();  // NOLINT(*reserved*)
const char* __lsan_default_suppressions() {
  return "leak:libnghttp2.so";
}
#endif

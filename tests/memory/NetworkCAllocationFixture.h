#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/network/CurlNetwork.h"
#include "hostkit/network/CurlNetworkError.h"
#include "tests/memory/EachCAllocation.h"
#include "tests/support/CAllocationFailure.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"

namespace vellora::hostkit {

/// Networks whose C libraries run out of memory while they start, answer a request and go. The request has
/// one answer: the right one or, where memory was short until then, an error. With memory there again, the
/// same network answers the next ones, the first of them to "/plain", with "{}".
class NetworkCAllocationFixture : public testing::Test {
 protected:
  using Library = vellora::tests::CAllocationFailure::Library;
  using Extent = vellora::tests::CAllocationFailure::Extent;

  /// What the network asks, and trusts.
  [[nodiscard]] virtual CurlNetwork::Options options() const = 0;

  [[nodiscard]] Result<std::shared_ptr<CurlNetwork>> make() const {
    auto given = options();
    given.token = [] { return std::optional<std::string>("token"); };
    return CurlNetwork::make(std::move(given));
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

  [[nodiscard]] static vellora::tests::NetworkAnswer ask(CurlNetwork& network, const std::string& path,
                                                         double timeout = 20) {
    return vellora::tests::answerTo(network, vellora::tests::get(path, timeout));
  }

  /// A request to `path`, which is answered with `body`, or with that error.
  struct Asked {
    std::string path;
    std::string body;
    std::optional<CurlNetworkError::Kind> error = std::nullopt;  ///< in place of a body
    double timeout = 20;
    Library failing = Library::any;
    int shortForm = 5;        ///< the step from one allocation that fails to the next
    std::size_t mayLeak = 0;  ///< so many blocks that a library loses
  };

  static void expectRight(const vellora::tests::NetworkAnswer& answer, const Asked& asked) {
    if (asked.error) return expectError(answer, asked.error);
    EXPECT_EQ(answer.body(), asked.body);
    EXPECT_EQ(answer.status(), 200);
    EXPECT_FALSE(answer.error);
  }

  /// An error of that kind, or of any, and nothing else.
  static void expectError(const vellora::tests::NetworkAnswer& answer,
                          std::optional<CurlNetworkError::Kind> kind = std::nullopt) {
    const auto* const error = answer.errorAs<CurlNetworkError>();
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(error->kind, kind.value_or(error->kind)) << error->text;
    EXPECT_FALSE(answer.data || answer.response);
  }

  /// Brings what a request finds into the state in which each finds it.
  virtual void prepare() {}

  /// What more is to be seen where the request found memory for everything.
  virtual void expectAsked() const {}

  /// Starts a network and asks it, with that allocation failing; every second time the network goes without
  /// memory as well.
  bool askWith(std::size_t number, Extent extent, const Asked& asked) {
    using vellora::tests::CAllocationFailure;
    prepare();
    const std::size_t blocksBefore = CAllocationFailure::liveBlocks();
    std::optional<CAllocationFailure> failure(std::in_place, number, extent, asked.failing);
    std::shared_ptr<CurlNetwork> network = makeOrNone();
    const auto answer = network ? std::optional(ask(*network, asked.path, asked.timeout)) : std::nullopt;
    const bool wasShort = failure->happened();
    if (number % 2 != 0) network.reset();
    const bool happened = failure->happened();
    failure.reset();
    EXPECT_TRUE(answer || wasShort);
    if (!wasShort) expectAsked();
    if (answer && wasShort && answer->error) {
      expectError(*answer);
    } else if (answer) {
      expectRight(*answer, asked);
    }
    if (network) {
      const auto next = ask(*network, "/plain");
      EXPECT_EQ(next.body(), "{}") << (next.error ? next.error->description() : "");
      if (!asked.error) expectRight(ask(*network, asked.path), asked);
    }
    network.reset();
    EXPECT_LE(CAllocationFailure::liveBlocks(), blocksBefore + asked.mayLeak) << "blocks are leaked";
    return happened;
  }

  void failEachOf(const char* what, const Asked& asked) {
    static_cast<void>(ask(*make().value(), "/plain"));  // what the libraries keep for ever, they have now
    vellora::tests::failEachCAllocationOf(
        what, [&](auto number, auto extent) { return askWith(number, extent, asked); }, asked.shortForm);
  }
};

}  // namespace vellora::hostkit

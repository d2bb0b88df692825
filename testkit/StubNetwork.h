#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "testkit/StubAnswer.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

class AnswerScript;
class PendingAnswers;
class SentRequests;

/// A network that gives scripted answers and records what it was asked.
///
///     const auto network = std::make_shared<StubNetwork>();
///     network->answer("/services/data/v50.0/theme", StubNetwork::body(R"({"themeItems": []})"));
///     network->answerPrefix("/services/data/v50.0/query?", StubNetwork::failure(Unreachable{}).held());
///     // … what is tested sends its requests …
///     network->releaseAll();
///     EXPECT_EQ(network->count("/services/data/v50.0/theme"), 1U);
///
/// Which answer a request gets: of the rules that match it, the newest; if there is none, the next answer of
/// `answerNext`; if there is none left, an `Unscripted` error, at once.
///
/// Ownership: owns the completions that it has not called. Those still held when it is destroyed are dropped
/// uncalled, as are those of `never()`.
///
/// Threads: safe to use from several threads at once. An answer is delivered inside `sendRequest`, or, when
/// it is held, inside the `release` call that lets it go; in either case with no lock held, so a completion
/// may send, script and release.
///
/// Errors: a request that nothing was scripted for completes with an `Unscripted` error, and is listed by
/// `unscripted()`.
class VELLORA_EXPORT StubNetwork final : public CorvaneSDK::Network {
 public:
  using Answer = StubAnswer;

  /// Tells whether a rule is for the request. Called inside `sendRequest`.
  using Predicate = std::function<bool(const CorvaneSDK::NetRequest&)>;

  /// The response body `text`, and no error.
  [[nodiscard]] static Answer body(std::string text) { return Answer::body(Data(std::move(text))); }
  [[nodiscard]] static Answer body(Data data) { return Answer::body(std::move(data)); }

  /// `error`, and no body.
  [[nodiscard]] static Answer failure(Error error) { return Answer::failure(std::move(error)); }

  /// Neither body nor error.
  [[nodiscard]] static Answer nothing() { return Answer::nothing(); }

  /// No completion: the request hangs.
  [[nodiscard]] static Answer never() { return Answer::never(); }

  /// The error of a request that nothing was scripted for.
  struct Unscripted {
    std::string url;

    /// Names the URL, and says what to do.
    [[nodiscard]] std::string localizedDescription() const;
  };

  /// One request that came.
  struct Request {
    CorvaneSDK::NetRequest request;
    std::thread::id thread;  ///< that called `sendRequest`
  };

  StubNetwork();
  ~StubNetwork() override;
  StubNetwork(const StubNetwork&) = delete;
  StubNetwork& operator=(const StubNetwork&) = delete;

  // The script.

  /// Answers every request for exactly `url`.
  void answer(std::string url, Answer answer);

  /// Answers the requests for exactly `url` with `answers` in turn; the last one stays. Without any answer
  /// this changes nothing.
  void answer(std::string url, std::vector<Answer> answers);

  /// Answers every request whose URL begins with `prefix`.
  void answerPrefix(std::string prefix, Answer answer);

  /// Answers every request that `predicate` admits.
  void answerWhen(Predicate predicate, Answer answer);

  /// Answers one request that no rule matches; several calls queue up, first in, first out.
  void answerNext(Answer answer);

  // Called by the library.

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

  // What is held.

  /// Delivers the oldest held answer. False when none is held.
  bool releaseOne();

  /// Delivers the answers held for exactly `url`, or all, oldest first, and tells how many. What is held
  /// meanwhile stays held.
  std::size_t release(std::string_view url);
  std::size_t releaseAll();

  /// How many answers are held.
  [[nodiscard]] std::size_t held() const;

  // What was asked.

  /// Every request, in the order in which they came.
  [[nodiscard]] std::vector<Request> requests() const;

  /// The URLs of `requests()`.
  [[nodiscard]] std::vector<std::string> urls() const;

  /// How many requests came, or came for exactly `url`.
  [[nodiscard]] std::size_t count() const;
  [[nodiscard]] std::size_t count(std::string_view url) const;

  /// The URLs of the requests that nothing was scripted for.
  [[nodiscard]] std::vector<std::string> unscripted() const;

  /// Waits until `count` requests came in all; false when they have not after `limit`. For requests that
  /// another thread sends. A request whose answer is held can be released once this has returned true.
  [[nodiscard]] bool waitForRequests(std::size_t count,
                                     std::chrono::milliseconds limit = std::chrono::seconds(60)) const;

 private:
  const std::unique_ptr<AnswerScript> script_;
  const std::unique_ptr<PendingAnswers> pending_;
  const std::unique_ptr<SentRequests> sent_;
  const std::unique_ptr<SentRequests> unscripted_;
};

}  // namespace vellora::testkit

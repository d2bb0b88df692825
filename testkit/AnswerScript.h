#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "testkit/StubNetwork.h"

namespace vellora::testkit {

/// Which answer of a `StubNetwork` a request gets: that of the newest rule that matches it, else the next of
/// the queue. Internal: not for installed headers.
///
/// Threads: safe to use from several threads at once. Predicates are called with no lock held.
class AnswerScript {
 public:
  using Answer = StubNetwork::Answer;
  using Predicate = StubNetwork::Predicate;

  /// Answers what `matches` admits with `answers` in turn; the last one stays. None: no rule.
  void addRule(Predicate matches, std::vector<Answer> answers);

  /// Answers one request that no rule matches.
  void addNext(Answer answer);

  /// The answer to `request`, which is used up unless it stays. No value when none is left.
  [[nodiscard]] std::optional<Answer> take(const CorvaneSDK::NetRequest& request);

 private:
  struct Rule;

  [[nodiscard]] std::shared_ptr<Rule> ruleFor(const CorvaneSDK::NetRequest& request) const;

  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<Rule>> rules_;  // under mutex_
  std::deque<Answer> next_;                   // under mutex_
};

}  // namespace vellora::testkit

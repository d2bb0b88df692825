#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Catalog/QuestionReport.h"
#include "vellora/Catalog/Reporter.h"
#include "vellora/Catalog/RequestReport.h"
#include "vellora/Catalog/RetryOptions.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora {

/// What a question knows of itself besides its keys: its number and kind, and until when its requests may be
/// sent again. It tells the observer of them.
///
/// Ownership: shared by the question and the requests that were sent for it. It holds neither keys nor the
/// answer, so a request that is never completed keeps little.
///
/// Threads: safe to use from several threads at once.
class Inquiry final : public Requester, public std::enable_shared_from_this<Inquiry> {
 public:
  /// What all questions of a catalogue share.
  struct Common {
    std::shared_ptr<TimedQueue> timer;
    std::shared_ptr<Reporter> reporter;  ///< null without an observer
    RetryOptions retry;
    std::function<void()> onRefresh;  ///< called at the end of each refresh that was not given up
    mutable std::atomic<std::uint64_t> count = 0;  ///< of the questions
  };

  /// What is not answered within `patience` is not sent again. `writes` lets into the cache what is fetched.
  Inquiry(std::shared_ptr<const Common> common, QuestionKind kind, TimedQueue::Delay patience,
          std::shared_ptr<CallbackGate> writes);

  [[nodiscard]] Answered sending(const std::string& url, int attempt) override;
  void served() override { isServed_ = true; }
  [[nodiscard]] std::optional<TimedQueue::Delay> pauseAfter(int attempt, const Error& error) override;
  [[nodiscard]] CallbackGate& writes() const override { return *writes_; }
  [[nodiscard]] const std::shared_ptr<TimedQueue>& timer() const override { return common_->timer; }

  /// Tells the watches of the end of a refresh, and the observer, if there is one, how the question has
  /// ended: one for `keys` keys, with `answer`.
  template <class T>
  void noteEnd(std::size_t keys, const Answer<T>& answer) const noexcept {
    if (name_.kind == QuestionKind::refresh && answer.end != End::cancelled) noteRefresh();
    const auto& reporter = common_->reporter;
    if (!reporter) return;
    reporter->report<QuestionReport>(&CatalogObserver::questionEnded, [&] {
      auto report = reportOf(keys, answer.end, answer.found.size(), answer.missing);
      noteAge(report, answer.age, answer.found.size() > answer.otherAges.size());
      for (const auto& [key, age] : answer.otherAges) noteAge(report, age, true);
      if (!reporter->observesKeys()) return report;
      for (const auto& [key, value] : answer.found) report.reasons.emplace(key, std::nullopt);
      for (const auto& [key, missing] : answer.missing) report.reasons.emplace(key, missing);
      report.trouble = answer.trouble;
      return report;
    });
  }

 private:
  void noteRefresh() const noexcept;
  [[nodiscard]] QuestionReport reportOf(std::size_t keys, End end, std::size_t found,
                                        const std::map<std::string, Missing>& missing) const;
  /// Takes note of the age of something that was found, if it `counts`.
  static void noteAge(QuestionReport& report, const Age& age, bool counts);
  [[nodiscard]] RequestReport requestReport(const std::string& url, int attempt) const;

  // Constant after construction.
  const std::shared_ptr<const Common> common_;
  const QuestionName name_;
  const TimedQueue::Delay begun_;
  const TimedQueue::Delay end_;
  const std::shared_ptr<CallbackGate> writes_;

  std::atomic<bool> isServed_ = false;
};

}  // namespace vellora

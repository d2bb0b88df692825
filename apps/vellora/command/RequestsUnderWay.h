#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "vellora/Catalog/CatalogObserver.h"
#include "vellora/Catalog/QuestionReport.h"
#include "vellora/Catalog/RequestReport.h"

namespace vellora::command {

/// Knows which requests of a catalogue have no answer yet that is asked one question at a time.
///
/// Threads: synchronises itself.
class RequestsUnderWay final : public CatalogObserver {
 public:
  using Tell = std::function<void(const std::string& line)>;

  /// `tell`, if there is one, is told of each request that has ended and of the question, in words.
  explicit RequestsUnderWay(Tell tell = {});

  /// A question is asked: what is said of the end below is said of it. Who asks but one need not tell.
  void questionAsked();

  void requestSent(const RequestReport& report) override;
  void requestEnded(const RequestReport& report) override;
  void questionEnded(const QuestionReport& report) override;

  /// The path of the oldest request that had no answer when the question ended; no value when there was none.
  /// Call it once the question has ended: it waits for the report of that, which follows those of its
  /// requests. A report may be lost, so it waits a moment at most.
  [[nodiscard]] std::optional<std::string> oldest() const;

  /// The same while the question is being answered, without waiting for anything.
  [[nodiscard]] std::optional<std::string> oldestYet() const;

  /// Returns when everything has been told of the question, a moment later at most. Call it once the question
  /// has ended.
  void awaitEnd() const;

 private:
  /// Both with the mutex held.
  [[nodiscard]] bool hasEnded() const;
  [[nodiscard]] std::optional<std::string> oldestNow() const;

  const Tell tell_;
  mutable std::mutex mutex_;
  mutable std::condition_variable end_;
  std::size_t asked_ = 0;
  std::size_t ended_ = 0;
  std::vector<std::string> paths_;             // oldest first
  std::optional<std::string> oldestAtTheEnd_;  // of the last question
};

}  // namespace vellora::command

#pragma once

#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "vellora/Catalog/CatalogObserver.h"
#include "vellora/Catalog/QuestionReport.h"
#include "vellora/Catalog/RequestReport.h"

namespace vellora::command {

/// Knows which requests of a catalogue that is asked one question have no answer yet.
///
/// Threads: synchronises itself.
class RequestsUnderWay final : public CatalogObserver {
 public:
  void requestSent(const RequestReport& report) override;
  void requestEnded(const RequestReport& report) override;
  void questionEnded(const QuestionReport& report) override;

  /// The path of the oldest request that has no answer; no value when there is none. Call it once the
  /// question has ended: it waits for the report of that, which follows those of its requests. A report may
  /// be lost, so it waits a moment at most.
  [[nodiscard]] std::optional<std::string> oldest() const;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable ended_;
  bool hasEnded_ = false;
  std::vector<std::string> paths_;  // oldest first
};

}  // namespace vellora::command

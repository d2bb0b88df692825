#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A logger that keeps every line, in the order in which the lines came.
///
///     const auto logger = std::make_shared<RecordingLogger>();
///     // … run what is tested on a host with `logger` …
///     EXPECT_EQ(logger->texts(CorvaneSDK::LogLevel::error), std::vector<std::string>{});
///
/// Ownership: owns copies of the lines. The accessors return copies, so they can be compared while other
/// threads go on logging.
///
/// Threads: safe to use from several threads at once.
class VELLORA_EXPORT RecordingLogger final : public CorvaneSDK::Logger {
 public:
  /// One call of `log`.
  struct Line {
    CorvaneSDK::LogLevel level;
    std::string text;

    friend bool operator==(const Line&, const Line&) = default;
  };

  RecordingLogger() = default;
  RecordingLogger(const RecordingLogger&) = delete;
  RecordingLogger& operator=(const RecordingLogger&) = delete;

  void log(std::string_view message, CorvaneSDK::LogLevel level) override;

  /// The lines so far, oldest first.
  [[nodiscard]] std::vector<Line> lines() const;

  /// The texts of the lines of that level.
  [[nodiscard]] std::vector<std::string> texts(CorvaneSDK::LogLevel level) const;

  /// True when `part` stands within some line, of whatever level.
  [[nodiscard]] bool contains(std::string_view part) const;

  /// Waits until `part` stands within some line; false when it still does not after `limit`. For lines that
  /// another thread logs.
  [[nodiscard]] bool waitFor(std::string_view part,
                             std::chrono::milliseconds limit = std::chrono::seconds(60)) const;

  /// Forgets the lines so far.
  void clear();

 private:
  [[nodiscard]] bool holds(std::string_view part) const;  // call with mutex_ locked

  mutable std::mutex mutex_;
  mutable std::condition_variable logged_;
  std::vector<Line> lines_;  // under mutex_
};

}  // namespace vellora::testkit

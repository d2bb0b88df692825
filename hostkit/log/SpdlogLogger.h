#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "vellora/Host/Logger.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// Why a log file cannot be written.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT LogFileError {
  std::string path;
  std::string detail;  ///< mostly the system's own words

  /// What is wrong, where, and what to do about it.
  [[nodiscard]] std::string localizedDescription() const;

  friend bool operator==(const LogFileError&, const LogFileError&) = default;
};

/// A `Logger` that writes to standard error or to a file: one line per message, with date and time in UTC and
/// the level. Whatever drives a display is written as an escape (`escapedText`), so that text from a server
/// can neither forge a line nor drive a terminal.
///
///     2026-03-01T12:00:00.250Z error no answer in time from records.example:443/theme: try again, …
///
/// Ownership: closes its file at the end; standard error stays open.
///
/// Threads: every call may come from any thread; lines are never mixed.
///
/// Errors: a line that cannot be written is dropped; logging never fails a caller.
class VELLORA_EXPORT SpdlogLogger final : public CorvaneSDK::Logger {
 public:
  /// A longer message is cut, in bytes.
  static constexpr std::size_t longestMessage = 65'536;

  /// What is written.
  enum class Level {
    off,    ///< nothing
    error,  ///< errors only
    info,   ///< everything
  };

  /// The level of that name ("off", "error", "info"); absent for any other.
  [[nodiscard]] static std::optional<Level> levelNamed(std::string_view name);

  /// Writes what `level` says to standard error. Never null.
  [[nodiscard]] static std::shared_ptr<SpdlogLogger> toStandardError(Level level);

  /// Appends to the file `path`, which is created with mode 0600 when it is not there. Its folder must exist.
  /// A pipe must have a reader by then: the call does not wait for one. A reader that leaves later raises
  /// SIGPIPE at the next line, as with every pipe.
  ///
  /// Errors: a `LogFileError`.
  [[nodiscard]] static Result<std::shared_ptr<SpdlogLogger>> toFile(const std::string& path, Level level);

  ~SpdlogLogger() override;

  /// Writes `message` as one line, at once.
  void log(std::string_view message, CorvaneSDK::LogLevel level) override;

 private:
  class Implementation;
  explicit SpdlogLogger(std::unique_ptr<Implementation> implementation);

  const std::unique_ptr<Implementation> implementation_;
};

}  // namespace vellora::hostkit

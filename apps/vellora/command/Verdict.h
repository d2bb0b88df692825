#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "apps/vellora/command/ExitCode.h"
#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/Missing.h"

namespace vellora::command {

/// Data that is older than the time-out was found.
struct OldData {
  std::optional<double> ageSeconds;  ///< of the oldest; absent where the cache does not tell
};

/// What an answer lacks, and what is known of the reasons.
struct Lack {
  std::vector<std::string> keys = {};  ///< as they were asked for
  std::map<std::string, Missing> missing = {};
  std::optional<Failure> trouble = {};

  std::string what = {};  ///< was looked up for a key, such as "search layout"
  double wait = 0;        ///< how long the question could take, in seconds
  std::optional<std::string> unanswered =
      {};  ///< the request that a question waited for which ran out of time
  std::optional<std::string> cacheFailure = {};  ///< what the cache could not do first
  std::optional<OldData> old = {};               ///< what was found although it is too old, if anything
  bool isOffline = false;                        ///< whether the cache alone was asked

  /// Names that there are, each for the key for which somebody has probably typed it.
  std::map<std::string, std::string> meant = {};
};

/// What the command says of an answer in the end.
struct Verdict {
  ExitCode exit = ExitCode::answered;
  std::vector<std::string> lines = {};  ///< for standard error: what is missing, and why
  std::vector<std::string> notes = {};  ///< behind them: why what was found may be old or incomplete

  friend bool operator==(const Verdict&, const Verdict&) = default;
};

/// Tells the keys that are missing, one line for each reason, in the order in which they were asked for. Of
/// several exit codes a failed request's stands before the cache's, and that before a key that is unknown.
[[nodiscard]] Verdict verdictOn(const Lack& lack);

/// The same for a question that names no keys, and to which nothing was found for the reason `why`.
[[nodiscard]] Verdict verdictOnNothing(const Missing& why, const Lack& lack);

}  // namespace vellora::command

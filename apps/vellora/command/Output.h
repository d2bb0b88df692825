#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/Problem.h"
#include "apps/vellora/command/Verdict.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::command {

/// Sets text on standard output off by colours and bold type, or leaves it plain.
class Style {
 public:
  /// Colours only on a terminal that has them and when neither the arguments nor NO_COLOR forbid them.
  explicit Style(bool wanted);

  [[nodiscard]] std::string heading(const std::string& text) const;

  /// Two blocks of the colour and a blank; empty without colours, or when it isn't of six hexadecimal digits.
  [[nodiscard]] std::string swatch(std::string_view color) const;

 private:
  bool colors_;
};

/// Writes to standard output, at once. False, after a complaint, when that cannot be written to.
[[nodiscard]] bool print(std::string_view text);

/// The same with the exit code that follows: `answered` or `unexpected`.
[[nodiscard]] ExitCode printText(std::string_view text);

/// Prints one JSON document, with what drives a terminal escaped, and a line end, or complains of the value
/// that has no JSON form.
[[nodiscard]] ExitCode printJson(const Result<Data>& document);

/// A key as messages name it: cut where it is long, and quotation marks for an empty one.
[[nodiscard]] std::string keyText(std::string_view key);

/// Writes one line to standard error, without credentials of addresses and cut where it is endless, and gives
/// back the exit code.
ExitCode complain(const Problem& problem);

/// The same for each line of a verdict, without `secrets`: the lines may quote what the server sent.
ExitCode complain(const Verdict& verdict, const hostkit::KnownSecrets& secrets);

/// The keys without repetitions, in their order.
[[nodiscard]] std::vector<std::string> distinct(const std::vector<std::string>& keys);

}  // namespace vellora::command

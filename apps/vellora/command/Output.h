#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "apps/vellora/command/ExitCode.h"
#include "apps/vellora/command/OutputArguments.h"
#include "apps/vellora/command/Problem.h"
#include "apps/vellora/command/Verdict.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::command {

/// Sets text off by colours and bold type, or leaves it plain.
class Style {
 public:
  /// For what is written to standard output or standard error. Unless the arguments say otherwise, colours
  /// only on a terminal that has them, and without NO_COLOR.
  [[nodiscard]] static Style ofOutput(Coloring wanted);
  [[nodiscard]] static Style ofError(Coloring wanted);

  [[nodiscard]] std::string heading(const std::string& text) const;

  /// For what is missing or broken; `text` is printable.
  [[nodiscard]] std::string red(const std::string& text) const;

  /// Two blocks of the colour and a blank; empty without colours, or when it isn't of six hexadecimal digits.
  [[nodiscard]] std::string swatch(std::string_view color) const;

 private:
  explicit Style(bool hasColors) : colors_(hasColors) {}

  bool colors_;
};

/// How many columns the terminal has that standard output is; no value where it is none.
[[nodiscard]] std::optional<std::size_t> outputColumns();

/// The same for standard error.
[[nodiscard]] std::optional<std::size_t> errorColumns();

/// Whether the terminal obeys more than line ends.
[[nodiscard]] bool terminalObeys();

/// Puts one line in the place of the last one on standard error, a terminal, in `mostColumns` at most; an
/// empty one takes it away.
void showProgress(std::string_view line, std::size_t mostColumns);

/// Writes to standard output, at once. False, after a complaint, when that cannot be written to; there is
/// none where the reader has gone.
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

/// The same for each line of a verdict, without `secrets`: the lines may quote what the server sent. Whoever
/// wants it quiet is told nothing.
ExitCode complain(const Verdict& verdict, const hostkit::KnownSecrets& secrets,
                  const OutputArguments& output);

/// Writes one line to standard error that is no complaint, unless it is to be quiet.
void remark(const std::string& text, const hostkit::KnownSecrets& secrets, const OutputArguments& output);

/// The keys without repetitions, in their order.
[[nodiscard]] std::vector<std::string> distinct(const std::vector<std::string>& keys);

}  // namespace vellora::command

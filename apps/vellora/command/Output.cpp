#include "apps/vellora/command/Output.h"

#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <iostream>
#include <set>

#include "apps/vellora/command/TextTable.h"
#include "hostkit/secrets/UrlCredentials.h"
#include "vellora/Platform/Text/EscapedText.h"

namespace vellora::command {

namespace {

bool terminalHasColors() {
  const char* noColor = std::getenv("NO_COLOR");
  if (noColor != nullptr && *noColor != '\0') return false;
  const char* variable = std::getenv("TERM");
  const std::string_view terminal = variable != nullptr ? variable : "";
  return ::isatty(STDOUT_FILENO) == 1 && !terminal.empty() && terminal != "dumb";
}

}  // namespace

std::string keyText(std::string_view key) {
  constexpr std::size_t mostColumns = 80;
  return key.empty() ? "\"\"" : fitted(key, mostColumns);
}

Style::Style(bool wanted) : colors_(wanted && terminalHasColors()) {}

std::string Style::heading(const std::string& text) const {
  constexpr std::size_t mostColumns = 300;
  const std::string shown = fitted(text, mostColumns);
  return colors_ ? "\x1b[1m" + shown + "\x1b[0m" : shown;
}

std::string Style::swatch(std::string_view color) const {
  if (color.starts_with('#')) color.remove_prefix(1);
  unsigned value = 0;
  const auto [end, error] = std::from_chars(color.data(), color.data() + color.size(), value, 16);
  if (!colors_ || color.size() != 6 || error != std::errc() || end != color.data() + color.size()) return {};
  const auto part = [value](unsigned shift) { return std::to_string((value >> shift) & 0xFFU); };
  return "\x1b[48;2;" + part(16) + ";" + part(8) + ";" + part(0) + "m  \x1b[0m ";
}

bool print(std::string_view text) {
  std::cout << text << std::flush;
  if (!std::cout) complain({ExitCode::unexpected, "cannot write to standard output"});
  return static_cast<bool>(std::cout);
}

ExitCode printText(std::string_view text) {
  return print(text) ? ExitCode::answered : ExitCode::unexpected;
}

ExitCode printJson(const Result<Data>& document) {
  if (!document) return complain({ExitCode::unexpected, document.error().localizedDescription()});
  return printText(escapedJson(document.value().view()) + "\n");
}

ExitCode complain(const Problem& problem) {
  // At once, since lines of the log may come from other threads meanwhile.
  constexpr std::size_t mostColumns = 4000;
  std::cerr << "vellora: " + fitted(hostkit::withoutCredentials(problem.message), mostColumns) + '\n';
  return problem.exit;
}

ExitCode complain(const Verdict& verdict, const hostkit::KnownSecrets& secrets) {
  for (const auto& line : verdict.lines) complain({verdict.exit, secrets.cleaned(line)});
  return verdict.exit;
}

std::vector<std::string> distinct(const std::vector<std::string>& keys) {
  std::vector<std::string> once;
  std::set<std::string_view> seen;
  for (const auto& key : keys) {
    if (seen.insert(key).second) once.push_back(key);
  }
  return once;
}

}  // namespace vellora::command

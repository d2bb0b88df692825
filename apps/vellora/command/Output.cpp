#include "apps/vellora/command/Output.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <iostream>
#include <set>

#include "apps/vellora/command/TextTable.h"
#include "hostkit/secrets/UrlCredentials.h"
#include "vellora/Platform/Text/EscapedText.h"

namespace vellora::command {

namespace {

bool hasColors(Coloring wanted, int descriptor) {
  if (wanted != Coloring::automatic) return wanted == Coloring::always;
  const char* noColor = std::getenv("NO_COLOR");
  if (noColor != nullptr && *noColor != '\0') return false;
  return ::isatty(descriptor) == 1 && terminalObeys();
}

std::optional<std::size_t> columnsOf(int descriptor) {
  constexpr std::size_t usual = 80;  // of a terminal that does not tell
  if (::isatty(descriptor) != 1) return std::nullopt;
  winsize size{};
  const bool isTold = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isTold ? size.ws_col : usual;
}

/// At once, since lines of the log may come from other threads meanwhile.
void writeLine(const std::string& text, const Style& style) {
  constexpr std::size_t mostColumns = 4000;
  const std::string line = fitted(hostkit::withoutCredentials(text), mostColumns);
  std::cerr << "vellora: " + style.red(line) + '\n';
}

}  // namespace

std::string keyText(std::string_view key) {
  constexpr std::size_t mostColumns = 80;
  return key.empty() ? "\"\"" : fitted(key, mostColumns);
}

Style Style::ofOutput(Coloring wanted) {
  return Style(hasColors(wanted, STDOUT_FILENO));
}

Style Style::ofError(Coloring wanted) {
  return Style(hasColors(wanted, STDERR_FILENO));
}

std::string Style::red(const std::string& text) const {
  return colors_ ? "\x1b[31m" + text + "\x1b[0m" : text;
}

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
  errno = 0;
  std::cout << text << std::flush;
  const bool hasSeenEnough = errno == EPIPE;  // a reader such as head(1)
  if (!std::cout && !hasSeenEnough) complain({ExitCode::unexpected, "cannot write to standard output"});
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
  writeLine(problem.message, Style::ofError(Coloring::never));
  return problem.exit;
}

ExitCode complain(const Verdict& verdict, const hostkit::KnownSecrets& secrets,
                  const OutputArguments& output) {
  if (output.talk == Talk::quiet) return verdict.exit;
  const auto style = Style::ofError(output.color);
  for (const auto& line : verdict.lines) writeLine(secrets.cleaned(line), style);
  for (const auto& note : verdict.notes) remark(note, secrets, output);
  return verdict.exit;
}

void remark(const std::string& text, const hostkit::KnownSecrets& secrets, const OutputArguments& output) {
  if (output.talk == Talk::quiet) return;
  writeLine(secrets.cleaned(text), Style::ofError(Coloring::never));
}

std::optional<std::size_t> outputColumns() {
  return columnsOf(STDOUT_FILENO);
}

std::optional<std::size_t> errorColumns() {
  return columnsOf(STDERR_FILENO);
}

bool terminalObeys() {
  const char* variable = std::getenv("TERM");
  const std::string_view terminal = variable != nullptr ? variable : "";
  return !terminal.empty() && terminal != "dumb";
}

void showProgress(std::string_view line, std::size_t mostColumns) {
  std::cerr << "\r\x1b[K" +
                   (line.empty() ? std::string() : fitted(hostkit::withoutCredentials(line), mostColumns))
            << std::flush;
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

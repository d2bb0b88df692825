#include "apps/vellora/Output.h"

#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <set>
#include <sstream>

#include "apps/vellora/TextTable.h"

namespace vellora::command {

namespace {

bool terminalHasColors() {
  const char* noColor = std::getenv("NO_COLOR");
  if (noColor != nullptr && *noColor != '\0') return false;
  const char* terminal = std::getenv("TERM");
  return ::isatty(STDOUT_FILENO) == 1 && terminal != nullptr && std::string_view(terminal) != "dumb";
}

std::string list(const std::vector<std::string>& keys) {
  constexpr std::size_t most = 10;
  std::string text;
  for (std::size_t i = 0; i < keys.size() && i < most; ++i) text.append(i == 0 ? "" : ", ").append(keys[i]);
  if (keys.size() > most) text.append(" and ").append(std::to_string(keys.size() - most)).append(" more");
  return text;
}

std::string seconds(double value) {
  std::ostringstream text;
  text << value << " s";
  return text.str();
}

}  // namespace

Style::Style(bool wanted) : colors_(wanted && terminalHasColors()) {}

std::string Style::heading(const std::string& text) const {
  return colors_ ? "\x1b[1m" + printable(text) + "\x1b[0m" : printable(text);
}

bool print(std::string_view text) {
  std::cout << text << std::flush;
  if (!std::cout) complain({ExitCode::unexpected, "cannot write to standard output"});
  return static_cast<bool>(std::cout);
}

ExitCode complain(const Problem& problem) {
  std::cerr << "vellora: " << printable(problem.message) << '\n';
  return problem.exit;
}

std::vector<std::string> distinct(const std::vector<std::string>& keys) {
  std::vector<std::string> once;
  std::set<std::string_view> seen;
  for (const auto& key : keys) {
    if (seen.insert(key).second) once.push_back(key);
  }
  return once;
}

ExitCode judge(const std::vector<std::string>& missing, const std::string& what, bool answered,
               const Arguments& arguments, const Session& session) {
  if (missing.empty()) return ExitCode::answered;
  const std::string none = "no " + what + " for " + list(missing);
  const auto failure = session.failure();
  if (!answered) {
    const std::string why = failure ? *failure : "no answer within " + seconds(arguments.wait);
    return complain({ExitCode::requestFailed, none + ": " + why + "; give it longer with --wait SECONDS"});
  }
  if (failure) return complain({ExitCode::requestFailed, none + ": " + *failure});
  return complain({ExitCode::someMissing, none + ": the server has none"});
}

}  // namespace vellora::command

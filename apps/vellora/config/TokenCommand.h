#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <variant>
#include <vector>

namespace vellora::command {

/// Why a program gave no token. Neither the program's words nor what it printed are repeated.
struct TokenCommandFailure {
  std::string reason;  ///< such as "ended with exit code 1"
};

/// What the program prints, without the line end behind it: one line of `longest` characters at most.
///
/// No shell reads the words: the first is a program, by its path or looked for in PATH, the others are its
/// arguments as they are. Its standard input is empty; standard error is the command's, so that it can ask
/// and complain. After `atMost` seconds it is killed.
[[nodiscard]] std::variant<std::string, TokenCommandFailure> tokenPrintedBy(
    const std::vector<std::string>& words, std::chrono::duration<double> atMost, std::size_t longest);

}  // namespace vellora::command

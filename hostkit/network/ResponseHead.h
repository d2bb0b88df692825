#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace vellora::hostkit {

/// The head of an HTTP answer, taken in line by line: its headers, and whether it has ended.
///
/// A server may send interim answers before the real one. A status line therefore begins a new head, and
/// what the one before it said is forgotten. Headers that follow a chunked body count like those before it.
///
/// Threads: one at a time.
///
/// Errors: none; a line that is no header is skipped.
class ResponseHead {
 public:
  using Headers = std::map<std::string, std::string>;

  /// Takes the next line, with or without its line end.
  void takeLine(std::string_view line);

  /// True once the empty line behind the head has come.
  [[nodiscard]] bool isComplete() const noexcept { return isComplete_; }

  /// The value of the header with that name, which is given in lower case; null when there is none.
  [[nodiscard]] const std::string* value(const std::string& name) const;

  /// Names are in lower case. Values of one name are joined with ", " in the order of their lines.
  [[nodiscard]] const Headers& headers() const noexcept { return headers_; }

  /// The headers themselves. Call it once.
  [[nodiscard]] Headers release() noexcept { return std::move(headers_); }

 private:
  Headers headers_;
  bool isComplete_ = false;
};

}  // namespace vellora::hostkit

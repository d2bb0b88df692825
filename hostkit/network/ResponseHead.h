#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace vellora::hostkit {

/// The head of an HTTP answer, taken in line by line: its headers, and whether it has ended.
///
/// A server may send interim answers before the real one. A status line behind one of them begins a new head,
/// and what the one before it said is forgotten. A line within a head is a header, even if it looks like a
/// status line. Trailers, which follow a chunked body, are no headers and are dropped: what they say could
/// have been believed only before the body.
///
/// Threads: one at a time.
///
/// Errors: a line that is no header is skipped.
///
/// Units: bytes.
class ResponseHead {
 public:
  using Headers = std::map<std::string, std::string>;

  /// How long head, interim answers and trailers may be together.
  static constexpr std::size_t most = 300'000;

  /// Takes the next line, with or without its line end. False when there is too much by now.
  [[nodiscard]] bool takeLine(std::string_view line);

  /// True once the empty line behind the head has come, be it that of an interim answer.
  [[nodiscard]] bool isComplete() const noexcept { return isComplete_; }

  /// True when the end of the body is told apart from that of the connection: by a length, by chunks, or by
  /// frames, as HTTP/2 has them.
  [[nodiscard]] bool tellsEnd() const;

  /// What stands behind the status, such as "Not Found"; empty when nothing does.
  [[nodiscard]] const std::string& reasonPhrase() const noexcept { return reasonPhrase_; }

  /// The value of the header with that name, which is given in lower case; null when there is none.
  [[nodiscard]] const std::string* value(const std::string& name) const;

  /// Names are in lower case. Values of one name are joined with ", " in the order of their lines.
  [[nodiscard]] const Headers& headers() const noexcept { return headers_; }

  /// The headers themselves. Call it once.
  [[nodiscard]] Headers release() noexcept { return std::move(headers_); }

 private:
  void begin(std::string_view statusLine);
  void takeHeader(std::string_view line);

  Headers headers_;
  std::string reasonPhrase_;
  std::size_t size_ = 0;
  bool isInterim_ = false;
  bool isFramed_ = false;
  bool isComplete_ = false;
};

}  // namespace vellora::hostkit

#pragma once

namespace vellora::hostkit {

/// The first failure of a connection: what its statements tell, and what stops them. So a sequence of
/// statements needs one look at its end.
///
/// Ownership: part of a connection; its statements refer to it.
///
/// Threads: one at a time, as the connection.
///
/// Errors: SQLite's result codes, of which 0 means success; `SQLiteResultCodes.h` tells what they mean.
class SQLiteFailure {
 public:
  /// Remembers `code` unless it means success or there is a failure already.
  void note(int code) noexcept {
    if (code_ == 0) code_ = code;
  }

  void clear() noexcept { code_ = 0; }

  [[nodiscard]] int code() const noexcept { return code_; }

  explicit operator bool() const noexcept { return code_ != 0; }

 private:
  int code_ = 0;
};

}  // namespace vellora::hostkit

#pragma once

#include <chrono>
#include <cstddef>

namespace vellora::recordsserver {

/// What goes wrong with an answer. A value; build one with the functions below.
struct Fault {
  enum class Kind {
    none,
    fail,
    errorBody,
    truncate,
    drop,
    never,
    garbage,
    empty,
    unasked,
    otherTag,
    frozenTag,
  };

  Kind kind = Kind::none;
  /// Time that passes before the answer, or what stands in its place, is sent. Zero for none.
  std::chrono::milliseconds wait{0};
  /// Of `fail`: the status of the answer.
  int status = 200;
  /// Of `truncate`: how many bytes of the body are sent.
  std::size_t bytes = 0;

  /// The right answer, `wait` late.
  [[nodiscard]] static Fault delay(std::chrono::milliseconds wait);
  /// An answer of `status` with an error body, an array of {"message", "code"}.
  [[nodiscard]] static Fault fail(int status);
  /// That error body with status 200.
  [[nodiscard]] static Fault errorBody();
  /// The right head with the full length, then at most `bytes` of the body and never its last one, then the
  /// connection's end.
  [[nodiscard]] static Fault truncate(std::size_t bytes);
  /// The connection's end in place of an answer.
  [[nodiscard]] static Fault drop();
  /// No answer and no end, as long as client and server live.
  [[nodiscard]] static Fault never();
  /// Status 200 and bytes that are not JSON and not UTF-8.
  [[nodiscard]] static Fault garbage();
  /// Status 200 and a body of no bytes.
  [[nodiscard]] static Fault empty();

  /// Status 304, whether the request asks so or not.
  [[nodiscard]] static Fault unaskedNotModified();
  /// Status 304 about another body than the one that is asked about, by its tag.
  [[nodiscard]] static Fault notModifiedForAnother();
  /// The right answer with a tag that stays the same whatever the body is, and a 304 to who has that tag.
  [[nodiscard]] static Fault frozenTag();

  /// The same fault, `time` late.
  [[nodiscard]] Fault after(std::chrono::milliseconds time) const;

  friend bool operator==(const Fault&, const Fault&) = default;
};

}  // namespace vellora::recordsserver

#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "vellora/Platform/Json/EncodingError.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::json {

/// Writes one JSON text from front to back. Every step returns whether it succeeded. After a failure nothing
/// more may be written; `error` says what was wrong and where. A record's own form uses `member` and
/// `members` alone.
class VELLORA_EXPORT Writer {
 public:
  Writer();
  ~Writer();

  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  /// Writes a member of the current object; an absent optional is left out.
  template <class T>
  [[nodiscard]] bool member(std::string_view key, const T& value);

  /// Writes the members of the current object that the table of `record` tells, in its order.
  template <Record T>
  [[nodiscard]] bool members(const T& record);

  /// Writes a value: the whole text, an element, or what belongs to the last `key`. An absent optional is
  /// null.
  template <class T>
  [[nodiscard]] bool write(const T& value);

  [[nodiscard]] bool null();
  [[nodiscard]] bool boolean(bool value);
  [[nodiscard]] bool integer(std::int64_t value);
  [[nodiscard]] bool number(double value);
  [[nodiscard]] bool text(std::string_view value);

  [[nodiscard]] bool key(std::string_view key);
  [[nodiscard]] bool beginObject();
  [[nodiscard]] bool endObject();
  [[nodiscard]] bool beginArray();
  [[nodiscard]] bool endArray();

  /// `fail` records a failure; `under` adds, while the failure is handed up, the member or the element that
  /// it lies under. All return false.
  bool fail(EncodingError::Kind kind);
  bool under(std::string_view key);
  bool under(std::size_t index);

  /// What was written; call after success.
  [[nodiscard]] Data data() const;

  /// What went wrong; call after a failure.
  [[nodiscard]] EncodingError error() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vellora::json

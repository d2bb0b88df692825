#pragma once

#include <simdjson.h>

#include <memory>
#include <optional>
#include <string_view>

#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::json {

/// A parsed JSON text, as long as it is being decoded.
///
/// Ownership: takes the parser that its thread keeps and gives it back at its end, so that the parser's
/// memory is allocated once per thread. A second document on the same thread meanwhile has a parser of its
/// own. A parser that has grown for a text of more than 4 MiB is not kept: it holds up to 14 bytes per byte
/// of text.
///
/// Threads: belongs to the thread that made it.
class VELLORA_EXPORT Document {
 public:
  Document();
  ~Document();

  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  /// Parses and validates the whole text, in place: it needs the padding that `Data` has. Returns the
  /// failure; no value means success. The text must outlive this document.
  [[nodiscard]] std::optional<DecodingError> parse(const Data& text);

  /// The top-level value; valid after a successful `parse`, as long as this document lives.
  [[nodiscard]] simdjson::dom::element root() const { return root_; }

  /// Makes every number exactly what it is written as, as `settleNumbers` of `JsonNumbers.h` says: `parse`
  /// may have rounded those with a fraction or an exponent. Elements that were taken from this document have
  /// the settled numbers from then on. Does so once, however often it is called.
  void settleNumbers();

 private:
  [[nodiscard]] std::optional<DecodingError> parseAgain();

  std::unique_ptr<simdjson::dom::parser> parser_;
  simdjson::dom::element root_;
  std::string_view text_;  // without a byte order mark
  bool numbersAreSettled_ = false;
};

}  // namespace vellora::json

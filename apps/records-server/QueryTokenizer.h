#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "vellora/Platform/Values/Result.h"

namespace vellora::recordsserver {

/// A piece of a query's text.
struct QueryToken {
  enum class Kind { word, string, symbol, end };

  Kind kind = Kind::end;
  /// A word as it stands, a string's value without quotes and escapes, a symbol's one character.
  std::string text;
  /// Where the token begins, in bytes from the query's begin.
  std::size_t position = 0;
};

/// Cuts a query into words (names, keywords, paths with dots), strings in single quotes and the symbols
/// `,` `(` `)` `=`. The last token is an `end`.
///
/// Errors: a `QueryError` for a string without end or with a raw line break in it, for an unknown escape
/// and for a character that begins no token.
[[nodiscard]] Result<std::vector<QueryToken>> tokenizeQuery(std::string_view text);

}  // namespace vellora::recordsserver

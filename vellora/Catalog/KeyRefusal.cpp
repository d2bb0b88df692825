#include "vellora/Catalog/KeyRefusal.h"

#include <cstddef>

#include "vellora/Platform/Text/Utf8.h"

namespace vellora {

namespace {

using Case = QuestionError::Case;

/// In bytes, each of which may take three in a URL.
constexpr std::size_t longestKey = 2000;

bool has(std::string_view key, std::string_view characters) {
  return key.find_first_of(characters) != std::string_view::npos;
}

}  // namespace

std::optional<QuestionError> refusalOf(std::string_view key, KeyKind kind) {
  if (key.empty()) return QuestionError{Case::emptyKey};
  if (key.size() > longestKey) return QuestionError{Case::tooLong};
  if (!isUtf8(key)) return QuestionError{Case::notUtf8};
  if (kind == KeyKind::id && has(key, "'\"\\")) return QuestionError{Case::quoteInId};
  if (kind == KeyKind::listedName && has(key, ",")) return QuestionError{Case::commaInName};
  return std::nullopt;
}

}  // namespace vellora

#include "vellora/Catalog/KeyRefusal.h"

#include <algorithm>

#include "vellora/DataServices/UrlLength.h"
#include "vellora/Platform/Text/Utf8.h"

namespace vellora {

namespace {

using Case = QuestionError::Case;

bool hasQuote(std::string_view key) {
  return std::any_of(key.begin(), key.end(), [](char c) { return c == '\'' || c == '"' || c == '\\'; });
}

}  // namespace

std::optional<QuestionError> refusalOf(std::string_view key, KeyKind kind) {
  if (key.empty()) return QuestionError{Case::emptyKey};
  if (key.size() > longestName) return QuestionError{Case::tooLong};
  if (!isUtf8(key)) return QuestionError{Case::notUtf8};
  if (kind == KeyKind::id && hasQuote(key)) return QuestionError{Case::quoteInId};
  if (kind == KeyKind::listedName && key.find(',') != std::string_view::npos)
    return QuestionError{Case::commaInName};
  return std::nullopt;
}

}  // namespace vellora

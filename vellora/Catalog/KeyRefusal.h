#pragma once

#include <optional>
#include <string_view>

#include "vellora/Catalog/QuestionError.h"

namespace vellora {

/// What the keys of a question are.
enum class KeyKind {
  id,          ///< of a record
  name,        ///< of an object type
  listedName,  ///< of an object type, in a request that lists several
};

/// What is wrong with a key, if anything is: such a key is refused before it goes into a request.
[[nodiscard]] std::optional<QuestionError> refusalOf(std::string_view key, KeyKind kind);

}  // namespace vellora

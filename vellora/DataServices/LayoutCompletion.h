#pragma once

#include <functional>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora {

/// How a layout service answers: with layouts, with an error, or after a failed download with the cached
/// layouts and the error.
template <class Layout>
using LayoutCompletion = std::function<void(std::optional<std::vector<Layout>> layouts,
                                            std::optional<SObjectsDataServiceError> error)>;

/// The error of an answer that there is no memory for. Making it takes none.
[[nodiscard]] inline std::optional<SObjectsDataServiceError> noMemoryForAnswer() {
  return SObjectsDataServiceError::other(outOfMemory());
}

/// Answers `completion` with a copy of `layouts`; with the error alone when there is no memory for that.
template <class Layout>
void answerWithCopy(const LayoutCompletion<Layout>& completion, const std::vector<Layout>& layouts) {
  std::optional<std::vector<Layout>> copy;
  try {
    copy = layouts;
  } catch (const std::bad_alloc&) {
    return completion(std::nullopt, noMemoryForAnswer());
  }
  completion(std::move(copy), std::nullopt);
}

}  // namespace vellora

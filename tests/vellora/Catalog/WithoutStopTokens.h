#pragma once

#include <functional>
#include <memory>

#include "vellora/Catalog/QuestionOptions.h"

namespace vellora::tests {

/// What `options.stop` does, in a source that is compiled as where the standard library has no stop tokens.
[[nodiscard]] std::shared_ptr<void> whenStoppedElsewhere(const QuestionOptions& options,
                                                         std::function<void()> callback);

}  // namespace vellora::tests

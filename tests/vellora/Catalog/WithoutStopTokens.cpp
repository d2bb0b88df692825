#include <version>
#undef __cpp_lib_jthread

#include "tests/vellora/Catalog/WithoutStopTokens.h"

#include <utility>

namespace vellora::tests {

std::shared_ptr<void> whenStoppedElsewhere(const QuestionOptions& options, std::function<void()> callback) {
  return options.stop.value().whenStopped(std::move(callback));
}

}  // namespace vellora::tests

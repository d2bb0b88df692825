#include <version>
#undef __cpp_lib_jthread

#include "tests/vellora/Catalog/WithoutStopTokens.h"

#include <utility>

#ifdef __cpp_lib_jthread
#error "this standard library says again that it has stop tokens: hide them in another way"
#endif

namespace vellora::tests {

std::shared_ptr<void> whenStoppedElsewhere(const QuestionOptions& options, std::function<void()> callback) {
  return options.stop.value().whenStopped(std::move(callback));
}

}  // namespace vellora::tests

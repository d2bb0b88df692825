#include "vellora/Platform/Publishers/detail/Counted.h"

namespace vellora::detail {

Counted::~Counted() = default;

}  // namespace vellora::detail

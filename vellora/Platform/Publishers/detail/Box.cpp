#include "vellora/Platform/Publishers/detail/Box.h"

namespace vellora::detail {

Box::~Box() = default;

}  // namespace vellora::detail

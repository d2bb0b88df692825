#include "vellora/Platform/Publishers/detail/Receiver.h"

namespace vellora::detail {

Receiver::~Receiver() = default;

}  // namespace vellora::detail

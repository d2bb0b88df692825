#pragma once

#include <memory>

#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::detail {

/// The source of `subscribe`: starts `upstream` on `queue`, and cancels it there. The subscription itself is
/// silenced at once, by its link.
[[nodiscard]] VELLORA_EXPORT SourcePtr startedOn(SourcePtr upstream, std::shared_ptr<DispatchQueue> queue);

}  // namespace vellora::detail

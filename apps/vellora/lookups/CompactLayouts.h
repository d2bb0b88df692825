#pragma once

#include "apps/vellora/lookups/Lookup.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"

namespace vellora::command {

/// `vellora compact-layouts`: asks the compact layout service alone, so that the server sees two requests at
/// most.
[[nodiscard]] Lookup<ObjectCompactLayoutInfo> compactLayouts(const Arguments& arguments,
                                                             const Session& session);

}  // namespace vellora::command

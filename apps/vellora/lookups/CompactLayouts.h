#pragma once

#include "apps/vellora/lookups/Lookup.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"

namespace vellora::command {

/// `vellora compact-layouts`: needs no list, so that the server sees two requests, or two for 8 kB of names.
[[nodiscard]] Lookup<ObjectCompactLayoutInfo> compactLayouts();

}  // namespace vellora::command

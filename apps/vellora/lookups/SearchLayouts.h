#pragma once

#include "apps/vellora/lookups/Lookup.h"
#include "vellora/Models/ObjectLayoutInfo.h"

namespace vellora::command {

/// `vellora search-layouts`: needs no list, so that the server sees one request, or one for 8 kB of names.
[[nodiscard]] Lookup<ObjectLayoutInfo> searchLayouts();

}  // namespace vellora::command

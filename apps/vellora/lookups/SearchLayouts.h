#pragma once

#include "apps/vellora/lookups/Lookup.h"
#include "vellora/Models/ObjectLayoutInfo.h"

namespace vellora::command {

/// `vellora search-layouts`: asks the search layout service alone, so that the server sees one request at
/// most.
[[nodiscard]] Lookup<ObjectLayoutInfo> searchLayouts(const Arguments& arguments, const Session& session);

}  // namespace vellora::command

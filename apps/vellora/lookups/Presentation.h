#pragma once

#include "apps/vellora/lookups/Lookup.h"
#include "vellora/Models/ObjectPresentationInfo.h"

namespace vellora::command {

/// `vellora ids`: what the records of these ids are.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForIds();

/// `vellora names`: what these object types look like.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForNames();

}  // namespace vellora::command

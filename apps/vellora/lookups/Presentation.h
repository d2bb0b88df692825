#pragma once

#include "apps/vellora/lookups/Lookup.h"
#include "vellora/Models/ObjectPresentationInfo.h"

namespace vellora::command {

/// `vellora ids`: what the records of these ids are.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForIds();

/// `vellora names`: what these object types look like.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForNames();

/// How `vellora list` shows all types; asking is its own matter, since it names none.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationOfAll();

}  // namespace vellora::command

#pragma once

#include <memory>

#include "apps/vellora/Lookup.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::command {

/// A façade on the session's host, on a queue of its own.
[[nodiscard]] std::shared_ptr<VelloraService> openService(const Arguments& arguments, const Session& session);

/// `vellora ids`: what the records of these ids are.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForIds(const Arguments& arguments,
                                                                const Session& session);

/// `vellora names`: what these object types look like.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForNames(const Arguments& arguments,
                                                                  const Session& session);

}  // namespace vellora::command

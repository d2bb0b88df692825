#pragma once

#include <functional>
#include <memory>

#include "apps/vellora/lookups/Lookup.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::command {

/// A façade on the session's host, on a queue of its own.
[[nodiscard]] std::shared_ptr<VelloraService> openService(const Arguments& arguments, const Session& session);

/// The same on any host.
[[nodiscard]] std::shared_ptr<VelloraService> openService(const Arguments& arguments, const RequiredAPI& api);

/// Calls `action` when the loading has ended, in success or failure, maybe at once; not when `service` is
/// destroyed first. Names of types are looked up in `action`: before the loading has ended, each name would
/// request both lists for itself.
void onceLoaded(const std::shared_ptr<VelloraService>& service, std::function<void(VelloraService&)> action);

/// `vellora ids`: what the records of these ids are.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForIds(const Arguments& arguments,
                                                                const Session& session);

/// `vellora names`: what these object types look like.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForNames(const Arguments& arguments,
                                                                  const Session& session);

}  // namespace vellora::command

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "apps/vellora/Lookup.h"
#include "vellora/Host/RequiredAPI.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::command {

/// A façade on the session's host, on a queue of its own.
[[nodiscard]] std::shared_ptr<VelloraService> openService(const Arguments& arguments, const Session& session);

/// The same on any host.
[[nodiscard]] std::shared_ptr<VelloraService> openService(const Arguments& arguments, const RequiredAPI& api);

/// Looks object types up when the loading has ended, however it did: before that each name would send for
/// both lists by itself. Never answered when `service` is destroyed first.
void lookUpNamesOnceLoaded(const std::shared_ptr<VelloraService>& service,
                           const std::vector<std::string>& names,
                           VelloraService::PresentationCompletion completion);

/// `vellora ids`: what the records of these ids are.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForIds(const Arguments& arguments,
                                                                const Session& session);

/// `vellora names`: what these object types look like.
[[nodiscard]] Lookup<ObjectPresentationInfo> presentationForNames(const Arguments& arguments,
                                                                  const Session& session);

}  // namespace vellora::command

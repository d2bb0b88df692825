#include "apps/vellora/lookups/Presentation.h"

#include <utility>

#include "apps/vellora/command/TextTable.h"
#include "hostkit/StandardPlatformAPI.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora::command {

namespace {

std::string lists(const std::optional<PresentationInfo>& instance) {
  if (!instance) return {};
  return instance->labelPlural.value_or(instance->apiName()) + " (" + instance->apiName() + ")";
}

std::string textOf(const std::map<std::string, ObjectPresentationInfo>& infos, const Style& style) {
  if (infos.empty()) return {};
  TextTable table({"KEY", "LABEL", "PLURAL", "API NAME", "COLOUR", "CREATEABLE", "LISTS", "VECTOR ICON",
                   "SMALL ICON", "LARGE ICON"});
  for (const auto& [key, info] : infos) {
    const PresentationInfo& type = info.typePresentationInfo;
    const std::string color = type.color.value_or("");
    table.addRow({key, type.label.value_or(""), type.labelPlural.value_or(""), type.apiName(),
                  Cell(color, style.swatch(color)), type.createable ? "yes" : "no",
                  lists(info.instancePresentationInfo), type.svgIconUrl.value_or(""),
                  type.smallIconUrl.value_or(""), type.largeIconUrl.value_or("")});
  }
  return table.text("");
}

}  // namespace

std::shared_ptr<VelloraService> openService(const Arguments& arguments, const Session& session) {
  return openService(arguments, session.api());
}

std::shared_ptr<VelloraService> openService(const Arguments& arguments, const RequiredAPI& api) {
  return std::make_shared<VelloraService>(
      std::make_shared<hostkit::StandardPlatformAPI>(api.network, api.cache, api.logger),
      arguments.cacheTimeout, arguments.theme,
      std::make_shared<SerialDispatchQueue>(std::string(VelloraService::Constants::queueLabel),
                                            DispatchQoS::userInitiated));
}

Lookup<ObjectPresentationInfo> presentationForIds(const Arguments& arguments, const Session& session) {
  const auto start = [service = openService(arguments, session)](const auto& ids, auto completion) {
    service->objectPresentationInfoForIds(ids, std::move(completion));
  };
  // The lookup is silent when a step fails, but says in the log that it is over.
  return {"object type", start, textOf, "objectPresentationInfoForIdsOnceLoaded(_:completion:)"};
}

void onceLoaded(const std::shared_ptr<VelloraService>& service, std::function<void(VelloraService&)> action) {
  service->primerStateStream()
      .first([](const VelloraService::State& state) { return state != VelloraService::State::isLoading(); })
      .sink([weak = std::weak_ptr(service), action = std::move(action)](const auto&) {
        if (const auto loaded = weak.lock()) action(*loaded);
      })
      .detach();
}

Lookup<ObjectPresentationInfo> presentationForNames(const Arguments& arguments, const Session& session) {
  const auto start = [service = openService(arguments, session)](const auto& names, auto completion) {
    onceLoaded(service, [names, completion = std::move(completion)](VelloraService& loaded) {
      loaded.objectPresentationInfoForApiNames(names, completion);
    });
  };
  return {"object type", start, textOf};
}

}  // namespace vellora::command

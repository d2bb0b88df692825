// The façade's lookups of layouts, in a source of their own that is compiled for speed: a layout is decoded
// in so little time that what is done around it weighs, too.

#include <utility>

#include "vellora/Services/LayoutAnswer.h"
#include "vellora/Services/VelloraServiceImplementation.h"

namespace vellora {

void VelloraService::Implementation::objectLayoutInfoForApiNames(std::shared_ptr<Implementation> facade,
                                                                 const std::vector<std::string>& apiNames,
                                                                 LayoutCompletion completion) {
  services_.layouts->layoutForApiName(
      apiNames,
      [facade = std::move(facade), completion = std::move(completion)](auto infos, const auto& error) {
        completion(layoutAnswer(std::move(infos), error, *facade->logger_));
      });
}

void VelloraService::Implementation::objectCompactLayoutInfoForApiNames(
    std::shared_ptr<Implementation> facade, const std::vector<std::string>& apiNames,
    CompactLayoutCompletion completion) {
  services_.compactLayouts->compactLayoutForApiName(
      apiNames,
      [facade = std::move(facade), completion = std::move(completion)](auto infos, const auto& error) {
        completion(layoutAnswer(std::move(infos), error, *facade->logger_));
      });
}

}  // namespace vellora

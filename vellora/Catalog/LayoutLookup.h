#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Asked.h"
#include "vellora/Catalog/Reasons.h"
#include "vellora/Catalog/Session.h"
#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/EachLayout.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"

namespace vellora {

/// Finds the answer to `searchColumns` or `headlines`, which `service` of the session looks up.
template <class Layout, class Service>
void lookUpLayouts(const std::shared_ptr<const Session>& session, const std::shared_ptr<Service>& service,
                   const std::shared_ptr<detail::Asked<Layout>>& question,
                   const std::shared_ptr<const std::vector<std::string>>& names, Source source) {
  const auto onFound = [question, source](LayoutResult<Layout>&& found) {
    question->write([found = std::move(found), source](auto& sheet) mutable {
      if (!found.value) return sheet.missed(found.key, missingFor(found.value.error(), source));
      auto& layout = found.value.value();
      if (!layout) return sheet.missed(found.key, Missing(Missing::Why::unknown));
      if (layout->reason) sheet.trouble(Failure(*layout->reason));
      sheet.found(found.key, std::move(layout->layout), {layout->fetched, layout->isExpired});
    });
  };
  question->keep(service->eachLayout(names, source, session->refreshed(), question->fetching())
                     .sink(onFound, failing(question)));
}

/// Adds to what the cache has the layouts that have come, but wait for their name fields, as they are.
inline void addArrived(const CompactLayoutDataService& service, Answer<ObjectCompactLayoutInfo>& cached) {
  std::erase_if(cached.missing, [&](const auto& missing) {
    auto layout = service.arrived(missing.first);
    if (!layout) return false;
    cached.otherAges.insert_or_assign(missing.first, Age{layout->fetched, layout->isExpired});
    cached.found.insert_or_assign(missing.first, std::move(layout->layout));
    return true;
  });
}

}  // namespace vellora

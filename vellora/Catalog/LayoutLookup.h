#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "vellora/Catalog/Asked.h"
#include "vellora/Catalog/Reasons.h"
#include "vellora/Catalog/Session.h"
#include "vellora/DataServices/EachLayout.h"
#include "vellora/DataServices/Source.h"

namespace vellora {

/// Finds the answer to `searchColumns` or `headlines`, which `service` of the session looks up.
template <class Layout, class Service>
void lookUpLayouts(const std::shared_ptr<const Session>& session, const std::shared_ptr<Service>& service,
                   const std::shared_ptr<detail::Asked<Layout>>& question, std::vector<std::string> names,
                   Source source) {
  const auto onFound = [question, source](LayoutResult<Layout> found) {
    question->write([found = std::move(found), source](auto& sheet) mutable {
      if (!found.value) return sheet.missed(found.key, missingFor(found.value.error(), source));
      auto& layout = found.value.value();
      if (!layout) return sheet.missed(found.key, Missing(Missing::Why::unknown));
      if (layout->reason) sheet.trouble(Failure(*layout->reason));
      sheet.found(found.key, std::move(layout->layout), {layout->fetched, layout->isExpired});
    });
  };
  question->keep(service->eachLayout(std::move(names), source, session->refreshed(), question->fetching())
                     .sink(onFound, failing(question)));
}

}  // namespace vellora

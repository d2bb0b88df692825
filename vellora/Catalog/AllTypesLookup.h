#pragma once

#include <memory>
#include <string>

#include "vellora/Catalog/Asked.h"
#include "vellora/Catalog/Session.h"
#include "vellora/Catalog/TypeFilter.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Models/ObjectPresentationInfo.h"

namespace vellora {

/// Finds the answer to `allTypes`: prepares both lists, and pairs the types that a filter admits with their
/// theme entries. It reads the lists alone, no row of a single item.
///
/// Ownership: a plain value, which each step of the pipeline holds.
struct AllTypesLookup {
  using AskedPtr = std::shared_ptr<detail::Asked<ObjectPresentationInfo>>;

  std::shared_ptr<const Session> session;
  AskedPtr question;
  TypeFilter filter;
  std::string theme;
  Source source;

  void start() const;
};

}  // namespace vellora

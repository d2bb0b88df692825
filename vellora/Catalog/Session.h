#pragma once

#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "vellora/Catalog/Lists.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/DataServices/MetadataServices.h"
#include "vellora/Platform/Publishers/Published.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora {

/// What a catalogue works with from one `forget` to the next.
///
/// Ownership: shared by the catalogue and the questions that are open.
///
/// Threads: safe to use from several threads at once.
class Session {
 public:
  Session(MetadataServices shared, Published<Readiness> readiness)
      : services(std::move(shared)), lists(services, std::move(readiness)) {}

  const MetadataServices services;
  const Lists lists;

  /// Its end gives the open questions up.
  const SubscriptionScope questions;

  /// Layouts that are older count as missing; absent before the first refresh.
  [[nodiscard]] std::optional<Date> refreshed() const {
    const double seconds = refreshed_;
    return std::isnan(seconds) ? std::nullopt : std::optional(Date::sinceReferenceDate(seconds));
  }
  void noteRefresh() { refreshed_ = now().secondsSinceReferenceDate(); }

 private:
  std::atomic<double> refreshed_ = std::numeric_limits<double>::quiet_NaN();
};

}  // namespace vellora

#pragma once

#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "vellora/Catalog/Lists.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/Catalog/SessionReadiness.h"
#include "vellora/DataServices/MetadataServices.h"
#include "vellora/Platform/Publishers/Published.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora {

/// What a catalogue works with from one `forget` to the next.
///
/// Ownership: shared by the catalogue and the questions that are open. Whoever lets go of it last lets go of
/// the services, which then shorten the cache's tables: that may be the thread of the deadlines.
///
/// Threads: safe to use from several threads at once.
class Session {
 public:
  Session(MetadataServices shared, Published<Readiness> published)
      : services(std::move(shared)), readiness(std::move(published), gate), lists(services, readiness) {}

  const MetadataServices services;

  /// Lets through what is written into the cache, and what is said of the readiness.
  const std::shared_ptr<CallbackGate> gate = std::make_shared<CallbackGate>();

  const SessionReadiness readiness;
  const Lists lists;

  /// Its end gives the open questions up.
  const SubscriptionScope questions;

  /// Gives the open questions up, and sees to it that nothing more is written for any. It waits for what is
  /// just being written.
  void end() const;

  /// Deletes what was written for any question, and what the same services wrote for others. Throws
  /// `std::bad_alloc`, after it has deleted what it could.
  void purge() const;

  /// The moment of the last refresh: layouts that were fetched before it count as missing. Absent before the
  /// first one, and when the clock was set back since.
  [[nodiscard]] std::optional<Date> refreshed() const {
    const double seconds = refreshed_;
    // With a clock that was set back, new layouts would be dated before it.
    if (std::isnan(seconds) || seconds > now().secondsSinceReferenceDate()) return std::nullopt;
    return Date::sinceReferenceDate(seconds);
  }
  void noteRefresh() { refreshed_ = now().secondsSinceReferenceDate(); }

 private:
  std::atomic<double> refreshed_ = std::numeric_limits<double>::quiet_NaN();
};

}  // namespace vellora

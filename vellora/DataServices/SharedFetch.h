#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "vellora/DataServices/Requester.h"
#include "vellora/Platform/Publishers/Later.h"
#include "vellora/Platform/Publishers/Lease.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SharedRuns.h"
#include "vellora/Platform/Queues/BoundedQueue.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// What `start(fetching)` yields: one value, or a failure, after which it is started again as often as the
/// requester says. It goes on on the queue of the lookups then. Each attempt, and each pause, is a sign of
/// life of the fetch that this is part of.
template <class T, class Start>
[[nodiscard]] Publisher<T> retried(const Fetching& fetching, Start start) {
  if (fetching.lease) fetching.lease->renew();
  if (!fetching.requester) return start(fetching);
  return start(fetching).results().flatMap([fetching, start](Result<T>&& result) -> Publisher<T> {
    if (result) return Publisher<T>::just(std::move(result).value());
    const auto pause = fetching.requester->pauseAfter(fetching.attempt, result.error());
    if (!pause) return Publisher<T>::fail(result.error());
    if (fetching.lease) fetching.lease->renew(*pause);
    const Fetching next{fetching.requester, fetching.attempt + 1, fetching.lease};
    return later(next.requester->timer(), *pause)
        .receive(BoundedQueue::lookups())
        .flatMap([next, start](std::monostate) { return retried<T>(next, start); });
  });
}

/// The key under which a fetch is shared: `key`, and the gate through which its requester writes into the
/// cache. Catalogues with gates of their own share no fetch: when one closes its gate, the other's answer
/// must still be cached.
[[nodiscard]] inline std::string keyOfFetch(std::string key, const Fetching& fetching) {
  if (!fetching.requester) return key;
  return std::move(key) + ' ' + std::to_string(std::hash<const void*>()(&fetching.requester->writes()));
}

/// Joins what is fetched under `key`, or starts it. All who share a fetch share its attempts: the requester
/// of who came first decides on them. A fetch that nothing was heard of for as long as its lease lasts is not
/// joined any more: the host may have dropped it.
template <class T, class Start>
[[nodiscard]] Publisher<T> sharedFetch(const SharedRuns<T>& runs, std::string key, const Fetching& fetching,
                                       Start start) {
  const auto lease =
      fetching.requester ? std::make_shared<Lease>(fetching.requester->timer()) : std::shared_ptr<Lease>();
  const auto begin = [own = Fetching{fetching.requester, fetching.attempt, lease}, start = std::move(start)] {
    return retried<T>(own, start);
  };
  auto run = runs.joined(keyOfFetch(std::move(key), fetching), begin, lease);
  if (!fetching.requester) return run;
  return run.map([requester = fetching.requester](T&& value) {
    requester->served();
    return std::move(value);
  });
}

}  // namespace vellora

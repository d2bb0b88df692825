#pragma once

#include <memory>
#include <utility>
#include <variant>

#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Link.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora {

/// A producer of one value, which says nothing but that `delay` has passed since the subscription. It yields
/// on the thread of `timer`, which must not be kept, so go on to a queue:
///
///     later(timer, std::chrono::seconds(2)).receive(queue).flatMap([](auto) { return fetchedTypes(); })
///
/// Cancelling takes the work off the timer.
[[nodiscard]] inline Publisher<std::monostate> later(std::shared_ptr<TimedQueue> timer,
                                                     TimedQueue::Delay delay) {
  using Passed = std::monostate;
  return Publisher<Passed>(
      detail::recipe([timer = std::move(timer), delay](detail::Handle<detail::Receiver> to,
                                                       const SubscriptionScope& scope, detail::Use) {
        const auto link = detail::Link::make(std::move(to), scope);
        const auto alarm = timer->after(delay, [link] {
          Passed passed;
          link->receive(&passed);
          link->complete({});
        });
        scope.add([timer, alarm] { timer->cancel(alarm); });
      }));
}

}  // namespace vellora

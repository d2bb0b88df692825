#pragma once

#include <utility>

#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Source.h"

namespace vellora {

/// A producer of the values that `body(yield)` hands to `yield` one by one, on the subscribing thread, then
/// of those of `rest`, which is started when `body` has returned. Unlike `Publisher::sequence` it has no list
/// of them, and moves each. `yield` returns false when nobody listens any more:
///
///     generated<Theme>([names](const auto& yield) {
///       for (const auto& name : names) {
///         if (!yield(read(name))) return;
///       }
///     })
///
/// `body` runs at each subscription. All subscriptions share it, so it must not change what it holds.
template <class T, class Body>
[[nodiscard]] Publisher<T> generated(Body body, Publisher<T> rest = Publisher<T>::sequence({})) {
  return Publisher<T>(
      detail::source<T>([body = std::move(body), rest = std::move(rest)](
                            Observer<T> to, const SubscriptionScope& scope, detail::Use use) mutable {
        std::as_const(body)([&](T value) {
          if (scope.isActive()) to.receive(std::move(value));
          return scope.isActive();
        });
        if (scope.isActive())
          detail::start(detail::taken(rest, use).takeSource(), std::move(to).receiver(), scope);
      }));
}

}  // namespace vellora

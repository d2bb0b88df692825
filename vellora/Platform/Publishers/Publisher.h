#pragma once

#include <concepts>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/Cancellables.h"
#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Hops.h"
#include "vellora/Platform/Publishers/detail/Joint.h"
#include "vellora/Platform/Publishers/detail/Latest.h"
#include "vellora/Platform/Publishers/detail/QueuedStart.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Publishers/detail/Step.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Attempt.h"
#include "vellora/Platform/Values/OutOfMemory.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// An asynchronous producer of values of `T`, which ends once, normally or with an error.
///
/// A publisher is a recipe: it says what is to be done, and nothing happens before `sink` starts it. The one
/// exception is the body of `promise`, which runs when the publisher is built. An example:
///
///     AnyCancellable token = Publisher<std::string>::sequence({"Account", "Order"})
///                                .receive(queue)
///                                .flatMap([](std::string name) { return themeNamed(std::move(name)); })
///                                .collect()
///                                .sink([](const std::vector<Theme>& themes) { show(themes); },
///                                      [](const Completion& error) { if (error) report(*error); });
///
/// The asynchronous contract holds for every producer and every step in the library:
///
/// 1. Thread: a step delivers on the thread on which the step before it delivers. Only `receive` moves
///    values to a queue, and only `subscribe` moves the start.
/// 2. Number: a subscriber is called one call at a time: any number of values, then exactly one completion.
/// 3. Cancelling: `sink` returns a token. Cancelling or dropping it, also from inside a handler, silences
///    what has not begun. What another thread has begun to deliver still comes: nobody waits for it, so its
///    handler may run, or be about to, when the cancelling call has returned.
/// 4. Release: after the end, the failure or the cancellation, a pipeline has let go of its closures and of
///    its upstream.
/// 5. Memory: a step that gets no memory fails its pipeline with `OutOfMemory`, as far as there is memory to
///    tell. `sink` itself throws `std::bad_alloc`; then nothing is delivered.
///
/// "Upstream" is the producer in front of a step, "downstream" what stands behind it.
///
/// Ownership: copies share the recipe. A running pipeline is owned by what it waits for (a pending promise,
/// queued work, an observed property), not by its token.
///
/// Threads: a recipe does not change. It may be subscribed to from several threads at once.
///
/// Errors: they are values, and come with the completion. A step's closure may throw `std::bad_alloc`, which
/// the fifth point covers, and nothing else. The handlers of `sink` must not throw.
template <class T>
class Publisher {
 public:
  /// What it yields.
  using Value = T;

  /// Yields `value` at once, on the subscribing thread, then ends.
  [[nodiscard]] static Publisher just(T value) {
    return startedBy([value = std::move(value)](const Observer<T>& to, const auto& scope, Use use) mutable {
      if (!scope.isActive()) return;
      to.receive(detail::taken(value, use));
      if (scope.isActive()) to.complete({});
    });
  }

  /// Fails at once with `error`, on the subscribing thread.
  [[nodiscard]] static Publisher fail(Error error) {
    return startedBy([error = std::move(error)](const Observer<T>& to, const auto& /*scope*/, Use) {
      to.complete(error);
    });
  }

  /// Yields the elements of `values` at once, in their order, on the subscribing thread, then ends.
  [[nodiscard]] static Publisher sequence(std::vector<T> values) {
    return startedBy([values = std::move(values)](const Observer<T>& to, const auto& scope, Use) {
      for (const auto& value : values) {
        if (!scope.isActive()) return;
        to.receive(value);
      }
      if (scope.isActive()) to.complete({});
    });
  }

  /// Runs `body` once, now, with the promise to resolve. Every subscriber gets the first result, also one
  /// that comes when it is long there. This is the way from a callback to a publisher:
  ///
  ///     const auto loaded = Publisher<Data>::promise([&](const Promise<Data>& promise) {
  ///       load([promise](Data data) { promise.succeed(std::move(data)); });
  ///     });
  ///
  /// Here `load` is called once and at once. Inside `deferred` it would be called at each subscription.
  template <class F>
  requires std::is_invocable_v<F&, Promise<T>>
  [[nodiscard]] static Publisher promise(F body) {
    Promise<T> promise;
    body(promise);
    return Publisher(promise.source_);
  }

  /// The producer of the result of `promise`, for who keeps the promise to resolve it later.
  [[nodiscard]] static Publisher ofPromise(const Promise<T>& promise) { return Publisher(promise.source_); }

  /// Runs `body` at each subscription, on the subscribing thread. The producer that it returns is the one
  /// that is subscribed to. All subscriptions share the one `body`, whereas they have copies of a step's
  /// closure.
  template <class F>
  requires std::is_invocable_r_v<Publisher, F&>
  [[nodiscard]] static Publisher deferred(F body) {
    return startedBy([body = std::move(body)](Observer<T> to, const auto& scope, Use) mutable {
      detail::start(Publisher(body()).takeSource(), std::move(to).receiver(), scope);
    });
  }

  /// Passes each value through `transform`, and the end as it is. The publisher that this returns yields what
  /// `transform` returns:
  ///
  ///     names.map([](std::string name) { return name.size(); })  // a Publisher<std::size_t>
  template <class F>
  [[nodiscard]] auto map(F transform) const {
    using U = std::remove_cvref_t<std::invoke_result_t<F&, T>>;
    struct Mapping {
      F transform;
      void receive(const detail::Downstream<U>& to, T&& value) { to.receive(transform(std::move(value))); }
    };
    return Publisher<U>(detail::behind<T, U>(source_, Mapping{std::move(transform)}));
  }

  /// Passes each value through `transform`, which returns a `Result`. The first error among the results
  /// cancels upstream and is the end; `transform` is not called again.
  ///
  ///     texts.tryMap(json::decodeOnce<Theme>)  // a Publisher<Theme>, which fails at a text that is none
  template <class F>
  [[nodiscard]] auto tryMap(F transform) const {
    using U = typename std::remove_cvref_t<std::invoke_result_t<F&, T>>::Value;
    struct Trying {
      F transform;
      bool failed = false;

      void receive(const detail::Downstream<U>& to, T&& value) {
        if (failed) return;
        Result<U> result = transform(std::move(value));
        if (result) return to.receive(std::move(result).value());
        failed = true;
        to.scope().end();
        to.complete(result.error());
      }
      void complete(const detail::Downstream<U>& to, Completion&& completion) const {
        if (!failed) to.complete(std::move(completion));
      }
    };
    return Publisher<U>(detail::behind<T, U, detail::StepLife::own>(source_, Trying{std::move(transform)}));
  }

  /// Passes on the first value that `admits`, then cancels upstream and ends. Of an upstream that ends
  /// without such a value it passes on only the end, which may be a failure.
  template <class P>
  requires std::predicate<P&, const T&>
  [[nodiscard]] Publisher first(P admits) const {
    struct Finding {
      P admits;

      void receive(const detail::Downstream<T>& to, T&& value) {
        if (!to.scope().isActive() || !admits(std::as_const(value))) return;
        to.scope().end();
        to.receive(std::move(value));
        if (to.outer().isActive()) to.complete({});
      }
      void complete(const detail::Downstream<T>& to, Completion&& completion) const {
        if (to.scope().end()) to.complete(std::move(completion));
      }
    };
    return Publisher(detail::behind<T, T, detail::StepLife::own>(source_, Finding{std::move(admits)}));
  }

  /// Replaces the error of a failure by what `transform` makes of it. When there is no memory for that, the
  /// error goes on as it is.
  template <class F>
  requires std::is_invocable_v<F&, Error>
  [[nodiscard]] Publisher mapError(F transform) const {
    struct Mapping {
      F transform;

      void receive(const detail::Downstream<T>& to, T&& value) const { to.receive(std::move(value)); }
      void complete(const detail::Downstream<T>& to, Completion&& completion) {
        if (completion) detail::hadMemoryFor([&] { completion = Error(transform(*completion)); });
        to.complete(std::move(completion));
      }
    };
    return Publisher(detail::behind<T, T>(source_, Mapping{std::move(transform)}));
  }

  /// Passes each value on as a success, and a failure as one more value before a normal end. For who starts
  /// several producers, none of which is to take the others with it when it fails.
  [[nodiscard]] Publisher<Result<T>> results() const {
    using Downstream = detail::Downstream<Result<T>>;
    struct Wrapping {
      void receive(const Downstream& to, T&& value) const { to.receive(Result<T>(std::move(value))); }
      void complete(const Downstream& to, Completion&& completion) const {
        const bool hadMemory = detail::hadMemoryFor([&] {
          if (completion) to.receive(Result<T>(*completion));
          completion.reset();
        });
        if (!hadMemory) completion = outOfMemory();
        if (to.scope().isActive()) to.complete(std::move(completion));
      }
    };
    return Publisher<Result<T>>(detail::behind<T, Result<T>>(source_, Wrapping()));
  }

  /// Starts the producer that `transform` returns for each value, at once and without a limit to their
  /// number, and passes on their values in the order in which they yield them. Ends when upstream and all of
  /// them have ended. The first failure of any is the end, and cancels the others.
  ///
  /// `transform` runs on the thread on which upstream delivers. The producers may yield on several threads at
  /// once. A value that comes while another is being passed on makes nobody wait: the thread that is passing
  /// values on takes it along.
  template <class F>
  [[nodiscard]] auto flatMap(F transform) const {
    using U = typename std::remove_cvref_t<std::invoke_result_t<F&, T>>::Value;
    struct Merging {
      F transform;

      void receive(const detail::Downstream<U>& to, T&& value) {
        if (!to.scope().isActive()) return;
        static_cast<detail::Joint&>(*to.receiver()).begin();
        detail::start(transform(std::move(value)).takeSource(), to.receiver(), to.scope());
      }
    };
    return Publisher<U>(
        detail::behind<T, U, detail::StepLife::joined>(source_, Merging{std::move(transform)}));
  }

  /// Waits for the end and yields all values as one list, in the order of their arrival. A failure is passed
  /// on alone.
  [[nodiscard]] Publisher<std::vector<T>> collect() const {
    using Downstream = detail::Downstream<std::vector<T>>;
    struct Collecting {
      std::vector<T> values;

      void receive(const Downstream& /*to*/, T&& value) { values.push_back(std::move(value)); }
      void complete(const Downstream& to, Completion&& completion) {
        if (!completion && !detail::hadMemoryFor([&] { to.receive(std::move(values)); })) {
          completion = outOfMemory();
        }
        if (to.scope().isActive()) to.complete(std::move(completion));
      }
    };
    return Publisher<std::vector<T>>(detail::behind<T, std::vector<T>>(source_, Collecting()));
  }

  /// Starts both, this one first. Yields a pair once both have yielded a value, and another at each newer
  /// value of either. Ends when both have ended; fails as soon as either fails. When one ends without a
  /// value, there is never a pair. The threads are as with `flatMap`.
  template <class U>
  [[nodiscard]] Publisher<std::pair<T, U>> combineLatest(const Publisher<U>& other) const {
    return Publisher<std::pair<T, U>>(detail::Latest<T, U>::of(source_, other.source()));
  }

  /// Delivers on `queue`: one hop for each value, and a separate one for the end. The order holds on a
  /// concurrent queue, too. What is still on its way when the subscription is cancelled is not delivered.
  [[nodiscard]] Publisher receive(std::shared_ptr<DispatchQueue> queue) const {
    return Publisher(detail::Hops::behind(source_, std::move(queue), detail::boxed<T>));
  }

  /// Starts and cancels on `queue`. Values come on the thread on which upstream yields them. A `promise`
  /// upstream has run its body already, where it was built.
  [[nodiscard]] Publisher subscribe(std::shared_ptr<DispatchQueue> queue) const {
    return Publisher(detail::startedOn(source_, std::move(queue)));
  }

  /// Starts the pipeline. `onValue` gets every value, then `onCompletion` the end: an error, or no value for
  /// a normal end. Both are called on the thread on which the last step delivers; with a producer that yields
  /// at once, inside this call.
  ///
  /// Returns the token. Keep it, since dropping it cancels; or `detach` it, for a pipeline that nobody needs
  /// to cancel. Throws `std::bad_alloc`.
  template <class V, class C>
  [[nodiscard]] AnyCancellable sink(V onValue, C onCompletion) const {
    return startIn(SubscriptionScope(), std::move(onValue), std::move(onCompletion));
  }

  /// The same without a handler for the end. An error is lost.
  template <class V>
  [[nodiscard]] AnyCancellable sink(V onValue) const {
    return sink(std::move(onValue), [](const Completion&) {});
  }

  /// The same for a subscription that belongs to `owner` from its start on, and needs no token: it is
  /// cancelled with its owner's others. Once those have been cancelled, nothing is started.
  template <class V, class C>
  void sink(const Cancellables& owner, V onValue, C onCompletion) const {
    const SubscriptionScope scope = owner.scope().child();
    if (scope.isActive()) startIn(scope, std::move(onValue), std::move(onCompletion)).detach();
  }

  /// For the library's own steps: the recipe behind this publisher. `takeSource` gives the handle away, so
  /// that a recipe that nobody else holds can give away what it consists of, rather than copies.
  explicit Publisher(detail::SourcePtr source) : source_(std::move(source)) {}
  [[nodiscard]] const detail::SourcePtr& source() const noexcept { return source_; }
  [[nodiscard]] detail::SourcePtr takeSource() && noexcept { return std::move(source_); }

 private:
  template <class U>
  friend class Publisher;

  using Use = detail::Use;

  /// Starts the pipeline, whose lifetime is `scope`. An end has begun once it has ended that: a cancellation
  /// comes too late for it.
  template <class V, class C>
  AnyCancellable startIn(const SubscriptionScope& scope, V onValue, C onCompletion) const {
    AnyCancellable token(scope);  // cancels what has begun when the rest gets no memory
    struct Handling {
      V onValue;
      C onCompletion;

      void receive(const detail::Downstream<T>& to, T&& value) {
        if (to.scope().isActive()) onValue(std::move(value));
      }
      void complete(const detail::Downstream<T>& to, Completion&& completion) {
        if (to.scope().end()) onCompletion(std::move(completion));
      }
    };
    auto handler =
        detail::step<T, T>({{}, scope, scope}, Handling{std::move(onValue), std::move(onCompletion)});
    detail::start(source_, std::move(handler), scope);
    return token;
  }

  /// The publisher that `begin(observer, scope, use)` starts.
  template <class Begin>
  static Publisher startedBy(Begin begin) {
    return Publisher(detail::source<T>(std::move(begin)));
  }

  detail::SourcePtr source_;
};

}  // namespace vellora

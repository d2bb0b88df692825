#pragma once

#include <concepts>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/detail/Combining.h"
#include "vellora/Platform/Publishers/detail/Scheduling.h"
#include "vellora/Platform/Publishers/detail/Sink.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Publishers/detail/Transforming.h"
#include "vellora/Platform/Queues/DispatchQueue.h"

namespace vellora {

template <class T>
class Publisher;

namespace detail {

template <class P>
struct PublishedBy;
template <class T>
struct PublishedBy<Publisher<T>> {
  using Value = T;
};

}  // namespace detail

/// An asynchronous producer of values of `T`, which ends once, normally or with an error.
///
/// The asynchronous contract, for every producer and step in the library:
/// 1. It delivers on the thread on which the step before it delivers; only `receive` moves values to a queue,
/// and
///    only `subscribe` moves the start.
/// 2. A subscriber is called one at a time: any number of values, then exactly one completion.
/// 3. Cancelling or dropping the token that `sink` returns, also from inside a handler, silences whatever has
/// not
///    begun; a handler already running on another thread finishes.
/// 4. After the end, the failure or the cancellation, a pipeline has let go of its closures and its upstream.
/// 5. A step that gets no memory fails its pipeline with `OutOfMemory`, as far as there is memory to tell.
/// `sink`
///    itself throws `std::bad_alloc`, and then nothing is delivered.
///
/// Nothing happens before `sink`, except that the body of `promise` runs when it is built.
///
/// Ownership: copies share the recipe. A running pipeline is owned by what it waits for (a pending promise,
/// queued work, an observed property), not by its token. Handlers must not throw. Threads: a recipe is
/// immutable; it may be subscribed to from several threads at once.
template <class T>
class Publisher {
 public:
  using Value = T;

  /// Yields `value` at once, then ends.
  [[nodiscard]] static Publisher just(T value) { return make<detail::JustSource<T>>(std::move(value)); }

  /// Fails at once with `error`.
  [[nodiscard]] static Publisher fail(Error error) { return make<detail::FailSource<T>>(std::move(error)); }

  /// Yields the elements of `values` in their order, then ends.
  [[nodiscard]] static Publisher sequence(std::vector<T> values) {
    return make<detail::SequenceSource<T>>(std::move(values));
  }

  /// Runs `body` once, now, with the promise to resolve. Every subscriber gets the first result, however
  /// late.
  template <class F>
  requires std::is_invocable_v<F&, Promise<T>>
  [[nodiscard]] static Publisher promise(F body) {
    Promise<T> promise;
    body(promise);
    return Publisher(promise.source_);
  }

  /// Runs `body` at each subscription, on the subscribing thread; the producer it returns is subscribed to.
  template <class F>
  requires std::is_invocable_r_v<Publisher, F&>
  [[nodiscard]] static Publisher deferred(F body) {
    return make<detail::DeferredSource<T>>([body = std::move(body)]() mutable { return body().source(); });
  }

  /// Passes each value through `transform`.
  template <class F>
  [[nodiscard]] auto map(F transform) const {
    using U = std::remove_cvref_t<std::invoke_result_t<F&, T>>;
    return Publisher<U>::template make<detail::MapSource<T, U, F>>(source_, std::move(transform));
  }

  /// Passes each value through `transform`, which returns a `Result`. Its first error cancels upstream and
  /// ends this with that error.
  template <class F>
  [[nodiscard]] auto tryMap(F transform) const {
    using U = typename std::remove_cvref_t<std::invoke_result_t<F&, T>>::Value;
    return Publisher<U>::template make<detail::TryMapSource<T, U, F>>(source_, std::move(transform));
  }

  /// Passes on the first value that `admits`, then cancels upstream and ends; of an upstream that ends
  /// without one, only the end.
  template <class P>
  requires std::predicate<P&, const T&>
  [[nodiscard]] Publisher first(P admits) const {
    return make<detail::FirstSource<T, P>>(source_, std::move(admits));
  }

  /// Replaces the error of a failure by what `transform` makes of it.
  template <class F>
  requires std::is_invocable_v<F&, Error>
  [[nodiscard]] Publisher mapError(F transform) const {
    return make<detail::MapErrorSource<T, F>>(source_, std::move(transform));
  }

  /// Starts the producer that `transform` returns for each value, without a limit, and passes on their values
  /// in the order in which they yield them. Ends when upstream and all of them have ended; the first failure
  /// of any cancels the others and is the end.
  template <class F>
  [[nodiscard]] auto flatMap(F transform) const {
    using U = typename detail::PublishedBy<std::remove_cvref_t<std::invoke_result_t<F&, T>>>::Value;
    return Publisher<U>::template make<detail::FlatMapSource<T, U, F>>(source_, std::move(transform));
  }

  /// Waits for the end and yields all values as one list, in the order of their arrival; a failure is passed
  /// on alone.
  [[nodiscard]] Publisher<std::vector<T>> collect() const {
    return Publisher<std::vector<T>>::template make<detail::CollectSource<T>>(source_);
  }

  /// Starts both, this one first, and yields a pair once both have yielded a value, and again at each newer
  /// value of either. Ends when both have ended; fails as soon as either fails.
  template <class U>
  [[nodiscard]] Publisher<std::pair<T, U>> combineLatest(const Publisher<U>& other) const {
    return pairedBy<detail::LatestPairs<T, U>>(other);
  }

  /// Starts both, this one first, and pairs their values in order. Ends when no further pair can come; fails
  /// as soon as either fails.
  template <class U>
  [[nodiscard]] Publisher<std::pair<T, U>> zip(const Publisher<U>& other) const {
    return pairedBy<detail::OrderedPairs<T, U>>(other);
  }

  /// Delivers on `queue`: one hop for each value, a separate one for the end.
  [[nodiscard]] Publisher receive(std::shared_ptr<DispatchQueue> queue) const {
    return make<detail::ReceiveOnSource<T>>(source_, std::move(queue));
  }

  /// Starts and cancels on `queue`. A `promise` upstream has run its body already, where it was built.
  [[nodiscard]] Publisher subscribe(std::shared_ptr<DispatchQueue> queue) const {
    return make<detail::SubscribeOnSource<T>>(source_, std::move(queue));
  }

  /// Starts the pipeline. `onValue` gets every value, then `onCompletion` the end: an error, or no value for
  /// a normal end. Returns the token; dropping it cancels.
  template <class V, class C>
  [[nodiscard]] AnyCancellable sink(V onValue, C onCompletion) const {
    const SubscriptionScope scope;
    AnyCancellable token(scope);  // cancels what has begun when the rest gets no memory
    source_->subscribe(
        std::make_shared<detail::SinkObserver<T, V, C>>(scope, std::move(onValue), std::move(onCompletion)),
        scope);
    return token;
  }

  /// As above, for who does not ask how it ended.
  template <class V>
  [[nodiscard]] AnyCancellable sink(V onValue) const {
    return sink(std::move(onValue), [](const Completion&) {});
  }

  explicit Publisher(detail::SourcePtr<T> source) : source_(std::move(source)) {}
  [[nodiscard]] const detail::SourcePtr<T>& source() const noexcept { return source_; }
  [[nodiscard]] detail::SourcePtr<T> takeSource() && noexcept { return std::move(source_); }

 private:
  template <class U>
  friend class Publisher;

  template <class S, class... Args>
  static Publisher make(Args&&... args) {
    return Publisher(std::make_shared<S>(std::forward<Args>(args)...));
  }

  template <class Pairs, class U>
  Publisher<std::pair<T, U>> pairedBy(const Publisher<U>& other) const {
    return Publisher<std::pair<T, U>>::template make<detail::PairSource<T, U, Pairs>>(source_,
                                                                                      other.source());
  }

  detail::SourcePtr<T> source_;
};

}  // namespace vellora

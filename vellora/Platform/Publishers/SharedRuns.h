#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/Lease.h"
#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Values/Attempt.h"
#include "vellora/Platform/Values/OutOfMemory.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// Producers that run at most once at a time under a key: who comes while one runs shares it, and gets its
/// value or its error. Who comes later starts another. When nobody waits for a run any more, it is cancelled.
///
///     const auto types = fetches.joined("types", [] { return fetchedTypes(); });
///     const auto same = fetches.joined("types", [] { return fetchedTypes(); });
///     // subscribed to at the same time, both wait for one fetch
///
/// A run may have a lease. Once that is over nobody joins it: the next to come starts another. Those who wait
/// for the first get what comes first, from either.
///
/// `T` is copied for each who waits, so let it be something small, such as a shared handle.
///
/// Ownership: a run under way lives with what it waits for, and holds who waits. It lasts when this object is
/// destroyed before it ends.
///
/// Threads: safe to use from several threads at once; starts, delivers and cancels with no lock held.
///
/// Errors: subscribing throws `std::bad_alloc`. Whoever has joined the run meanwhile gets `OutOfMemory`.
template <class T>
class SharedRuns {
 public:
  SharedRuns() = default;
  SharedRuns(const SharedRuns&) = delete;
  SharedRuns& operator=(const SharedRuns&) = delete;

  /// A producer of one value. Subscribing joins the run under `key`; if there is none, it starts the producer
  /// that `start` makes, which yields one value or fails. A run that it starts may be joined as long as
  /// `lease` lasts; without one, always.
  template <class Start>
  [[nodiscard]] Publisher<T> joined(std::string key, Start start,
                                    std::shared_ptr<const Lease> lease = nullptr) const {
    return Publisher<T>(detail::recipe(
        [runs = runs_, key = std::move(key), start = std::move(start), lease = std::move(lease)](
            detail::Handle<detail::Receiver> to, const SubscriptionScope& scope, detail::Use) {
          const auto entered = enter(*runs, key, lease);
          const RunPtr& run = entered.first;
          const bool isNew = entered.second;
          detail::runOrUndo([&] { wait(runs, run, std::move(to), scope); },
                            [&] {
                              if (isNew) resolve(runs, run, outOfMemory());
                            });
          if (isNew && runs->isAwaited(*run)) begin(runs, run, start);
        }));
  }

 private:
  struct Run {
    Run(std::string name, std::shared_ptr<const Lease> until)
        : key(std::move(name)), lease(std::move(until)) {}

    const std::string key;
    const std::shared_ptr<const Lease> lease;
    const Promise<T> promise;
    const Publisher<T> result = Publisher<T>::ofPromise(promise);
    // Under the mutex of `Runs`.
    // The run that this one replaced because its lease was over. It is kept while somebody waits for it,
    // since nothing else may hold it.
    std::shared_ptr<Run> before;
    std::size_t waiting = 0;
    AnyCancellable token;
  };
  using RunPtr = std::shared_ptr<Run>;

  class Runs {
   public:
    [[nodiscard]] RunPtr underWay(const std::string& key) {
      const std::lock_guard lock(mutex_);
      const auto found = underWay_.find(key);
      return found == underWay_.end() ? nullptr : found->second;
    }

    /// Joins the run under way, unless that is `lost`; then, or when there is none, `made` takes its place.
    std::pair<RunPtr, bool> enter(const RunPtr& lost, const RunPtr& made) {
      const std::lock_guard lock(mutex_);
      auto& run = underWay_.try_emplace(made->key, made).first->second;
      if (run == lost) {
        if (run->waiting > 0) made->before = run;
        run = made;
      }
      ++run->waiting;
      return {run, run == made};
    }

    void leave(Run& run) {
      AnyCancellable dropped;  // cancelled outside the lock
      RunPtr forgotten;        // destroyed outside the lock
      const std::lock_guard lock(mutex_);
      if (--run.waiting > 0) return;
      dropped.swap(run.token);
      forgotten = forget(run);
    }

    [[nodiscard]] bool isAwaited(const Run& run) {
      const std::lock_guard lock(mutex_);
      return run.waiting > 0;
    }

    /// Keeps the token of a run that somebody waits for. Any other is cancelled when the call has returned,
    /// outside the lock.
    void keep(Run& run, AnyCancellable& token) {
      const std::lock_guard lock(mutex_);
      if (run.waiting > 0) run.token.swap(token);
    }

    /// Takes the run off the list. Gives back the one in whose place it came.
    RunPtr end(Run& run) {
      RunPtr forgotten;
      const std::lock_guard lock(mutex_);
      forgotten = forget(run);
      return std::exchange(run.before, nullptr);
    }

   private:
    RunPtr forget(const Run& run) {
      const auto found = underWay_.find(run.key);
      if (found == underWay_.end() || found->second.get() != &run) return nullptr;
      auto forgotten = std::move(found->second);
      underWay_.erase(found);
      return forgotten;
    }

    std::mutex mutex_;
    std::map<std::string, RunPtr> underWay_;  // under mutex_
  };
  using RunsPtr = std::shared_ptr<Runs>;

  static std::pair<RunPtr, bool> enter(Runs& runs, const std::string& key,
                                       const std::shared_ptr<const Lease>& lease) {
    const auto current = runs.underWay(key);
    const bool isLost = current && current->lease && current->lease->isOver();  // asks with no lock held
    return runs.enter(isLost ? current : nullptr, std::make_shared<Run>(key, lease));
  }

  /// Has `to` wait for `run` until `scope` ends.
  static void wait(const RunsPtr& runs, const RunPtr& run, detail::Handle<detail::Receiver> to,
                   const SubscriptionScope& scope) {
    detail::runOrUndo(
        [&] {
          scope.add([weak = std::weak_ptr<Runs>(runs), run = std::weak_ptr<Run>(run)] {
            const auto left = run.lock();
            const auto all = weak.lock();
            if (left && all) all->leave(*left);
          });
        },
        [&] { runs->leave(*run); });
    detail::start(run->result.source(), std::move(to), scope);
  }

  template <class Start>
  static void begin(const RunsPtr& runs, const RunPtr& run, const Start& start) {
    const auto ended = [runs = std::weak_ptr<Runs>(runs), run](Result<T> result) {
      resolve(runs.lock(), run, std::move(result));
    };
    const bool hadMemory = detail::hadMemoryFor([&] {
      AnyCancellable token = start().results().sink(ended);
      runs->keep(*run, token);
    });
    if (!hadMemory) ended(outOfMemory());
  }

  /// Ends `run`, and those in whose place it has come.
  static void resolve(const RunsPtr& runs, const RunPtr& run, Result<T> result) {
    if (const auto before = runs ? runs->end(*run) : nullptr) {
      if (!detail::hadMemoryFor([&] { resolve(runs, before, result); })) {
        resolve(runs, before, outOfMemory());
      }
    }
    run->promise.resolve(std::move(result));
  }

  const RunsPtr runs_ = std::make_shared<Runs>();
};

}  // namespace vellora

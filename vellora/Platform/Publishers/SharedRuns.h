#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <utility>

#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/Publisher.h"
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
/// `T` is copied for each who waits, so let it be something small, such as a shared handle.
///
/// Ownership: a run under way lives with what it waits for, and holds who waits. It lasts when this object is
/// destroyed before it ends.
///
/// Threads: safe to use from several threads at once; starts, delivers and cancels with no lock held.
template <class T>
class SharedRuns {
 public:
  SharedRuns() = default;
  SharedRuns(const SharedRuns&) = delete;
  SharedRuns& operator=(const SharedRuns&) = delete;

  /// A producer of one value. Subscribing joins the run under `key`; if there is none, it starts the producer
  /// that `start` makes, which yields one value or fails.
  template <class Start>
  [[nodiscard]] Publisher<T> joined(std::string key, Start start) const {
    return Publisher<T>(detail::source<T>([runs = runs_, key = std::move(key), start = std::move(start)](
                                              auto to, const SubscriptionScope& scope, detail::Use) {
      const auto [run, isNew] = runs->enter(key);
      scope.add([weak = std::weak_ptr<Runs>(runs), run = std::weak_ptr<Run>(run)] {
        const auto left = run.lock();
        const auto all = weak.lock();
        if (left && all) all->leave(*left);
      });
      detail::start<T>(run->result.source(), std::move(to), scope);
      if (isNew) begin(runs, run, start);
    }));
  }

 private:
  struct Run {
    explicit Run(std::string name) : key(std::move(name)) {}

    const std::string key;
    const Promise<T> promise;
    const Publisher<T> result = Publisher<T>::ofPromise(promise);
    // Under the mutex of `Runs`.
    std::size_t waiting = 0;
    AnyCancellable token;
  };

  class Runs {
   public:
    std::pair<std::shared_ptr<Run>, bool> enter(const std::string& key) {
      const std::lock_guard lock(mutex_);
      auto& run = underWay_[key];
      const bool isNew = !run;
      if (isNew) run = std::make_shared<Run>(key);
      ++run->waiting;
      return {run, isNew};
    }

    void leave(Run& run) {
      AnyCancellable dropped;          // cancelled outside the lock
      std::shared_ptr<Run> forgotten;  // destroyed outside the lock
      const std::lock_guard lock(mutex_);
      if (--run.waiting > 0) return;
      dropped.swap(run.token);
      forgotten = forget(run);
    }

    void keep(Run& run, AnyCancellable token) {
      const std::lock_guard lock(mutex_);
      if (run.waiting > 0) run.token.swap(token);
    }  // a token that nobody needs any more is cancelled behind the lock

    void end(Run& run) {
      std::shared_ptr<Run> forgotten;
      const std::lock_guard lock(mutex_);
      forgotten = forget(run);
    }

   private:
    std::shared_ptr<Run> forget(const Run& run) {
      const auto found = underWay_.find(run.key);
      if (found == underWay_.end() || found->second.get() != &run) return nullptr;
      auto forgotten = std::move(found->second);
      underWay_.erase(found);
      return forgotten;
    }

    std::mutex mutex_;
    std::map<std::string, std::shared_ptr<Run>> underWay_;  // under mutex_
  };

  template <class Start>
  static void begin(const std::shared_ptr<Runs>& runs, const std::shared_ptr<Run>& run, const Start& start) {
    const auto ended = [runs = std::weak_ptr<Runs>(runs), run](Result<T> result) {
      if (const auto all = runs.lock()) all->end(*run);
      run->promise.resolve(std::move(result));
    };
    try {
      runs->keep(*run, start().results().sink(ended));
    } catch (const std::bad_alloc&) {
      ended(outOfMemory());
    }
  }

  const std::shared_ptr<Runs> runs_ = std::make_shared<Runs>();
};

}  // namespace vellora

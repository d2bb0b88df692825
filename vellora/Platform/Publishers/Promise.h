#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/detail/Link.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

namespace detail {

/// The one result of a promise and those who wait for it.
template <class T>
class PromiseSource final : public Source<T> {
 public:
  void resolve(Result<T> result) {
    std::vector<std::shared_ptr<Link<T>>> waiting;
    {
      const std::lock_guard lock(mutex_);
      if (result_) return;
      result_.emplace(std::move(result));
      waiting.swap(waiting_);
    }
    for (const auto& link : waiting) deliver(*link);
  }

  void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) const override {
    const auto link = Link<T>::make(std::move(observer), scope);
    {
      const std::lock_guard lock(mutex_);
      if (!result_) {
        waiting_.push_back(link);
        return;
      }
    }
    deliver(*link);
  }

 private:
  void deliver(Link<T>& link) const {  // the result is constant once it is there
    if (result_->hasValue()) {
      link.receive(result_->value());
      link.complete({});
    } else {
      link.complete(result_->error());
    }
  }

  mutable std::mutex mutex_;
  std::optional<Result<T>> result_;
  mutable std::vector<std::shared_ptr<Link<T>>> waiting_;
};

}  // namespace detail

/// The giving end of a one-shot producer (`Publisher::promise`): the first result is remembered, later ones
/// are ignored.
///
/// Ownership: copies share the promise; whoever holds one keeps its waiting subscribers' pipelines alive.
/// Threads: safe to use from several threads at once. Subscribers that wait are delivered to on the thread
/// that resolves; one that comes later, on its own.
template <class T>
class Promise {
 public:
  Promise() : source_(std::make_shared<detail::PromiseSource<T>>()) {}

  void succeed(T value) const { source_->resolve(std::move(value)); }
  void fail(Error error) const { source_->resolve(std::move(error)); }
  void resolve(Result<T> result) const { source_->resolve(std::move(result)); }

 private:
  template <class U>
  friend class Publisher;

  std::shared_ptr<detail::PromiseSource<T>> source_;
};

}  // namespace vellora

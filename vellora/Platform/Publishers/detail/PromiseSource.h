#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/detail/Link.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::detail {

/// The one result of a promise and those who wait for it.
///
/// Ownership: it owns the way down to those who wait, through their links. The copies of the promise own it.
///
/// Threads: safe to use from several threads at once. It delivers with no lock held: to those who wait on the
/// thread that resolves, to one who comes later on its own.
template <class T>
class PromiseSource final : public Source<T> {
 public:
  /// Keeps the first result and delivers it to those who wait. Later ones are ignored.
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

  /// Delivers the result, at once or when it comes.
  void start(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope, Use) override {
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
  /// Delivers the result, which is constant once it is there: hence no lock.
  void deliver(Link<T>& link) const {
    if (result_->hasValue()) {
      link.receive(result_->value());
      link.complete({});
    } else {
      link.complete(result_->error());
    }
  }

  std::mutex mutex_;
  std::optional<Result<T>> result_;
  std::vector<std::shared_ptr<Link<T>>> waiting_;
};

}  // namespace vellora::detail

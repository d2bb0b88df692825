#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Publishers/detail/Counted.h"
#include "vellora/Platform/Publishers/detail/Link.h"
#include "vellora/Platform/Publishers/detail/Receiver.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::detail {

/// Those who wait for the one result of a promise, whatever its type.
///
/// Ownership: it owns the way down to those who wait, through their links. The copies of the promise own it.
///
/// Threads: safe to use from several threads at once. It delivers with no lock held: to those who wait on the
/// thread that resolves, to one who comes later on its own.
///
/// Errors: of those who wait each gets a copy of the result, or `OutOfMemory` where there is no memory for
/// that. To one who comes later `std::bad_alloc` is thrown.
class VELLORA_EXPORT Waiting : public Source {
 public:
  /// Delivers the result, at once or when it comes.
  void start(Handle<Receiver> receiver, const SubscriptionScope& scope, Use use) override;

 protected:
  ~Waiting() override;

  /// Has `set(result)` keep the result under the lock, unless it was called before. Then delivers it.
  void settle(void (*set)(Waiting& self, void* result), void* result);

  /// Delivers the result, which is constant once it is there: hence no lock.
  virtual void deliver(Link& link) const = 0;

 private:
  std::mutex mutex_;
  bool isSettled_ = false;
  std::vector<std::shared_ptr<Link>> waiting_;
};

/// The result and those who wait for it.
template <class T>
class PromiseSource final : public Waiting {
 public:
  /// Keeps the first result and delivers it to those who wait. Later ones are ignored.
  void resolve(Result<T> result) {
    settle(
        [](Waiting& self, void* first) {
          static_cast<PromiseSource&>(self).result_.emplace(std::move(*static_cast<Result<T>*>(first)));
        },
        &result);
  }

 private:
  void deliver(Link& link) const override {
    if (!result_->hasValue()) return link.complete(result_->error());
    T value = result_->value();
    link.receive(&value);
    link.complete({});
  }

  std::optional<Result<T>> result_;
};

}  // namespace vellora::detail

#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"

namespace vellora::detail {

/// What stands behind a `Publisher`: the recipe by which a subscription is started. Immutable until its last
/// subscription.
template <class T>
class Source {
 public:
  virtual ~Source() = default;

  /// Starts yielding to `observer` until `scope` ends. May do all of it inside the call.
  virtual void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) const = 0;

  /// The same for a recipe that nobody else holds, nor ever will: it may give away what it consists of.
  virtual void subscribeLast(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) {
    subscribe(std::move(observer), scope);
  }

 protected:
  Source() = default;
  Source(const Source&) = default;
  Source& operator=(const Source&) = default;
};

template <class T>
using SourcePtr = std::shared_ptr<Source<T>>;

/// Subscribes to a recipe that the caller has done with; without copying, when the handle is the only one.
template <class T>
void useUp(SourcePtr<T> source, std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) {
  if (source.use_count() > 1) return source->subscribe(std::move(observer), scope);
  // What another thread did with its handle came before it let go of it.
  std::atomic_thread_fence(std::memory_order_acquire);
  source->subscribeLast(std::move(observer), scope);
}

/// Yields the elements of a list, then ends.
template <class T>
class SequenceSource final : public Source<T> {
 public:
  explicit SequenceSource(std::vector<T> values) : values_(std::move(values)) {}

  void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) const override {
    for (const auto& value : values_) {
      if (!scope.isActive()) return;
      observer->receive(value);
    }
    if (scope.isActive()) observer->complete({});
  }

 private:
  const std::vector<T> values_;
};

/// Yields one value at once, then ends.
template <class T>
class JustSource final : public Source<T> {
 public:
  explicit JustSource(T value) : value_(std::move(value)) {}

  void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) const override {
    if (!scope.isActive()) return;
    observer->receive(value_);
    if (scope.isActive()) observer->complete({});
  }

  void subscribeLast(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) override {
    if (!scope.isActive()) return;
    observer->receive(std::move(value_));
    if (scope.isActive()) observer->complete({});
  }

 private:
  T value_;
};

/// Fails at once.
template <class T>
class FailSource final : public Source<T> {
 public:
  explicit FailSource(Error error) : error_(std::move(error)) {}

  void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope&) const override {
    observer->complete(error_);
  }

 private:
  const Error error_;
};

/// Asks for a new producer at each subscription, on the subscribing thread.
template <class T>
class DeferredSource final : public Source<T> {
 public:
  explicit DeferredSource(std::function<SourcePtr<T>()> make) : make_(std::move(make)) {}

  void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) const override {
    make_()->subscribe(std::move(observer), scope);
  }

 private:
  const std::function<SourcePtr<T>()> make_;
};

}  // namespace vellora::detail

#pragma once

#include <memory>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Values/OutOfMemory.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::detail {

/// Passes each value through a function.
template <class T, class U, class F>
class MapSource final : public Source<U> {
 public:
  MapSource(SourcePtr<T> upstream, F transform)
      : upstream_(std::move(upstream)), transform_(std::move(transform)) {}

  void subscribe(std::shared_ptr<Observer<U>> observer, const SubscriptionScope& scope) const override {
    upstream_->subscribe(std::make_shared<MapObserver>(std::move(observer), transform_), scope);
  }

  void subscribeLast(std::shared_ptr<Observer<U>> observer, const SubscriptionScope& scope) override {
    auto mapping = std::make_shared<MapObserver>(std::move(observer), std::move(transform_));
    useUp<T>(std::move(upstream_), std::move(mapping), scope);
  }

 private:
  class MapObserver final : public Observer<T> {
   public:
    MapObserver(std::shared_ptr<Observer<U>> downstream, F transform)
        : downstream_(std::move(downstream)), transform_(std::move(transform)) {}
    void receive(T value) override { downstream_->receive(transform_(std::move(value))); }
    void complete(Completion completion) override { downstream_->complete(std::move(completion)); }

   private:
    const std::shared_ptr<Observer<U>> downstream_;
    F transform_;
  };

  SourcePtr<T> upstream_;
  F transform_;
};

/// Passes each value through a function that may fail; at the first failure upstream is cancelled.
template <class T, class U, class F>
class TryMapSource final : public Source<U> {
 public:
  TryMapSource(SourcePtr<T> upstream, F transform)
      : upstream_(std::move(upstream)), transform_(std::move(transform)) {}

  void subscribe(std::shared_ptr<Observer<U>> observer, const SubscriptionScope& scope) const override {
    const SubscriptionScope own = scope.child();
    upstream_->subscribe(std::make_shared<TryMapObserver>(std::move(observer), transform_, own), own);
  }

 private:
  class TryMapObserver final : public Observer<T> {
   public:
    TryMapObserver(std::shared_ptr<Observer<U>> downstream, F transform, SubscriptionScope scope)
        : downstream_(std::move(downstream)), transform_(std::move(transform)), scope_(std::move(scope)) {}

    void receive(T value) override {
      if (failed_) return;
      Result<U> result = transform_(std::move(value));
      if (result) return downstream_->receive(std::move(result).value());
      failed_ = true;
      scope_.end();
      downstream_->complete(result.error());
    }

    void complete(Completion completion) override {
      if (!failed_) downstream_->complete(std::move(completion));
    }

   private:
    const std::shared_ptr<Observer<U>> downstream_;
    F transform_;
    const SubscriptionScope scope_;
    bool failed_ = false;
  };

  const SourcePtr<T> upstream_;
  const F transform_;
};

/// Passes on the first value that a predicate admits, cancels upstream and ends.
template <class T, class P>
class FirstSource final : public Source<T> {
 public:
  FirstSource(SourcePtr<T> upstream, P admits) : upstream_(std::move(upstream)), admits_(std::move(admits)) {}

  void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) const override {
    const SubscriptionScope own = scope.child();
    upstream_->subscribe(std::make_shared<FirstObserver>(std::move(observer), admits_, scope, own), own);
  }

 private:
  class FirstObserver final : public Observer<T> {
   public:
    FirstObserver(std::shared_ptr<Observer<T>> downstream, P admits, SubscriptionScope outer,
                  SubscriptionScope own)
        : downstream_(std::move(downstream)),
          admits_(std::move(admits)),
          outer_(std::move(outer)),
          own_(std::move(own)) {}

    void receive(T value) override {
      if (!own_.isActive() || !admits_(std::as_const(value))) return;
      own_.end();
      downstream_->receive(std::move(value));
      if (outer_.isActive()) downstream_->complete({});
    }

    void complete(Completion completion) override {
      if (own_.end()) downstream_->complete(std::move(completion));
    }

   private:
    const std::shared_ptr<Observer<T>> downstream_;
    P admits_;
    const SubscriptionScope outer_;
    const SubscriptionScope own_;
  };

  const SourcePtr<T> upstream_;
  const P admits_;
};

/// Replaces an error.
template <class T, class F>
class MapErrorSource final : public Source<T> {
 public:
  MapErrorSource(SourcePtr<T> upstream, F transform)
      : upstream_(std::move(upstream)), transform_(std::move(transform)) {}

  void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) const override {
    upstream_->subscribe(std::make_shared<MapErrorObserver>(std::move(observer), transform_), scope);
  }

 private:
  class MapErrorObserver final : public Observer<T> {
   public:
    MapErrorObserver(std::shared_ptr<Observer<T>> downstream, F transform)
        : downstream_(std::move(downstream)), transform_(std::move(transform)) {}
    void receive(T value) override { downstream_->receive(std::move(value)); }
    void complete(Completion completion) override {
      try {
        if (completion) completion = Error(transform_(*completion));
      } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the error goes on as it is
      }
      downstream_->complete(std::move(completion));
    }

   private:
    const std::shared_ptr<Observer<T>> downstream_;
    F transform_;
  };

  const SourcePtr<T> upstream_;
  const F transform_;
};

/// Waits for the end and yields all values as one list, in the order of their arrival.
template <class T>
class CollectSource final : public Source<std::vector<T>> {
 public:
  explicit CollectSource(SourcePtr<T> upstream) : upstream_(std::move(upstream)) {}

  void subscribe(std::shared_ptr<Observer<std::vector<T>>> observer,
                 const SubscriptionScope& scope) const override {
    upstream_->subscribe(std::make_shared<CollectObserver>(std::move(observer), scope), scope);
  }

 private:
  class CollectObserver final : public Observer<T> {
   public:
    CollectObserver(std::shared_ptr<Observer<std::vector<T>>> downstream, SubscriptionScope scope)
        : downstream_(std::move(downstream)), scope_(std::move(scope)) {}
    void receive(T value) override { values_.push_back(std::move(value)); }
    void complete(Completion completion) override {
      try {
        if (!completion) downstream_->receive(std::move(values_));
      } catch (const std::bad_alloc&) {
        completion = outOfMemory();
      }
      if (scope_.isActive()) downstream_->complete(std::move(completion));
    }

   private:
    const std::shared_ptr<Observer<std::vector<T>>> downstream_;
    const SubscriptionScope scope_;
    std::vector<T> values_;
  };

  const SourcePtr<T> upstream_;
};

}  // namespace vellora::detail

#pragma once

#include <utility>

#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"

namespace vellora::detail {

/// The end of a pipeline: calls the handlers while the subscription is active, and ends it with the
/// completion.
template <class T, class V, class C>
class SinkObserver final : public Observer<T> {
 public:
  SinkObserver(SubscriptionScope scope, V onValue, C onCompletion)
      : scope_(std::move(scope)), onValue_(std::move(onValue)), onCompletion_(std::move(onCompletion)) {}

  void receive(T value) override {
    if (scope_.isActive()) onValue_(std::move(value));
  }

  void complete(Completion completion) override {
    if (scope_.end()) onCompletion_(std::move(completion));
  }

 private:
  const SubscriptionScope scope_;
  V onValue_;
  C onCompletion_;
};

}  // namespace vellora::detail

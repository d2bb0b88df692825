#include "vellora/Platform/Publishers/detail/PromiseSource.h"

#include <new>

#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

Waiting::~Waiting() = default;

void Waiting::start(Handle<Receiver> receiver, const SubscriptionScope& scope, Use /*use*/) {
  const auto link = Link::make(std::move(receiver), scope);
  {
    const std::lock_guard lock(mutex_);
    if (!isSettled_) {
      waiting_.push_back(link);
      return;
    }
  }
  deliver(*link);
}

void Waiting::settle(void (*set)(Waiting& self, void* result), void* result) {
  std::vector<std::shared_ptr<Link>> waiting;
  {
    const std::lock_guard lock(mutex_);
    if (isSettled_) return;
    set(*this, result);
    isSettled_ = true;
    waiting.swap(waiting_);
  }
  for (const auto& link : waiting) {
    try {
      deliver(*link);
    } catch (const std::bad_alloc&) {  // there is none for this one's copy
      link->complete(outOfMemory());
    }
  }
}

}  // namespace vellora::detail

#include "vellora/Platform/Publishers/detail/Link.h"

#include <new>
#include <utility>

#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

std::shared_ptr<Link> Link::make(Handle<Receiver> receiver, const SubscriptionScope& scope) {
  auto link = std::make_shared<Link>(std::move(receiver), scope);
  link->registration_ = scope.add([weak = std::weak_ptr<Link>(link)] {
    if (const auto cut = weak.lock()) cut->take();
  });
  return link;
}

Link::Link(Handle<Receiver> receiver, SubscriptionScope scope)
    : receiver_(std::move(receiver)), scope_(std::move(scope)) {}

Link::~Link() {
  scope_.remove(registration_);
}

void Link::receive(void* value) {
  const auto receiver = get();
  if (!receiver) return;
  try {
    receiver->receive(value);
  } catch (const std::bad_alloc&) {
    complete(outOfMemory());
  }
}

void Link::complete(Completion completion) {
  const auto receiver = take();
  if (!receiver) return;
  try {
    receiver->complete(std::move(completion));
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): nobody is left to be told
  }
}

Handle<Receiver> Link::get() const {
  const std::lock_guard lock(mutex_);
  return receiver_;
}

Handle<Receiver> Link::take() {
  const std::lock_guard lock(mutex_);
  return std::move(receiver_);
}

}  // namespace vellora::detail

#include "vellora/Platform/Publishers/detail/Joint.h"

#include <new>

namespace vellora::detail {

Joint::Joint(Handle<Receiver> downstream, SubscriptionScope scope, std::size_t running, Boxing boxing)
    : scope_(std::move(scope)), downstream_(std::move(downstream)), boxing_(boxing), running_(running) {}

Joint::~Joint() = default;

void Joint::begin() {
  run([this] { ++running_; });
}

void Joint::receive(void* value) {
  const auto event = [this, value] { yield(value); };
  if (gate_.tryRun([this, &event] { admit(event); })) return;
  gate_.enqueue([this, box = boxing_(value)] {
    const auto later = [this, &box] { yield(box->value()); };
    admit(later);
  });
  gate_.drain();
}

void Joint::complete(Completion&& completion) {
  run([this, completion = std::move(completion)]() mutable {
    if (completion || --running_ == 0) finish(std::move(completion));
  });
}

void Joint::finish(Completion&& completion) {
  if (ended_ || !scope_.isActive()) return;  // the consumer of the last value cancelled
  ended_ = true;
  scope_.end();
  try {
    downstream_->complete(std::move(completion));
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): nobody is left to be told
  }
}

}  // namespace vellora::detail

#include "vellora/Platform/Publishers/detail/Hops.h"

#include <cstddef>
#include <mutex>
#include <new>
#include <vector>

#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Publishers/detail/Link.h"

namespace vellora::detail {

/// What is on its way. Each hop delivers the oldest event, whichever hop it is, so that the order holds on a
/// concurrent queue too.
class Hops::Transit {
 public:
  explicit Transit(std::shared_ptr<Link> to) : link_(std::move(to)) {}

  /// Appends a value. Its hop has yet to be submitted.
  void add(Handle<Box> value) {
    const std::lock_guard lock(mutex_);
    values_.push_back(std::move(value));
  }

  /// Removes the value that was added last, for which there is no hop.
  void takeBackNewest() {
    const std::lock_guard lock(mutex_);
    values_.pop_back();
  }

  /// The end comes behind all values.
  void end(Completion&& completion) { end_ = std::move(completion); }

  /// What each hop does. As many hops run as there are events, so there is one to deliver.
  void deliverOldest() {
    gate_.run([this] {
      if (const auto box = takeOldest()) {
        link_->receive(box->value());
      } else {
        link_->complete(std::move(end_));
      }
    });
  }

 private:
  /// The oldest value, or none when the end's turn has come.
  Handle<Box> takeOldest() {
    const std::lock_guard lock(mutex_);
    if (first_ == values_.size()) return {};
    Handle<Box> oldest = std::move(values_[first_++]);
    // Room for what was delivered is used again, also when some values are always waiting.
    if (2 * first_ >= values_.size()) {
      values_.erase(values_.begin(), values_.begin() + static_cast<std::ptrdiff_t>(first_));
      first_ = 0;
    }
    return oldest;
  }

  const std::shared_ptr<Link> link_;
  SerialGate gate_;
  Completion end_;  // set before its hop is submitted
  std::mutex mutex_;
  std::vector<Handle<Box>> values_;  // this and the next: under the mutex
  std::size_t first_ = 0;            // of `values_`, what has not been delivered
};

Hops::Hops(Handle<Receiver> to, const SubscriptionScope& scope, std::shared_ptr<DispatchQueue> queue,
           Boxing boxing)
    : transit_(std::make_shared<Transit>(Link::make(std::move(to), scope))),
      queue_(std::move(queue)),
      boxing_(boxing) {}

Hops::~Hops() = default;

SourcePtr Hops::behind(SourcePtr upstream, std::shared_ptr<DispatchQueue> queue, Boxing boxing) {
  return recipe([upstream = std::move(upstream), queue = std::move(queue), boxing](
                    Handle<Receiver> to, const SubscriptionScope& scope, Use use) mutable {
    detail::start(taken(upstream, use), Handle<Hops>(new Hops(std::move(to), scope, queue, boxing)), scope);
  });
}

void Hops::receive(void* value) {
  transit_->add(boxing_(value));
  try {
    hop();
  } catch (const std::bad_alloc&) {
    transit_->takeBackNewest();  // each event has its hop
    throw;
  }
}

void Hops::complete(Completion&& completion) {
  transit_->end(std::move(completion));
  hop();
}

void Hops::hop() {
  queue_->async([transit = transit_] { transit->deliverOldest(); });
}

}  // namespace vellora::detail

#include "vellora/Platform/DispatchGroup.h"

#include <cstddef>
#include <mutex>
#include <utility>
#include <vector>

namespace vellora {

struct DispatchGroup::State {
  struct Notification {
    std::shared_ptr<DispatchQueue> queue;
    DispatchQueue::Work work;
  };

  std::mutex mutex;
  std::size_t outstanding = 0;
  std::vector<Notification> notifications;
};

DispatchGroup::DispatchGroup() : state_(std::make_shared<State>()) {}

void DispatchGroup::enter() const {
  const std::lock_guard lock(state_->mutex);
  ++state_->outstanding;
}

void DispatchGroup::leave() const {
  std::vector<State::Notification> due;
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->outstanding == 0 || --state_->outstanding > 0) return;
    due.swap(state_->notifications);
  }
  for (auto& [queue, work] : due) queue->async(std::move(work));
}

void DispatchGroup::notify(const std::shared_ptr<DispatchQueue>& queue, DispatchQueue::Work work) const {
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->outstanding > 0) {
      state_->notifications.push_back({queue, std::move(work)});
      return;
    }
  }
  queue->async(std::move(work));
}

void DispatchGroup::async(const std::shared_ptr<DispatchQueue>& queue, DispatchQueue::Work work) const {
  enter();
  queue->async([group = *this, work = std::move(work)]() mutable {
    work();
    work = nullptr;  // its captures go before the group is left
    group.leave();
  });
}

}  // namespace vellora

#include "vellora/Platform/Queues/DispatchGroup.h"

#include <cstddef>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace vellora {

struct DispatchGroup::State {
  struct Notification {
    std::shared_ptr<DispatchQueue> queue;
    std::shared_ptr<DispatchQueue::Work>
        work;  // shared, so that it is still here when a queue cannot take it
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
  for (const auto& [queue, work] : due) {
    try {
      queue->async([work = work] { (*work)(); });
    } catch (const std::bad_alloc&) {
      (*work)();  // on this thread, since otherwise it would never run
    }
  }
}

void DispatchGroup::notify(const std::shared_ptr<DispatchQueue>& queue, DispatchQueue::Work work) const {
  {
    const std::lock_guard lock(state_->mutex);
    if (state_->outstanding > 0) {
      state_->notifications.push_back({queue, std::make_shared<DispatchQueue::Work>(std::move(work))});
      return;
    }
  }
  queue->async(std::move(work));
}

void DispatchGroup::async(const std::shared_ptr<DispatchQueue>& queue, DispatchQueue::Work work) const {
  enter();
  try {
    queue->async([group = *this, work = std::move(work)]() mutable {
      work();
      work = nullptr;  // its captures are destroyed before the group is left
      group.leave();
    });
  } catch (const std::bad_alloc&) {
    leave();
    throw;
  }
}

}  // namespace vellora

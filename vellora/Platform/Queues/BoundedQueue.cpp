#include "vellora/Platform/Queues/BoundedQueue.h"

#include <new>

#include "vellora/Platform/Queues/ThreadCount.h"

namespace vellora {

const std::shared_ptr<DispatchQueue>& BoundedQueue::lookups() {
  // Never destroyed, as the global queue.
  static const auto* const queue = new std::shared_ptr<DispatchQueue>(  // NOLINT: see above
      std::make_shared<BoundedQueue>(DispatchQueue::global(DispatchQoS::userInitiated),
                                     detail::threadCount() - 1));
  return *queue;
}

void BoundedQueue::async(Work work) {
  const auto piece = std::make_shared<Piece>(Piece{std::move(work)});
  queue_->async([state = state_, piece] { state->take(piece); });
}

void BoundedQueue::State::take(std::shared_ptr<Piece> piece) {
  if (!enter(piece)) return;
  while (piece) {
    try {
      std::exchange(piece->work, nullptr)();
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): there is nobody to be told
    }
    piece = next();
  }
}

bool BoundedQueue::State::enter(std::shared_ptr<Piece>& piece) {
  const std::lock_guard lock(mutex_);
  if (running_ < atMost_) {
    ++running_;
    return true;
  }
  auto* const added = piece.get();
  (last_ ? last_->next : first_) = std::move(piece);
  last_ = added;
  return false;
}

std::shared_ptr<BoundedQueue::Piece> BoundedQueue::State::next() {
  const std::lock_guard lock(mutex_);
  auto piece = std::move(first_);
  if (!piece) {
    --running_;
    return nullptr;
  }
  first_ = std::move(piece->next);
  if (!first_) last_ = nullptr;
  return piece;
}

}  // namespace vellora

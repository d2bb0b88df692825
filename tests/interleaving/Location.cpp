#include "tests/interleaving/Location.h"

#include <algorithm>
#include <utility>

#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

namespace {

bool acquires(std::memory_order order) {
  return order != std::memory_order_relaxed && order != std::memory_order_release;
}

bool releases(std::memory_order order) {
  return order == std::memory_order_release || order == std::memory_order_acq_rel ||
         order == std::memory_order_seq_cst;
}

}  // namespace

Run* Location::enter(const char* what) {
  Run* const run = Run::current();
  if (!run) return nullptr;
  alive_.check(*run);
  run->pause(what, this);
  alive_.check(*run);
  return run;
}

void Location::show() const {
  if (Run* const run = Run::current()) run->pause("has stored", this);
}

bool Location::renew(Run& run) {
  if (!mark_.isNew(run)) return false;
  place_ = run.newPlace();
  shown_.assign(1, View());
  return true;
}

std::size_t Location::read(std::memory_order order, bool isFresh) {
  Run& run = *Run::current();
  const std::size_t newest = shown_.size() - 1;
  std::size_t oldest = run.seen().all.of(place_);
  if (order == std::memory_order_seq_cst) oldest = std::max<std::size_t>(oldest, run.inOrder().of(place_));
  const std::size_t store = isFresh ? newest : newest - run.chooseStore(newest - oldest + 1);
  see(store, order);
  return store;
}

void Location::write(std::memory_order order) {
  Run& run = *Run::current();
  View shown = run.seen().shown;
  if (releases(order)) run.release(shown);
  add(order, std::move(shown));
}

void Location::exchange(std::memory_order order) {
  Run& run = *Run::current();
  see(shown_.size() - 1, order);
  View shown = shown_.back();  // whoever acquires this store acquires the one before, too
  shown.seeAllOf(run.seen().shown);
  if (releases(order)) run.release(shown);
  add(order, std::move(shown));
}

void Location::see(std::size_t store, std::memory_order order) {
  Run& run = *Run::current();
  const auto number = static_cast<std::uint32_t>(store);
  run.seen().all.see(place_, number);
  if (order == std::memory_order_seq_cst) run.inOrder().see(place_, number);
  run.seen().read.seeAllOf(shown_[store]);
  if (acquires(order)) run.acquire(shown_[store]);
}

void Location::add(std::memory_order order, View shown) {
  Run& run = *Run::current();
  const auto number = static_cast<std::uint32_t>(shown_.size());
  shown.see(place_, number);
  shown_.push_back(std::move(shown));
  run.seen().all.see(place_, number);
  if (order == std::memory_order_seq_cst) run.inOrder().see(place_, number);
}

void fence(std::memory_order order) {
  Run* const run = Run::current();
  if (!run) return;
  run->pause("passes a fence", nullptr);
  if (acquires(order)) run->acquire(run->seen().read);
  if (order == std::memory_order_seq_cst) {
    run->acquire(run->inOrder());
    run->inOrder().seeAllOf(run->seen().all);
  }
  if (releases(order)) run->release(run->seen().shown);
}

}  // namespace vellora::tests::interleaving

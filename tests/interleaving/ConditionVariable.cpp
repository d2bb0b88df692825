#include "tests/interleaving/ConditionVariable.h"

#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

ConditionVariable::~ConditionVariable() {
  Run* const run = enter();
  if (run && !waiters_.areNone()) run->fail("a condition variable is destroyed while somebody waits for it");
}

/// The run, or null outside of one.
Run* ConditionVariable::enter() {
  Run* const run = Run::current();
  if (!run) return nullptr;
  alive_.check(*run);
  if (mark_.isNew(*run)) waiters_ = Waiters();
  return run;
}

void ConditionVariable::notify_one() {
  Run* const run = enter();
  if (!run) return;
  run->pause("notifies one of", this);
  alive_.check(*run);
  waiters_.wakeOne(*run);
}

void ConditionVariable::notify_all() {
  Run* const run = enter();
  if (!run) return;
  run->pause("notifies all of", this);
  alive_.check(*run);
  waiters_.wakeAll();
}

void ConditionVariable::wait(std::unique_lock<Mutex>& lock) {
  Run* const run = enter();
  if (!run) return;
  run->pause("begins to wait for", this);
  Waiter waiter("a condition variable");
  waiters_.add(waiter);
  lock.unlock();
  run->passWhenGone(waiter, "is woken by", this);
  lock.lock();
}

void ConditionVariable::sleep(std::unique_lock<Mutex>& lock, Run::Moment moment) {
  Run& run = *enter();
  run.pause("begins to sleep on", this);
  Waiter waiter("a condition variable");
  waiters_.add(waiter);
  lock.unlock();
  const auto wakes = run.sleep(waiter, moment, this);
  if (wakes != Run::Wakes::call) waiters_.remove(waiter);
  lock.lock();
  if (wakes == Run::Wakes::end) throw Run::IsOver();
}

}  // namespace vellora::tests::interleaving

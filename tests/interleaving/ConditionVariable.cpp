#include "tests/interleaving/ConditionVariable.h"

#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

ConditionVariable::~ConditionVariable() {
  Run* const run = Run::current();
  if (run && !waiters_.areNone()) run->fail("a condition variable is destroyed while somebody waits for it");
}

void ConditionVariable::notify_one() {
  Run* const run = Run::current();
  if (!run) return;
  alive_.check(*run);
  run->pause("notifies one of", this);
  alive_.check(*run);
  waiters_.wakeOne(*run);
}

void ConditionVariable::notify_all() {
  Run* const run = Run::current();
  if (!run) return;
  alive_.check(*run);
  run->pause("notifies all of", this);
  alive_.check(*run);
  waiters_.wakeAll();
}

void ConditionVariable::wait(std::unique_lock<Mutex>& lock) {
  Run* const run = Run::current();
  if (!run) return;
  alive_.check(*run);
  run->pause("begins to wait for", this);
  Waiter waiter("a condition variable");
  waiters_.add(waiter);
  lock.unlock();
  run->passWhenGone(waiter, "is woken by", this);
  lock.lock();
}

}  // namespace vellora::tests::interleaving

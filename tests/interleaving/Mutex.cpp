#include "tests/interleaving/Mutex.h"

#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

Mutex::~Mutex() {
  Run* const run = enter();
  if (run && isHeld_) run->fail("a mutex is destroyed while it is held");
}

/// The run, or null outside of one.
Run* Mutex::enter() {
  Run* const run = Run::current();
  if (!run) return nullptr;
  alive_.check(*run);
  if (mark_.isNew(*run)) {
    isHeld_ = false;
    shown_ = View();
  }
  return run;
}

void Mutex::lock() {
  Run* const run = enter();
  if (!run) return;
  run->passWhenGone(*this, "locks", this);
  alive_.check(*run);
  isHeld_ = true;
  holder_ = run->self();
  run->acquire(shown_);
}

void Mutex::unlock() {
  Run* const run = enter();
  if (!run) return;
  if (!isHeld_ || holder_ != run->self()) run->fail("a thread unlocks what it does not hold");
  run->release(shown_);
  isHeld_ = false;
  run->pause("has unlocked", this);
}

Run* RecursiveMutex::enter() {
  Run* const run = Run::current();
  if (run && mark_.isNew(*run)) depth_ = 0;
  return run;
}

void RecursiveMutex::lock() {
  Run* const run = enter();
  if (!run) return;
  if (depth_ == 0 || holder_ != run->self()) mutex_.lock();
  holder_ = run->self();
  ++depth_;
}

void RecursiveMutex::unlock() {
  if (enter() && --depth_ == 0) mutex_.unlock();
}

}  // namespace vellora::tests::interleaving

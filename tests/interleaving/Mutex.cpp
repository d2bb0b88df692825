#include "tests/interleaving/Mutex.h"

#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

Mutex::~Mutex() {
  Run* const run = Run::current();
  if (run && isHeld_) run->fail("a mutex is destroyed while it is held");
}

void Mutex::lock() {
  Run* const run = Run::current();
  if (!run) return;
  alive_.check(*run);
  run->passWhenGone(*this, "locks", this);
  alive_.check(*run);
  isHeld_ = true;
  holder_ = run->self();
  run->acquire(shown_);
}

void Mutex::unlock() {
  Run* const run = Run::current();
  if (!run) return;
  alive_.check(*run);
  if (!isHeld_ || holder_ != run->self()) run->fail("a thread unlocks what it does not hold");
  run->release(shown_);
  isHeld_ = false;
  run->pause("has unlocked", this);
}

void RecursiveMutex::lock() {
  Run* const run = Run::current();
  if (!run) return;
  if (depth_ == 0 || holder_ != run->self()) mutex_.lock();
  holder_ = run->self();
  ++depth_;
}

void RecursiveMutex::unlock() {
  if (Run::current() && --depth_ == 0) mutex_.unlock();
}

}  // namespace vellora::tests::interleaving

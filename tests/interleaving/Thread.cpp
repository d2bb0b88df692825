#include "tests/interleaving/Thread.h"

#include <string_view>

#include "tests/interleaving/Obstacle.h"

namespace vellora::tests::interleaving {

namespace {

class StillRunning final : public Obstacle {
 public:
  StillRunning(const Run& run, std::size_t thread) : run_(run), thread_(thread) {}
  [[nodiscard]] bool isGone() const override { return run_.hasEnded(thread_); }
  [[nodiscard]] std::string_view name() const override { return "the end of another"; }

 private:
  const Run& run_;
  const std::size_t thread_;
};

}  // namespace

Thread::~Thread() {
  if (number_ && Run::current()) Run::current()->fail("a thread is destroyed that nobody has joined");
}

void Thread::join() {
  Run& run = *Run::current();
  run.passWhenGone(StillRunning(run, *number_), "has joined another", nullptr);
  run.acquireEndOf(*number_);
  number_.reset();
}

}  // namespace vellora::tests::interleaving

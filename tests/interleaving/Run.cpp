#include "tests/interleaving/Run.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace vellora::tests::interleaving {

namespace {

Run* underWay = nullptr;
std::uint64_t lastNumber = 0;

/// The stack of the thread of the system, from which runs are begun.
Fiber& ground() {
  static Fiber fiber;
  return fiber;
}

}  // namespace

/// A fiber for one thread after the other, of one run after the other.
class Run::Worker {
 public:
  Worker() : fiber_([this] { workForEver(); }) {}

  /// One without work.
  [[nodiscard]] static std::unique_ptr<Worker> taken() {
    if (idle().empty()) return std::make_unique<Worker>();
    auto worker = std::move(idle().back());
    idle().pop_back();
    return worker;
  }
  static void giveBack(std::unique_ptr<Worker> worker) { idle().push_back(std::move(worker)); }

  /// Keeps one whose work will not go on, and with it what its stack refers to.
  static void abandon(std::unique_ptr<Worker> worker) {
    // Never destroyed: to LeakSanitizer what the stacks refer to is not lost as long as they are here.
    static auto* const abandoned = new std::vector<std::unique_ptr<Worker>>();  // NOLINT: see above
    abandoned->push_back(std::move(worker));
  }

  void prepare(Work work) { work_ = std::move(work); }
  [[nodiscard]] Fiber& fiber() { return fiber_; }

 private:
  static std::vector<std::unique_ptr<Worker>>& idle() {
    static std::vector<std::unique_ptr<Worker>> all;
    return all;
  }

  void workForEver() {
    while (true) {
      try {
        work_();
      } catch (const IsOver&) {  // NOLINT(bugprone-empty-catch): that is how it ends
      }
      work_ = nullptr;
      current()->end();
    }
  }

  Work work_;
  Fiber fiber_;
};

struct Run::Thread {
  std::unique_ptr<Worker> worker;  // null once it has left
  std::size_t place;               // of its own progress, in views
  std::uint32_t progress = 1;
  Seen seen = {};
  const Obstacle* waitsFor = nullptr;
  std::optional<Moment> sleepsUntil = std::nullopt;
  bool isUnwound = false;
  bool hasEnded = false;
};

class Run::OthersAreAwake final : public Obstacle {
 public:
  explicit OthersAreAwake(const Run& run) : run_(run), self_(run.self()) {}
  [[nodiscard]] bool isGone() const override {
    for (std::size_t thread = 0; thread < run_.threads_.size(); ++thread) {
      if (thread != self_ && canGoOn(*run_.threads_[thread])) return false;
    }
    return true;
  }
  [[nodiscard]] std::string_view name() const override { return "others that rest"; }

 private:
  const Run& run_;
  const std::size_t self_;
};

Run::Run(Choices& choices, const Limits& limits)
    : choices_(choices),
      number_(++lastNumber),
      preemptionsLeft_(limits.preemptions),
      staleReadsLeft_(limits.staleReads) {}

Run::~Run() = default;

Run* Run::current() noexcept {
  return underWay;
}

std::optional<std::string> Run::execute(Work scenario) {
  underWay = this;
  begin(std::move(scenario));
  ground().handOverTo(threads_.front()->worker->fiber());
  underWay = nullptr;
  for (auto& thread : threads_) {
    if (thread->worker) Worker::abandon(std::move(thread->worker));
  }
  return failure_;
}

std::size_t Run::begin(Work work) {
  auto thread = std::make_unique<Thread>(Thread{Worker::taken(), newPlace()});
  thread->worker->prepare(std::move(work));
  if (!threads_.empty()) release(thread->seen.all);
  threads_.push_back(std::move(thread));
  return threads_.size() - 1;
}

bool Run::hasEnded(std::size_t thread) const {
  return threads_[thread]->hasEnded;
}

void Run::pause(std::string_view what, const void* object) {
  makeWay();
  note(what, object);
}

void Run::passWhenGone(const Obstacle& obstacle, std::string_view what, const void* object) {
  threads_[running_]->waitsFor = &obstacle;
  makeWay();
  threads_[running_]->waitsFor = nullptr;
  note(what, object);
}

Run::Wakes Run::sleep(const Obstacle& call, Moment until, const void* object) {
  Thread& thread = *threads_[running_];
  thread.sleepsUntil = until;
  passWhenGone(call, "wakes from", object);
  thread.sleepsUntil.reset();
  if (thread.isUnwound) return Wakes::end;
  if (call.isGone()) return Wakes::call;
  now_ = std::max(now_, until);
  return Wakes::time;
}

void Run::passWhenOthersRest() {
  passWhenGone(OthersAreAwake(*this), "goes on beside others that rest", nullptr);
  for (std::size_t thread = 0; thread < threads_.size(); ++thread) acquireEndOf(thread);
}

std::size_t Run::choose(std::size_t count) {
  if (takesTheFirst_) return 0;
  const auto chosen = choices_.choose(count);
  if (!chosen) fail("the schedule is not one of this scenario");
  return *chosen;
}

std::size_t Run::chooseStore(std::size_t count) {
  const auto chosen = choose(staleReadsLeft_ > 0 ? count : 1);
  if (chosen > 0) {
    --staleReadsLeft_;
    note("reads an older store", nullptr);
  }
  return chosen;
}

void Run::fail(std::string what) {
  failure_ = std::move(what);
  threads_[running_]->worker->fiber().handOverTo(ground());
  std::abort();  // nobody hands over to a thread of a run that has failed
}

Run::Seen& Run::seen() {
  return threads_[running_]->seen;
}

void Run::release(View& view) {
  Thread& thread = *threads_[running_];
  thread.seen.all.see(thread.place, thread.progress++);
  view.seeAllOf(thread.seen.all);
}

void Run::acquire(const View& view) {
  seen().all.seeAllOf(view);
}

void Run::acquireEndOf(std::size_t thread) {
  acquire(threads_[thread]->seen.all);
}

std::uint32_t Run::progress(std::size_t thread) const {
  return threads_[thread]->progress;
}

bool Run::hasSeen(std::size_t thread, std::uint32_t progress) {
  return thread == running_ || seen().all.of(threads_[thread]->place) >= progress;
}

bool Run::canGoOn(const Thread& thread) {
  return !thread.hasEnded && (!thread.waitsFor || thread.waitsFor->isGone());
}

/// Who goes on, of those who can: the running thread first. Others cost a pre-emption when that can; those
/// whose time is to come cost one when anybody can.
std::size_t Run::chooseThread() {
  able_.clear();
  addAble();
  const std::size_t awake = able_.size();
  const bool couldGoOn = awake > 0 && able_.front() == running_;
  if (awake == 0 || preemptionsLeft_ > 0) addSleepers();
  if (able_.empty()) return unwound();
  const std::size_t chosen = choose(able_.size());
  const bool isFree = couldGoOn ? chosen == 0 : chosen < awake || awake == 0;
  if (!isFree) --preemptionsLeft_;
  return able_[chosen];
}

void Run::addAble() {
  const bool couldGoOn = canGoOn(*threads_[running_]);
  if (couldGoOn) able_.push_back(running_);
  if (couldGoOn && preemptionsLeft_ == 0) return;
  for (std::size_t thread = 0; thread < threads_.size(); ++thread) {
    if (thread != running_ && canGoOn(*threads_[thread])) able_.push_back(thread);
  }
}

void Run::addSleepers() {
  for (std::size_t thread = 0; thread < threads_.size(); ++thread) {
    const auto& each = *threads_[thread];
    if (each.sleepsUntil && *each.sleepsUntil != never && !canGoOn(each)) able_.push_back(thread);
  }
}

/// The next to be unwound, of those who are left and sleep.
std::size_t Run::unwound() {
  const auto isLeft = [](const auto& thread) { return !thread->hasEnded; };
  const auto sleeps = [](const auto& thread) { return thread->hasEnded || thread->sleepsUntil; };
  if (!std::all_of(threads_.begin(), threads_.end(), sleeps)) fail(standstill());
  const auto first = std::find_if(threads_.begin(), threads_.end(), isLeft);
  (*first)->isUnwound = true;
  return static_cast<std::size_t>(first - threads_.begin());
}

std::string Run::standstill() const {
  std::string told = "deadlock:";
  for (std::size_t thread = 0; thread < threads_.size(); ++thread) {
    if (!threads_[thread]->waitsFor) continue;
    told += " thread " + std::to_string(thread) + " waits for " +
            std::string(threads_[thread]->waitsFor->name()) + ";";
  }
  told.pop_back();
  return told;
}

void Run::note(std::string_view what, const void* object) {
  if (!keepsTrace_) return;
  std::string line = "thread " + std::to_string(running_) + " " + std::string(what);
  if (object) {
    const auto found = std::find(objects_.begin(), objects_.end(), object);
    line += " " + std::to_string(found - objects_.begin());
    if (found == objects_.end()) objects_.push_back(object);
  }
  trace_.push_back(std::move(line));
}

/// Where the running thread may make way for another, or must.
void Run::makeWay() {
  if (++steps_ > mostSteps) fail("it does not end within " + std::to_string(mostSteps) + " steps");
  const std::size_t chosen = chooseThread();
  if (chosen != running_) handOverTo(chosen);
}

void Run::handOverTo(std::size_t thread) {
  Fiber& here = threads_[running_]->worker->fiber();
  running_ = thread;
  here.handOverTo(threads_[thread]->worker->fiber());
}

/// The end of the running thread. Its worker may be given other work, and then goes on from here.
void Run::end() {
  note("ends", nullptr);
  Thread& thread = *threads_[running_];
  thread.seen.all.see(thread.place, thread.progress);
  thread.hasEnded = true;
  Fiber& here = thread.worker->fiber();
  Fiber* next = &ground();
  if (++ended_ < threads_.size()) {
    const std::size_t chosen = chooseThread();
    next = &threads_[chosen]->worker->fiber();
    Worker::giveBack(std::move(thread.worker));
    running_ = chosen;
  } else {
    Worker::giveBack(std::move(thread.worker));
  }
  here.handOverTo(*next);
}

}  // namespace vellora::tests::interleaving

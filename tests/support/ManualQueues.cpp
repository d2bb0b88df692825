#include "tests/support/ManualQueues.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora {

namespace {

constexpr std::uint64_t globalQueue = 0;

struct Submitted {
  std::uint64_t queue;
  DispatchQueue::Work work;
};

std::deque<Submitted> submitted;
std::vector<tests::ManualQueues::SerialQueue> madeQueues;
std::function<DispatchQueue::Work(DispatchQueue::Work)> wrapper;
std::uint64_t lastQueue = globalQueue;
std::optional<std::uint64_t> running;

void submit(std::uint64_t queue, DispatchQueue::Work work) {
  submitted.push_back({queue, wrapper ? wrapper(std::move(work)) : std::move(work)});
}

/// Where the pieces stand that could be the next to run.
std::vector<std::size_t> runnable() {
  std::vector<std::size_t> places;
  std::set<std::uint64_t> busy;
  for (std::size_t place = 0; place < submitted.size(); ++place) {
    const std::uint64_t queue = submitted[place].queue;
    if (queue == globalQueue || busy.insert(queue).second) places.push_back(place);
  }
  return places;
}

void runAt(std::size_t place) {
  const auto chosen = submitted.begin() + static_cast<std::ptrdiff_t>(place);
  const auto work = std::move(chosen->work);
  const auto outer = std::exchange(running, chosen->queue);
  submitted.erase(chosen);
  try {
    work();
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): as in the library
  }
  running = outer;
}

class GlobalQueue final : public DispatchQueue {
 public:
  void async(Work work) override { submit(globalQueue, std::move(work)); }
  [[nodiscard]] bool runsHere() const override { return running.has_value(); }  // all share one pool
};

}  // namespace

struct SerialDispatchQueue::Strand {
  const std::uint64_t id = ++lastQueue;
};

SerialDispatchQueue::SerialDispatchQueue(std::string label, DispatchQoS qos)
    : label_(std::move(label)), qos_(qos), strand_(std::make_shared<Strand>()) {
  madeQueues.push_back({label_, qos_});
}

SerialDispatchQueue::~SerialDispatchQueue() = default;

void SerialDispatchQueue::async(Work work) {
  submit(strand_->id, std::move(work));
}

bool SerialDispatchQueue::runsHere() const {
  return running == strand_->id;
}

const std::shared_ptr<DispatchQueue>& DispatchQueue::global(DispatchQoS) {
  static const std::shared_ptr<DispatchQueue> queue = std::make_shared<GlobalQueue>();
  return queue;
}

namespace tests {

ManualQueues::~ManualQueues() {
  dropAll();
  madeQueues.clear();
}

void ManualQueues::dropAll() {
  while (!submitted.empty()) {
    const auto dropped = std::move(submitted.front());  // what it held may submit more
    submitted.pop_front();
  }
}

void ManualQueues::wrapWork(std::function<DispatchQueue::Work(DispatchQueue::Work work)> wrap) {
  wrapper = std::move(wrap);
}

bool ManualQueues::runNext() {
  if (submitted.empty()) return false;
  runAt(0);
  return true;
}

std::size_t ManualQueues::choices() const {
  return runnable().size();
}

void ManualQueues::runChoice(std::size_t choice) {
  runAt(runnable().at(choice));
}

std::size_t ManualQueues::runAll() {
  std::size_t count = 0;
  while (runNext()) ++count;
  return count;
}

std::size_t ManualQueues::pending() const {
  return submitted.size();
}

std::vector<ManualQueues::SerialQueue> ManualQueues::made() const {
  return madeQueues;
}

}  // namespace tests
}  // namespace vellora

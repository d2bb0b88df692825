#include "tests/support/ManualQueues.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "vellora/Platform/SerialDispatchQueue.h"

namespace vellora {

namespace {

constexpr const void* globalQueue = nullptr;

struct Submitted {
  const void* queue;
  DispatchQueue::Work work;
};

std::deque<Submitted> submitted;
std::vector<tests::ManualQueues::SerialQueue> madeQueues;

/// Where the pieces stand that could be the next to run.
std::vector<std::size_t> runnable() {
  std::vector<std::size_t> places;
  std::set<const void*> busy;
  for (std::size_t place = 0; place < submitted.size(); ++place) {
    const void* queue = submitted[place].queue;
    if (queue == globalQueue || busy.insert(queue).second) places.push_back(place);
  }
  return places;
}

void runAt(std::size_t place) {
  const auto chosen = submitted.begin() + static_cast<std::ptrdiff_t>(place);
  const auto work = std::move(chosen->work);
  submitted.erase(chosen);
  work();
}

class GlobalQueue final : public DispatchQueue {
 public:
  void async(Work work) override { submitted.push_back({globalQueue, std::move(work)}); }
};

}  // namespace

struct SerialDispatchQueue::Strand {};

SerialDispatchQueue::SerialDispatchQueue(std::string label, DispatchQoS qos)
    : label_(std::move(label)), qos_(qos), strand_(std::make_unique<Strand>()) {
  madeQueues.push_back({label_, qos_});
}

SerialDispatchQueue::~SerialDispatchQueue() = default;

// A queue that is gone may share its address with a later one; their work then runs in order, as if they were
// one.
void SerialDispatchQueue::async(Work work) {
  submitted.push_back({strand_.get(), std::move(work)});
}

const std::shared_ptr<DispatchQueue>& DispatchQueue::global(DispatchQoS) {
  static const std::shared_ptr<DispatchQueue> queue = std::make_shared<GlobalQueue>();
  return queue;
}

namespace tests {

ManualQueues::~ManualQueues() {
  while (!submitted.empty()) submitted.pop_front();  // what a piece of work held may submit more
  madeQueues.clear();
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

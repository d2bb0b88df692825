#include "tests/support/ManualQueues.h"

#include <deque>
#include <utility>

#include "vellora/Platform/SerialDispatchQueue.h"

namespace vellora {

namespace {

std::deque<DispatchQueue::Work> submitted;

}  // namespace

struct SerialDispatchQueue::Strand {};

SerialDispatchQueue::SerialDispatchQueue(std::string label, DispatchQoS qos)
    : label_(std::move(label)), qos_(qos) {}

SerialDispatchQueue::~SerialDispatchQueue() = default;

void SerialDispatchQueue::async(Work work) {
  submitted.push_back(std::move(work));
}

namespace tests {

ManualQueues::~ManualQueues() {
  while (!submitted.empty()) submitted.pop_front();  // what a piece of work held may submit more
}

bool ManualQueues::runNext() {
  if (submitted.empty()) return false;
  const auto work = std::move(submitted.front());
  submitted.pop_front();
  work();
  return true;
}

std::size_t ManualQueues::runAll() {
  std::size_t count = 0;
  while (runNext()) ++count;
  return count;
}

std::size_t ManualQueues::pending() const {
  return submitted.size();
}

}  // namespace tests
}  // namespace vellora

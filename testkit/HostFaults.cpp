#include "testkit/HostFaults.h"

#include <algorithm>
#include <utility>

namespace vellora::testkit {

namespace {

bool canHave(HostCall::Operation operation, HostFault fault) {
  const auto& faults = faultsOf(operation);
  return std::find(faults.begin(), faults.end(), fault) != faults.end();
}

Data withBitFlipped(const Data& right) {
  std::string bytes(right.view());
  if (!bytes.empty()) {
    char& middle = bytes[bytes.size() / 2];
    middle = static_cast<char>(static_cast<unsigned char>(middle) ^ 0x80U);
  }
  return Data(std::move(bytes));
}

}  // namespace

void HostFaults::plan(std::size_t call, HostFault fault, Lasting lasting) {
  const std::lock_guard lock(mutex_);
  planned_.push_back({call, fault, lasting});
}

void HostFaults::fail(HostCall::Operation operation) {
  fail(operation, [](const std::string&) { return true; });
}

void HostFaults::fail(HostCall::Operation operation, std::string subject) {
  fail(operation, [subject = std::move(subject)](const std::string& called) { return called == subject; });
}

void HostFaults::fail(HostCall::Operation operation, SubjectPredicate subjects) {
  const std::lock_guard lock(mutex_);
  failing_[operation] = std::move(subjects);
}

void HostFaults::mend(HostCall::Operation operation) {
  const std::lock_guard lock(mutex_);
  failing_.erase(operation);
}

void HostFaults::mend() {
  const std::lock_guard lock(mutex_);
  planned_.clear();
  failing_.clear();
}

std::vector<HostCall> HostFaults::calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

void HostFaults::clearCalls() {
  const std::lock_guard lock(mutex_);
  calls_.clear();
}

std::optional<HostFault> HostFaults::next(HostCall call) {
  const bool fails = failsByKind(call);
  const std::lock_guard lock(mutex_);
  auto fault = plannedFor(calls_.size(), call.operation);
  if (!fault && fails) fault = faultsOf(call.operation).front();
  call.failed = call.failed || fault.has_value();
  calls_.push_back(std::move(call));
  return fault;
}

// The predicate is the test's own code, hence called on a copy, with no lock held.
bool HostFaults::failsByKind(const HostCall& call) const {
  SubjectPredicate predicate;
  {
    const std::lock_guard lock(mutex_);
    const auto found = failing_.find(call.operation);
    if (found == failing_.end()) return false;
    predicate = found->second;
  }
  return predicate(call.subject);
}

std::optional<HostFault> HostFaults::plannedFor(std::size_t number, HostCall::Operation operation) const {
  const auto found = std::find_if(planned_.rbegin(), planned_.rend(), [&](const Planned& planned) {
    const bool reaches = planned.lasting == Lasting::once ? planned.call == number : planned.call <= number;
    return reaches && canHave(operation, planned.fault);
  });
  return found == planned_.rend() ? std::nullopt : std::optional(found->fault);
}

std::optional<Data> HostFaults::substituted(HostFault fault, const HostCall& call, const Data& right) const {
  switch (fault) {
    case HostFault::truncated:
      return Data(right.data(), right.size() / 2);
    case HostFault::bitFlipped:
      return withBitFlipped(right);
    case HostFault::anothersBytes:
      return substitutes_.anothersBytes ? substitutes_.anothersBytes(call, right) : Data(std::string("{}"));
    case HostFault::olderForm:
      if (substitutes_.olderForm) return substitutes_.olderForm(call, right);
      return Data(std::string(R"({"version":0,"value":)").append(right.view()).append("}"));
    default:
      return std::nullopt;
  }
}

}  // namespace vellora::testkit

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

void HostFaults::mend() {
  const std::lock_guard lock(mutex_);
  planned_.clear();
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
  const std::lock_guard lock(mutex_);
  const std::size_t number = calls_.size();
  const auto operation = call.operation;
  calls_.push_back(std::move(call));
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

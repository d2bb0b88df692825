#include "testkit/FailingCache.h"

#include <utility>

namespace vellora::testkit {

FailingCache::FailingCache(std::shared_ptr<CorvaneSDK::Cache> next)
    : FaultyCache(std::move(next), std::make_shared<HostFaults>()) {}

FailingCache::~FailingCache() = default;

void FailingCache::fail(Operation operation) {
  faults().fail(operation);
}

void FailingCache::fail(Operation operation, std::string key) {
  faults().fail(operation, std::move(key));
}

void FailingCache::fail(Operation operation, KeyPredicate keys) {
  faults().fail(operation, std::move(keys));
}

void FailingCache::mend(Operation operation) {
  faults().mend(operation);
}

std::vector<HostCall> FailingCache::calls() const {
  return faults().calls();
}

std::vector<std::string> FailingCache::callTexts() const {
  std::vector<std::string> texts;
  for (const HostCall& call : calls()) texts.push_back(call.description());
  return texts;
}

void FailingCache::clearCalls() {
  faults().clearCalls();
}

}  // namespace vellora::testkit

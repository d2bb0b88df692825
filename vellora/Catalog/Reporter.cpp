#include "vellora/Catalog/Reporter.h"

#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora {

Reporter::Reporter(std::shared_ptr<CatalogObserver> observer, bool observesKeys,
                   std::shared_ptr<CallbackGate> gate)
    : observer_(std::move(observer)),
      observesKeys_(observesKeys),
      gate_(std::move(gate)),
      queue_(std::make_shared<SerialDispatchQueue>("Catalog.observer")) {}

bool Reporter::enter() noexcept {
  if (waiting_.fetch_add(1) < most) return true;
  drop();
  return false;
}

void Reporter::drop() noexcept {
  --waiting_;
  ++dropped_;
}

void Reporter::post(Telling telling) {
  queue_->async([self = shared_from_this(), telling = std::move(telling)] { self->deliver(telling); });
}

void Reporter::deliver(const Telling& telling) {
  --waiting_;
  // A visit to the gate for each call: the first may destroy the catalogue.
  if (const auto count = dropped_.exchange(0)) {
    pass([count](CatalogObserver& observer) { observer.reportsDropped(count); });
  }
  pass(telling);
}

void Reporter::pass(const Telling& telling) {
  gate_->run([&] {
    try {
      telling(*observer_);
    } catch (...) {  // NOLINT(bugprone-empty-catch): an observer's trouble is its own
    }
  });
}

}  // namespace vellora

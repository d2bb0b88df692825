#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

#include "vellora/Catalog/CatalogObserver.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Queues/DispatchQueue.h"

namespace vellora {

/// Hands reports to an observer, so that whatever this one does, nobody else waits or fails.
///
/// Ownership: shares the observer and the catalogue's gate. Reports that wait hold it.
///
/// Threads: safe to use from several threads at once. The observer is called on a serial queue, inside the
/// gate.
///
/// Errors: none. A report for which there is no memory is dropped and counted, like one too many.
class Reporter : public std::enable_shared_from_this<Reporter> {
 public:
  /// How many reports may wait.
  static constexpr std::size_t most = 10'000;

  Reporter(std::shared_ptr<CatalogObserver> observer, bool observesKeys, std::shared_ptr<CallbackGate> gate);

  /// Whether reports may name keys.
  [[nodiscard]] bool observesKeys() const noexcept { return observesKeys_; }

  /// Has `make()` make a report, here, and hands it to the observer's member `tell` soon.
  template <class Report, class Make>
  void report(void (CatalogObserver::*tell)(const Report&), Make make) noexcept {
    if (!enter()) return;
    try {
      post([tell, report = make()](CatalogObserver& observer) { (observer.*tell)(report); });
    } catch (...) {  // there is no memory for it
      drop();
    }
  }

 private:
  using Telling = std::function<void(CatalogObserver&)>;

  [[nodiscard]] bool enter() noexcept;
  void drop() noexcept;
  void post(Telling telling);
  void deliver(const Telling& telling);
  void pass(const Telling& telling);

  // Constant after construction.
  const std::shared_ptr<CatalogObserver> observer_;
  const bool observesKeys_;
  const std::shared_ptr<CallbackGate> gate_;
  const std::shared_ptr<DispatchQueue> queue_;

  std::atomic<std::size_t> waiting_ = 0;
  std::atomic<std::size_t> dropped_ = 0;
};

}  // namespace vellora

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora {

/// Numbers the fetches of one list, so that who wants it as it is now joins no fetch that was sent before,
/// and so that an older fetch that comes late does not take the place of a newer one.
///
/// Ownership: shared by a service and what it fetches.
///
/// Threads: safe to use from several threads at once.
class Renewals : public std::enable_shared_from_this<Renewals> {
 public:
  using Number = std::uint64_t;

  /// Of the fetches that are sent from now on.
  Number begin() noexcept { return ++current_; }
  [[nodiscard]] Number current() const noexcept { return current_; }

  /// Yields `list`, which the fetch of that number has brought, when `save(list)` has been called; it is
  /// called unless a list of a higher number came first. One list is saved at a time: of two that come at the
  /// same moment, the thread of the first saves and yields the second as well.
  template <class List, class Save>
  [[nodiscard]] Publisher<List> kept(Number number, List list, Save save) {
    return Publisher<List>::promise([&](const Promise<List>& promise) {
      gate_.run([self = this->shared_from_this(), promise, number, list = std::move(list),
                 save = std::move(save)]() mutable {
        try {
          if (self->isNewest(number)) save(list);
        } catch (const std::bad_alloc&) {
          return promise.fail(outOfMemory());
        }
        promise.succeed(std::move(list));
      });
    });
  }

  /// The name under which fetches of that number of "theme", say, are shared.
  [[nodiscard]] static std::string key(const std::string& list, Number number) {
    return list + ' ' + std::to_string(number);
  }

 private:
  [[nodiscard]] bool isNewest(Number number) noexcept {
    if (number < kept_) return false;
    kept_ = number;
    return true;
  }

  std::atomic<Number> current_ = 0;
  SerialGate gate_;
  Number kept_ = 0;  // inside the gate
};

}  // namespace vellora

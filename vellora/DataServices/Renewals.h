#pragma once

#include <atomic>
#include <cstdint>
#include <string>

namespace vellora {

/// Numbers the fetches of one list, so that who wants it as it is now joins no fetch that was sent before,
/// and so that an older fetch that comes late does not take the place of a newer one.
///
/// Ownership: part of a service.
///
/// Threads: safe to use from several threads at once.
class Renewals {
 public:
  using Number = std::uint64_t;

  /// Of the fetches that are sent from now on.
  Number begin() noexcept { return ++current_; }
  [[nodiscard]] Number current() const noexcept { return current_; }

  /// Whether what the fetch of that number has brought may be kept: whether none of a higher one was.
  [[nodiscard]] bool isNewest(Number number) noexcept {
    Number newest = kept_;
    while (newest < number && !kept_.compare_exchange_weak(newest, number)) {
    }
    return newest <= number;
  }

  /// The name under which fetches of that number of "theme", say, are shared.
  [[nodiscard]] static std::string key(const std::string& list, Number number) {
    return list + ' ' + std::to_string(number);
  }

 private:
  std::atomic<Number> current_ = 0;
  std::atomic<Number> kept_ = 0;
};

}  // namespace vellora

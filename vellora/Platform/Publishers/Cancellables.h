#pragma once

#include <cstddef>
#include <mutex>
#include <vector>

#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// The subscription tokens of one owner, kept for the owner's life. Destroying the set cancels what still
/// runs.
///
/// Threads: safe to use from several threads at once.
class VELLORA_EXPORT Cancellables {
 public:
  Cancellables() = default;
  Cancellables(const Cancellables&) = delete;
  Cancellables& operator=(const Cancellables&) = delete;

  void insert(AnyCancellable token);

  [[nodiscard]] std::size_t size() const;

 private:
  mutable std::mutex mutex_;
  std::vector<AnyCancellable> tokens_;
};

}  // namespace vellora

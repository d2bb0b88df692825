#pragma once

#include <memory>

#include "bindings/c/vellora.h"
#include "vellora/Catalog/CatalogOptions.h"
#include "vellora/Host/PlatformAPI.h"

namespace vellora::capi {

/// The host that the options describe, and what it keeps of theirs.
///
/// Ownership: the tables of functions stay the caller's until `keep`.
class OpenedHost {
 public:
  /// Throws a `Refusal` of options that are none, and of a host that cannot be had.
  explicit OpenedHost(const vellora_options& options);
  ~OpenedHost();
  OpenedHost(const OpenedHost&) = delete;
  OpenedHost& operator=(const OpenedHost&) = delete;

  [[nodiscard]] const std::shared_ptr<CorvaneSDK::PlatformAPI>& api() const noexcept { return api_; }

  /// From now on the contexts are the library's.
  void keep();

 private:
  struct Tables;
  const std::unique_ptr<Tables> tables_;
  const std::shared_ptr<CorvaneSDK::PlatformAPI> api_;
};

/// What the options say of the catalogue itself. Throws a `Refusal` of what is none.
[[nodiscard]] CatalogOptions catalogOptions(const vellora_options& options);

}  // namespace vellora::capi

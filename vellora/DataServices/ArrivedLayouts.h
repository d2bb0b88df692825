#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "vellora/DataServices/DatedLayout.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora {

/// The compact layouts that have come, but wait for the name fields of the types that they refer to. A
/// question whose deadline comes first is answered with them as they are.
///
/// Ownership: shared by the service and the downloads. Each download owns its layouts, in a `Lot`.
///
/// Threads: safe to use from several threads at once. Nobody rewrites a field of these layouts.
class ArrivedLayouts {
 public:
  /// The layouts of one download. They can be found as long as this lives.
  class Lot {
   public:
    Lot(std::shared_ptr<ArrivedLayouts> home, std::vector<ObjectCompactLayoutInfo> layouts, Date asked);
    ~Lot();
    Lot(const Lot&) = delete;
    Lot& operator=(const Lot&) = delete;

   private:
    friend class ArrivedLayouts;

    const std::shared_ptr<ArrivedLayouts> home_;
    const std::vector<ObjectCompactLayoutInfo> layouts_;
    const Date asked_;
  };

  /// The layout of that type which came last.
  [[nodiscard]] std::optional<DatedLayout<ObjectCompactLayoutInfo>> named(const std::string& type) const;

 private:
  void add(const Lot* lot);
  void remove(const Lot* lot);

  mutable std::mutex mutex_;
  std::vector<const Lot*> lots_;  // under mutex_; in the order of their arrival
};

}  // namespace vellora

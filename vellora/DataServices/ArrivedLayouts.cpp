#include "vellora/DataServices/ArrivedLayouts.h"

#include <algorithm>
#include <utility>

namespace vellora {

ArrivedLayouts::Lot::Lot(std::shared_ptr<ArrivedLayouts> home, std::vector<ObjectCompactLayoutInfo> layouts,
                         Date asked)
    : home_(std::move(home)), layouts_(std::move(layouts)), asked_(asked) {
  home_->add(this);
}

ArrivedLayouts::Lot::~Lot() {
  home_->remove(this);
}

std::optional<DatedLayout<ObjectCompactLayoutInfo>> ArrivedLayouts::named(const std::string& type) const {
  const std::lock_guard lock(mutex_);
  for (auto lot = lots_.rbegin(); lot != lots_.rend(); ++lot) {
    const auto& layouts = (*lot)->layouts_;
    const auto last = std::find_if(layouts.rbegin(), layouts.rend(),
                                   [&](const auto& layout) { return layout.objectType == type; });
    if (last != layouts.rend()) return DatedLayout<ObjectCompactLayoutInfo>{*last, (*lot)->asked_};
  }
  return std::nullopt;
}

void ArrivedLayouts::add(const Lot* lot) {
  const std::lock_guard lock(mutex_);
  lots_.push_back(lot);
}

void ArrivedLayouts::remove(const Lot* lot) {
  const std::lock_guard lock(mutex_);
  std::erase(lots_, lot);
}

}  // namespace vellora

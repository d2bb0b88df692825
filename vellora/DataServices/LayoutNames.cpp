#include "vellora/DataServices/LayoutNames.h"

#include <new>
#include <set>
#include <utility>

#include "vellora/Platform/Json/Json.h"

namespace vellora {

LayoutNames::LayoutNames(std::shared_ptr<CorvaneSDK::Cache> cache, std::string_view key)
    : cache_(std::move(cache)), key_(key) {}

void LayoutNames::noteAndSave(std::vector<std::string> names, const Fetching& fetching,
                              std::function<void()> save) const {
  try {
    gate_.run([this, names = std::move(names), fetching, save = std::move(save)] {
      try {
        writeFor(fetching, [&] {
          add(names);
          save();
        });
      } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the next lookup fetches them again
      }
    });
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the same
  }
}

std::vector<std::string> LayoutNames::all() const {
  const auto blob = cache_->load(key_);
  if (!blob) return {};
  auto names = json::decode<std::vector<std::string>>(*blob);
  return names ? std::move(names).value() : std::vector<std::string>();
}

void LayoutNames::forget() const {
  cache_->remove(key_);
}

void LayoutNames::add(const std::vector<std::string>& names) const {
  const auto known = this->all();
  std::set<std::string> all(known.begin(), known.end());
  all.insert(names.begin(), names.end());
  if (all.size() == known.size()) return;
  const auto blob = json::encode(std::vector<std::string>(all.begin(), all.end()));
  if (blob) cache_->save(blob.value(), key_);
}

}  // namespace vellora

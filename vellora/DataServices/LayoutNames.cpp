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
          if (add(names)) save();
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

void LayoutNames::forgetAllBut(const std::vector<std::string>& left) const {
  if (left.empty()) {
    cache_->remove(key_);
  } else {
    save(left);
  }
}

bool LayoutNames::add(const std::vector<std::string>& names) const {
  const auto known = this->all();
  std::set<std::string> all(known.begin(), known.end());
  all.insert(names.begin(), names.end());
  return all.size() == known.size() || save(std::vector<std::string>(all.begin(), all.end()));
}

bool LayoutNames::save(const std::vector<std::string>& names) const {
  const auto blob = json::encode(names);
  return blob && cache_->save(blob.value(), key_);
}

}  // namespace vellora

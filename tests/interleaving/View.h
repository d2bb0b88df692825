#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vellora::tests::interleaving {

/// What somebody has seen: of each place the number of the newest store, or of each thread how far it has
/// come. Nobody reads a store that is older than the one he has seen.
class View {
 public:
  [[nodiscard]] std::uint32_t of(std::size_t place) const {
    return place < newest_.size() ? newest_[place] : 0;
  }

  void see(std::size_t place, std::uint32_t store) {
    if (place >= newest_.size()) newest_.resize(place + 1);
    newest_[place] = std::max(newest_[place], store);
  }

  void seeAllOf(const View& other) {
    if (other.newest_.size() > newest_.size()) newest_.resize(other.newest_.size());
    for (std::size_t place = 0; place < other.newest_.size(); ++place) {
      newest_[place] = std::max(newest_[place], other.newest_[place]);
    }
  }

 private:
  std::vector<std::uint32_t> newest_;  // by place
};

}  // namespace vellora::tests::interleaving

#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vellora::hostkit::tests {

/// Texts by the names of what keeps them.
using Items = std::map<std::string, std::string>;

/// What a cache held, one write after the other, and what of that was confirmed as durable. Moments are
/// counted in entries of the disk's journal.
class Diary {
 public:
  explicit Diary(Items atFirst) : states_{{0, std::move(atFirst)}} {}

  /// A damaged file with these is there at first: each of them may be missing, until something is confirmed.
  void beginDamaged(Items items) { damaged_ = std::move(items); }
  [[nodiscard]] const std::optional<Items>& damaged() const { return damaged_; }

  [[nodiscard]] const Items& first() const { return states_.front().items; }

  /// A write begins at `moment`, after which `items` are there.
  void begin(std::size_t moment, Items items) { states_.push_back({moment, std::move(items)}); }

  /// All that has been written is durable from `moment` on.
  void confirm(std::size_t moment) { confirmed_.push_back({moment, states_.size() - 1}); }

  /// From `moment` on nothing may be left of what was there at first.
  void noteDestroyed(std::size_t moment) { destroyed_ = moment; }
  [[nodiscard]] bool wasDestroyed(std::size_t moment) const { return destroyed_ && *destroyed_ <= moment; }

  [[nodiscard]] const Items& latest() const { return states_.back().items; }

  /// Whether a cache that holds `found` after a loss of power at `moment` has lost nothing that was
  /// confirmed, and mixed nothing.
  [[nodiscard]] bool allows(const Items& found, std::size_t moment) const {
    const std::size_t earliest = confirmedAt(moment);
    for (std::size_t i = earliest; i < states_.size() && (i == earliest || states_[i].begun <= moment); ++i) {
      if (states_[i].items == found) return true;
    }
    return earliest == 0 && damaged_ &&
           std::includes(damaged_->begin(), damaged_->end(), found.begin(), found.end());
  }

  /// Whether the last write before `moment` is lost.
  [[nodiscard]] bool isBehind(const Items& found, std::size_t moment) const {
    const auto next = std::find_if(states_.begin() + 1, states_.end(),
                                   [moment](const State& state) { return state.begun > moment; });
    return std::prev(next)->items != found;
  }

 private:
  struct State {
    std::size_t begun = 0;
    Items items;
  };

  [[nodiscard]] std::size_t confirmedAt(std::size_t moment) const {
    std::size_t state = 0;
    for (const auto& [when, which] : confirmed_) {
      if (when <= moment) state = which;
    }
    return state;
  }

  std::vector<State> states_;
  std::vector<std::pair<std::size_t, std::size_t>> confirmed_;  // the moment, and the state by then
  std::optional<Items> damaged_;
  std::optional<std::size_t> destroyed_;
};

}  // namespace vellora::hostkit::tests

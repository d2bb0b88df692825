#include "tests/interleaving/Choices.h"

#include <sstream>

namespace vellora::tests::interleaving {

std::optional<Choices> Choices::parsed(const std::string& text) {
  Choices choices;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    std::istringstream pair(word);
    std::size_t step = 0;
    std::size_t alternative = 0;
    char colon = 0;
    if (!(pair >> step >> colon >> alternative) || colon != ':' || !pair.eof()) return std::nullopt;
    if (!choices.told_.empty() && step <= choices.told_.back().first) return std::nullopt;
    choices.told_.emplace_back(step, alternative);
  }
  return choices;
}

std::optional<std::size_t> Choices::choose(std::size_t count) {
  if (step_ == path_.size()) {
    std::size_t alternative = 0;
    if (nextTold_ < told_.size() && told_[nextTold_].first == step_) alternative = told_[nextTold_++].second;
    path_.push_back({alternative, count});
  }
  const std::size_t alternative = path_[step_++].alternative;
  return alternative < count ? std::optional(alternative) : std::nullopt;
}

bool Choices::next() {
  while (!path_.empty() && path_.back().alternative + 1 == path_.back().count) path_.pop_back();
  if (path_.empty()) return false;
  ++path_.back().alternative;
  rewind();
  return true;
}

std::string Choices::text() const {
  std::ostringstream words;
  for (std::size_t step = 0; step < path_.size(); ++step) {
    if (path_[step].alternative == 0) continue;
    words << (words.tellp() > 0 ? " " : "") << step << ':' << path_[step].alternative;
  }
  return words.str();
}

}  // namespace vellora::tests::interleaving

#include "apps/records-server/FaultPlan.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vellora::recordsserver {
namespace {

// Goes back to the last `*` at a mismatch and lets it stand for one character more.
bool matches(std::string_view pattern, std::string_view text) {
  std::size_t p = 0;
  std::size_t t = 0;
  auto star = std::string_view::npos;
  std::size_t starText = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      starText = t;
    } else if (p < pattern.size() && pattern[p] == text[t]) {
      ++p;
      ++t;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      t = ++starText;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

bool applies(std::string_view pattern, std::string_view target) {
  const auto wholeTarget = pattern.find('?') != std::string_view::npos;
  return matches(pattern, wholeTarget ? target : target.substr(0, target.find('?')));
}

}  // namespace

void FaultPlan::set(std::string pattern, Fault fault, std::optional<std::size_t> count) {
  const std::lock_guard lock(mutex_);
  std::erase_if(rules_, [&pattern](const Rule& rule) { return rule.pattern == pattern; });
  if (count != std::optional<std::size_t>(0)) rules_.push_back({std::move(pattern), fault, count});
}

void FaultPlan::clear() {
  const std::lock_guard lock(mutex_);
  rules_.clear();
}

Fault FaultPlan::take(std::string_view target) {
  const std::lock_guard lock(mutex_);
  const auto rule = std::find_if(rules_.rbegin(), rules_.rend(), [target](const Rule& candidate) {
    return applies(candidate.pattern, target);
  });
  if (rule == rules_.rend()) return {};
  const auto fault = rule->fault;
  if (rule->left && --*rule->left == 0) rules_.erase(std::next(rule).base());
  return fault;
}

}  // namespace vellora::recordsserver

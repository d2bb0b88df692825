#include "testkit/AnswerScript.h"

#include <algorithm>
#include <utility>

namespace vellora::testkit {

using CorvaneSDK::NetRequest;

struct AnswerScript::Rule {
  const Predicate matches;
  std::deque<Answer> answers;  // under the script's mutex; never empty
};

void AnswerScript::addRule(Predicate matches, std::vector<Answer> answers) {
  if (answers.empty()) return;
  const auto rule = std::make_shared<Rule>(Rule{std::move(matches), {answers.begin(), answers.end()}});
  const std::lock_guard lock(mutex_);
  rules_.push_back(rule);
}

void AnswerScript::addNext(Answer answer) {
  const std::lock_guard lock(mutex_);
  next_.push_back(std::move(answer));
}

std::optional<AnswerScript::Answer> AnswerScript::take(const NetRequest& request) {
  const std::shared_ptr<Rule> rule = ruleFor(request);
  const std::lock_guard lock(mutex_);
  std::deque<Answer>& answers = rule ? rule->answers : next_;
  if (answers.empty()) return std::nullopt;
  Answer answer = answers.front();
  const bool staysForTheNextRequest = rule && answers.size() == 1;
  if (!staysForTheNextRequest) answers.pop_front();
  return answer;
}

// The predicates are the test's own code, hence called on a copy of the list, with no lock held.
std::shared_ptr<AnswerScript::Rule> AnswerScript::ruleFor(const NetRequest& request) const {
  std::vector<std::shared_ptr<Rule>> rules;
  {
    const std::lock_guard lock(mutex_);
    rules = rules_;
  }
  const auto newest =
      std::find_if(rules.rbegin(), rules.rend(), [&](const auto& rule) { return rule->matches(request); });
  return newest == rules.rend() ? nullptr : *newest;
}

}  // namespace vellora::testkit

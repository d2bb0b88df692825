#include "testkit/ExpectAnswer.h"

#include <algorithm>
#include <string_view>

namespace vellora::testkit {

namespace {

std::string_view nameOf(End end) {
  switch (end) {
    case End::answered:
      return "answered";
    case End::failed:
      return "failed";
    case End::timedOut:
      return "timed out";
    case End::cancelled:
      break;
  }
  return "cancelled";
}

[[noreturn]] void refuse(const std::string& expected, const AnswerSummary& actual) {
  throw UnexpectedAnswer("expected " + expected + ", but the answer is: " + actual.text());
}

std::string joined(const std::vector<std::string>& parts) {
  std::string all;
  for (const auto& part : parts) all.append(all.empty() ? "" : ", ").append(part);
  return all;
}

}  // namespace

UnexpectedAnswer::~UnexpectedAnswer() = default;

std::string AnswerSummary::text() const {
  std::string all(nameOf(end));
  if (!found.empty()) all.append("; found: ").append(joined(found));
  std::vector<std::string> reasons;
  for (const auto& [key, why] : missing) reasons.push_back(key + " (" + why.text() + ")");
  if (!missing.empty()) all.append("; missing: ").append(joined(reasons));
  if (trouble) all.append("; trouble: ").append(trouble->text());
  return all;
}

void AnswerSummary::expectEnd(End expected) const {
  if (end != expected) refuse("the end \"" + std::string(nameOf(expected)) + '"', *this);
}

void AnswerSummary::expectFound(const std::string& key) const {
  if (std::find(found.begin(), found.end(), key) == found.end()) refuse(key + " to be found", *this);
}

void AnswerSummary::expectMissing(const std::string& key, Missing::Why why) const {
  const auto reason = missing.find(key);
  if (reason != missing.end() && reason->second.why() == why) return;
  const std::string expected = Missing(why).text();
  refuse(key + " to be missing: " + expected, *this);
}

}  // namespace vellora::testkit

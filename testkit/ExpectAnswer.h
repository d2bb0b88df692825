#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// What the functions below throw. Its text says what the answer should have been, and what it is. Every test
/// framework reports an exception as a failure, together with its text, so the kit needs none of them.
///
/// Ownership: a plain value.
///
/// Threads: immutable.
class VELLORA_EXPORT UnexpectedAnswer final : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
  ~UnexpectedAnswer() override;
};

/// An answer of whatever type, as far as a person needs it who reads why a test failed.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT AnswerSummary {
  template <class T>
  explicit AnswerSummary(const Answer<T>& answer)
      : end(answer.end), missing(answer.missing), trouble(answer.trouble) {
    for (const auto& [key, value] : answer.found) found.push_back(key);
  }

  End end;
  std::vector<std::string> found;
  std::map<std::string, Missing> missing;
  std::optional<Failure> trouble;

  /// "answered; found: Account; missing: Nonsense (unknown to the server)".
  [[nodiscard]] std::string text() const;

  /// These throw `UnexpectedAnswer` unless the answer is as they say.
  void expectEnd(End expected) const;
  void expectFound(const std::string& key) const;
  void expectMissing(const std::string& key, Missing::Why why) const;
};

/// What was found for `key`, which must have been found.
///
///     EXPECT_EQ(expectFound(catalog.types({"Account"}).get(), "Account").typePresentationInfo.label,
///     "Account");
///
/// Errors: throws `UnexpectedAnswer`.
template <class T>
T expectFound(const Answer<T>& answer, const std::string& key) {
  AnswerSummary(answer).expectFound(key);
  return answer.found.at(key);
}

/// Why `key` is missing, which must be for `why`.
///
///     expectMissing(answer, "001xx", Missing::Why::timedOut);
///
/// Errors: throws `UnexpectedAnswer`.
template <class T>
Missing expectMissing(const Answer<T>& answer, const std::string& key, Missing::Why why) {
  AnswerSummary(answer).expectMissing(key, why);
  return answer.missing.at(key);
}

/// The answer, which must have ended so.
///
///     const auto answer = expectEnd(catalog.allTypes().get(), End::answered);
///
/// Errors: throws `UnexpectedAnswer`.
template <class T>
Answer<T> expectEnd(Answer<T> answer, End end) {
  AnswerSummary(answer).expectEnd(end);
  return answer;
}

}  // namespace vellora::testkit

#include "apps/vellora/command/RequestFailures.h"

#include <utility>

namespace vellora::command {

RequestFailures::RequestFailures(std::shared_ptr<const hostkit::KnownSecrets> secrets)
    : secrets_(std::move(secrets)) {}

void RequestFailures::note(const hostkit::RequestOutcome& outcome) {
  if (outcome.error) noteFirst(outcome.error->text);
  const std::lock_guard lock(mutex_);
  latestAnswer_ =
      "the answer of the server to " + outcome.path + " (status " + std::to_string(outcome.statusCode) + ")";
}

void RequestFailures::note(std::string_view errorLine) {
  const std::string answer = latestAnswer();
  if (!answer.empty()) noteFirst(answer + " cannot be used: " + secrets_->cleaned(errorLine));
}

std::optional<std::string> RequestFailures::first() const {
  const std::lock_guard lock(mutex_);
  return first_;
}

std::string RequestFailures::latestAnswer() const {
  const std::lock_guard lock(mutex_);
  return latestAnswer_;
}

void RequestFailures::noteFirst(std::string what) {
  const std::lock_guard lock(mutex_);
  if (!first_) first_ = std::move(what);
}

}  // namespace vellora::command

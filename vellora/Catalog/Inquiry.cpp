#include "vellora/Catalog/Inquiry.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>
#include <utility>

#include "vellora/Platform/Values/Date.h"

namespace vellora {

namespace {

void noteAnswer(RequestReport& report, const NetworkAnswer& answer, bool withError) {
  using Outcome = RequestReport::Outcome;
  if (!answer) {
    report.outcome = Outcome::error;
    report.isPassing = answer.error().retryAdvice().has_value();
    if (withError) report.error = answer.error();
  } else if (answer.value()) {
    report.outcome = Outcome::body;
    report.bytes = answer.value()->size();
  }
}

}  // namespace

Inquiry::Inquiry(std::shared_ptr<const Common> common, QuestionKind kind, TimedQueue::Delay patience,
                 std::shared_ptr<CallbackGate> writes)
    : common_(std::move(common)),
      name_{++common_->count, kind},
      begun_(common_->timer->time()),
      end_(begun_ + TimedQueue::bounded(patience)),
      writes_(std::move(writes)) {}

Requester::Answered Inquiry::sending(const std::string& url, int attempt) {
  const auto& reporter = common_->reporter;
  if (!reporter) return nullptr;
  reporter->report<RequestReport>(&CatalogObserver::requestSent, [&] { return requestReport(url, attempt); });
  try {
    const auto hasEnded = std::make_shared<std::atomic_flag>();
    return [self = shared_from_this(), url, attempt, hasEnded,
            sent = timer()->time()](const NetworkAnswer& answer) {
      if (hasEnded->test_and_set()) return;  // a network that answers twice
      const auto& to = self->common_->reporter;
      to->report<RequestReport>(&CatalogObserver::requestEnded, [&] {
        auto report = self->requestReport(url, attempt);
        report.time = self->timer()->time() - sent;
        noteAnswer(report, answer, to->observesKeys());
        return report;
      });
    };
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

std::optional<TimedQueue::Delay> Inquiry::pauseAfter(int attempt, const Error& error) {
  if (attempt >= std::min(common_->retry.attempts, RetryOptions::mostAttempts)) return std::nullopt;
  const auto advice = error.retryAdvice();
  if (!advice) return std::nullopt;
  const auto asked = std::max(advice->after.value_or(TimedQueue::Delay::zero()), TimedQueue::Delay::zero());
  const auto pause = asked + common_->retry.pauseAfter(attempt);
  if (!(timer()->time() + pause < end_)) return std::nullopt;
  return pause;
}

void Inquiry::noteRefresh() const noexcept {
  try {
    common_->onRefresh();
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the next refresh tells
  }
}

QuestionReport Inquiry::reportOf(std::size_t keys, End end, std::size_t found,
                                 const std::map<std::string, Missing>& missing) const {
  using Origin = QuestionReport::Origin;
  QuestionReport report{.question = name_, .keys = keys, .end = end, .found = found, .missing = {}};
  for (const auto& [key, reason] : missing) ++report.missing[reason.why()];
  if (found > 0) report.origin = isServed_ ? Origin::server : Origin::cache;
  report.time = timer()->time() - begun_;
  return report;
}

void Inquiry::noteAge(QuestionReport& report, const Age& age, bool counts) {
  if (!counts) return;
  report.isStale = report.isStale || age.isStale;
  if (!age.fetched) return;
  const TimedQueue::Delay since(now().secondsSince(*age.fetched));
  report.age = std::max(report.age.value_or(since), since);
}

RequestReport Inquiry::requestReport(const std::string& url, int attempt) const {
  RequestReport report{.cause = name_, .path = url.substr(0, url.find('?')), .attempt = attempt};
  if (common_->reporter->observesKeys()) report.url = url;
  return report;
}

}  // namespace vellora

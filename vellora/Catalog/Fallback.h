#pragma once

#include <array>
#include <functional>
#include <memory>
#include <utility>
#include <variant>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Asked.h"
#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/Catalog/QuestionError.h"
#include "vellora/Catalog/Sheet.h"
#include "vellora/Platform/Publishers/Later.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora {

/// Has a question that a server keeps waiting end with what the cache has, however old, rather than with
/// nothing. The cache is asked twice before the deadline, at these parts of the time until then: early
/// enough that no busy disk delays the end, and late enough that most questions have ended.
inline constexpr std::array fallbackMoments{0.5, 0.9};

/// Writes what the cache has answered at a deadline; a key is unknown where a fresh list lacks it. `isOfAll`
/// tells a question that names no keys.
template <class T>
void writeFallback(Sheet<T>& sheet, const Answer<T>& cached, bool isOfAll) {
  const auto before = sheet.answer().found.size();
  if (isOfAll) sheet.setAge(cached.age);
  for (const auto& [key, value] : cached.found) {
    isOfAll ? sheet.listed(key, value) : sheet.found(key, T(value), cached.ageOf(key));
  }
  for (const auto& [key, missing] : cached.missing) {
    if (missing.why() == Missing::Why::unknown) sheet.missed(key, missing);
  }
  if (sheet.answer().found.size() == before) return;
  sheet.trouble(Failure(QuestionError{QuestionError::Case::timedOut}));
}

/// Asks the cache at the moments above, as long as `question` is open. `cached` gives what it answers, on
/// `queue`; `begun` is when the question was asked, on the clock of `timer`.
template <class T>
void fallBackAtDeadline(const std::shared_ptr<detail::Asked<T>>& question, bool isOfAll,
                        const std::shared_ptr<TimedQueue>& timer, TimedQueue::Delay begun,
                        TimedQueue::Delay deadline, const std::shared_ptr<DispatchQueue>& queue,
                        std::function<Answer<T>()> cached) {
  const auto ask = [weak = std::weak_ptr(question), isOfAll, cached = std::move(cached)](std::monostate) {
    const auto asked = weak.lock();
    if (!asked) return;
    asked->fallBackOn(
        [answer = cached(), isOfAll](Sheet<T>& sheet) { writeFallback(sheet, answer, isOfAll); });
  };
  for (const double part : fallbackMoments) {
    const auto delay = begun + part * TimedQueue::bounded(deadline) - timer->time();
    question->keep(later(timer, delay).receive(queue).sink(ask));
  }
}

}  // namespace vellora

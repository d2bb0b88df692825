#pragma once

#include <coroutine>
#include <functional>
#include <memory>
#include <utility>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/QuestionToken.h"
#include "vellora/Catalog/TypeChange.h"
#include "vellora/Models/ObjectCompactLayoutInfo.h"
#include "vellora/Models/ObjectLayoutInfo.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

namespace detail {
template <class T>
class Asked;
}

/// A question that a `Catalog` was asked and is finding the answer to. Wait for it in one of three ways:
///
///     Answer<ObjectPresentationInfo> answer = co_await catalog.records(ids);
///     Answer<ObjectPresentationInfo> answer = catalog.records(ids).get();
///     pending = catalog.records(ids).then([](Answer<ObjectPresentationInfo> answer) { … });
///
/// It ends exactly once, at its deadline at the latest. The work begins when it is asked, so several
/// questions can be asked before the first is waited for. Wait for each once: the answer is moved out. A
/// second time `get` and `co_await` give one without keys, `failed`, whose `trouble` says so.
///
/// Ownership: movable only. One that is dropped before anybody has waited is cancelled: its requests are let
/// go of. So is that of a coroutine which is destroyed while it is suspended here.
///
/// Threads: callbacks run and coroutines go on where `answersOn` says, never inside a call of theirs. A
/// coroutine must not be destroyed on one thread while it goes on on another.
///
/// Errors: in the answer. A callback must not throw. Where a queue has no memory for an answer, it is
/// delivered on the thread that has it: otherwise it would never come.
template <class T>
class VELLORA_EXPORT Question {
 public:
  using Value = T;

  explicit Question(std::shared_ptr<detail::Asked<T>> asked) : asked_(std::move(asked)) {}
  Question(Question&& other) noexcept : asked_(std::move(other.asked_)) {}
  Question& operator=(Question&& other) noexcept;
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;
  ~Question();

  /// Blocks until the answer is there, at most to the deadline. Where that would block what the answer needs
  /// (on the queue of its answers, on a queue of the library, on the thread of the deadlines, inside a
  /// callback of the catalogue), the question ends at once instead, as `failed`, unless it has ended already.
  [[nodiscard]] Answer<T> get() &&;

  /// Calls `callback` with the answer, once. Keep the token: dropping it cancels.
  [[nodiscard]] QuestionToken then(std::function<void(Answer<T> answer)> callback) &&;

  /// Gives the question up, as `QuestionToken::cancel` does. A `get` that waits on another thread returns. A
  /// callback is not called, a coroutine that is suspended here not resumed: what is to go on takes `stop`,
  /// of the options. `get` and `co_await` that come later give the cancelled answer at once.
  void cancel();

  /// For `co_await`, in a coroutine of any type.
  [[nodiscard]] bool await_ready() const noexcept;
  void await_suspend(std::coroutine_handle<> waiting);
  [[nodiscard]] Answer<T> await_resume();

 private:
  std::shared_ptr<detail::Asked<T>> asked_;
};

extern template class Question<ObjectPresentationInfo>;
extern template class Question<ObjectLayoutInfo>;
extern template class Question<ObjectCompactLayoutInfo>;
extern template class Question<TypeChange>;

}  // namespace vellora

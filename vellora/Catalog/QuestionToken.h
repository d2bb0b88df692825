#pragma once

#include <memory>
#include <utility>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

namespace detail {
class AskedBase;
}

/// Holds a question that is to be answered through a callback.
///
///     pending_ = catalog.records(ids).then([this](auto answer) { show(answer); });
///     …
///     pending_.cancel();  // from here on `this` may go
///
/// Ownership: movable only. Dropping it cancels; `detach` lets the question go on without it.
///
/// Threads: `cancel` may be called from any thread, also from inside the callback. Move and destroy it on one
/// thread at a time.
class VELLORA_EXPORT QuestionToken {
 public:
  /// A token without a question.
  QuestionToken() = default;
  explicit QuestionToken(std::shared_ptr<detail::AskedBase> asked) : asked_(std::move(asked)) {}

  QuestionToken(QuestionToken&& other) noexcept = default;
  QuestionToken& operator=(QuestionToken&& other) noexcept;
  QuestionToken(const QuestionToken&) = delete;
  QuestionToken& operator=(const QuestionToken&) = delete;
  ~QuestionToken();

  /// Gives the question up. When this has returned, the callback neither runs nor will: it waits for one that
  /// runs on another thread. So two callbacks that run at one time, on a concurrent queue, must not cancel or
  /// drop each other's questions: they would wait for each other for ever.
  void cancel();

  /// Lets the question go on. It ends at its deadline at the latest, or with the catalogue.
  void detach() && { asked_.reset(); }

 private:
  std::shared_ptr<detail::AskedBase> asked_;
};

}  // namespace vellora

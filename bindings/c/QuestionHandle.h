#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "bindings/c/AnswerHandle.h"
#include "bindings/c/ForeignTable.h"
#include "bindings/c/Kinds.h"
#include "bindings/c/vellora.h"
#include "vellora/Catalog/Catalog.h"

namespace vellora::capi {

using Listener = ForeignTable<vellora_listener>;

/// A question or a watch that C has a handle to.
///
/// Ownership: shared by the handle and the call that makes it. Without it the question is given up.
///
/// Threads: safe to use from several threads at once.
class OpenQuestion {
 public:
  virtual ~OpenQuestion() = default;
  OpenQuestion(const OpenQuestion&) = delete;
  OpenQuestion& operator=(const OpenQuestion&) = delete;

  /// Gives it up, and waits for a call of the listener that runs.
  virtual void cancel() = 0;

  /// Blocks until the answer is there. Throws a `Refusal` of a question that is not to be waited for.
  [[nodiscard]] virtual std::unique_ptr<vellora_answer> wait() = 0;

 protected:
  OpenQuestion() = default;
};

}  // namespace vellora::capi

struct vellora_question {
  std::shared_ptr<vellora::capi::OpenQuestion> open;
};

namespace vellora::capi {

/// Ask and watch as `vellora_ask` and `vellora_watch` do. The listener may be null for `ask`, the handle for
/// whoever has a listener. Throw a `Refusal` or `std::bad_alloc`; the listener's context is the host's again
/// then.
void ask(const Catalog& catalog, std::int32_t kind, const Request& request,
         const std::shared_ptr<Listener>& listener, vellora_question** handle);
void watch(const Catalog& catalog, std::int32_t kind, const Request& request,
           const std::shared_ptr<Listener>& listener, vellora_question** handle);

}  // namespace vellora::capi

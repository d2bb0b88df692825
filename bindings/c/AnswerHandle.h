#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>

#include "bindings/c/Kinds.h"
#include "bindings/c/vellora.h"
#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Keys.h"
#include "vellora/Catalog/Readiness.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

/// An answer as C holds it.
///
/// Ownership: owned by whom C gave it to. What its members show is valid as long as the answer.
///
/// Threads: immutable; its document is written under a lock when it is first asked for.
///
/// Errors: members throw a `vellora::capi::Refusal` where the answer has nothing of that sort.
struct vellora_answer {
  vellora_answer() = default;
  virtual ~vellora_answer() = default;
  vellora_answer(const vellora_answer&) = delete;
  vellora_answer& operator=(const vellora_answer&) = delete;

  [[nodiscard]] virtual vellora_summary summary() const = 0;
  [[nodiscard]] virtual vellora_found found(std::size_t index) const = 0;
  [[nodiscard]] virtual vellora_look look(std::size_t index, bool ofInstance) const = 0;
  [[nodiscard]] virtual vellora_column column(std::size_t index, std::size_t column) const = 0;
  [[nodiscard]] virtual vellora_field field(std::size_t index, std::size_t field) const = 0;
  [[nodiscard]] virtual vellora_missing missing(std::size_t index) const = 0;

  [[nodiscard]] vellora_text document() const;

 protected:
  [[nodiscard]] virtual vellora::Result<vellora::Data> writtenDocument() const = 0;

 private:
  mutable std::mutex mutex_;
  mutable std::optional<vellora::Data> document_;  // under mutex_; stays once it is written
};

namespace vellora::capi {

/// The handle of an answer to a question of that kind. Throws `std::bad_alloc`.
template <class T>
[[nodiscard]] std::unique_ptr<vellora_answer> handleOf(const Kind<T>& kind, Answer<T> answer,
                                                       std::shared_ptr<const Keys> asked);

/// The same of a catalogue's state.
[[nodiscard]] std::unique_ptr<vellora_answer> handleOf(const Readiness& readiness);

}  // namespace vellora::capi

#pragma once

#include <functional>
#include <memory>
#include <mutex>

namespace vellora::conformance {

/// Lends something of a test to callbacks, which may come long after the test gave them up: on a host that is
/// slower than its patience. Who comes after the loan has ended gets nothing. No callback ever holds a handle
/// to what is lent, so none destroys it on a thread that this would have to wait for.
///
/// Ownership: refers to what is lent, which must outlive the loan; the borrowers need not know of its end.
///
/// Threads: borrowers may be on any. The end of the loan waits for the one that uses what is lent.
template <class T>
class Loan {
 public:
  /// Calls `use` with what is lent, while the loan lasts.
  using Borrower = std::function<void(const std::function<void(T&)>& use)>;

  explicit Loan(T& lent) : state_(std::make_shared<State>(&lent)) {}
  ~Loan() {
    const std::lock_guard lock(state_->mutex);
    state_->lent = nullptr;
  }
  Loan(const Loan&) = delete;
  Loan& operator=(const Loan&) = delete;

  [[nodiscard]] Borrower borrower() const {
    return [state = state_](const std::function<void(T&)>& use) {
      const std::lock_guard lock(state->mutex);
      if (state->lent != nullptr) use(*state->lent);
    };
  }

 private:
  struct State {
    explicit State(T* thing) : lent(thing) {}
    std::mutex mutex;
    T* lent;  // under mutex
  };

  const std::shared_ptr<State> state_;
};

}  // namespace vellora::conformance

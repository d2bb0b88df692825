#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <utility>

#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

/// Stands for `std::thread`, for work without arguments.
class Thread {
 public:
  /// The number of a thread within its run; of no thread the last one there is.
  class id {
   public:
    id() = default;
    explicit id(std::size_t number) : number_(number) {}
    friend bool operator==(id, id) = default;

   private:
    std::size_t number_ = static_cast<std::size_t>(-1);
  };

  Thread() = default;
  template <class Work>
  explicit Thread(Work work)
      : number_(Run::current()->begin([work = std::make_shared<Work>(std::move(work))] { (*work)(); })) {}
  Thread(Thread&& other) noexcept : number_(std::exchange(other.number_, std::nullopt)) {}
  Thread& operator=(Thread&& other) noexcept {
    number_ = std::exchange(other.number_, std::nullopt);
    return *this;
  }
  ~Thread();

  [[nodiscard]] bool joinable() const { return number_.has_value(); }
  void join();
  void detach() { number_.reset(); }
  [[nodiscard]] id get_id() const { return number_ ? id(*number_) : id(); }

  /// Few, so that little interleaves.
  [[nodiscard]] static unsigned hardware_concurrency() { return 2; }

 private:
  std::optional<std::size_t> number_;
};

namespace this_thread {

/// The thread of a run that runs; outside of one that of no thread.
[[nodiscard]] inline Thread::id get_id() {
  return Run::current() ? Thread::id(Run::current()->self()) : Thread::id();
}

}  // namespace this_thread

}  // namespace vellora::tests::interleaving

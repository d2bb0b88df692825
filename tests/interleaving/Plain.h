#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <utility>

#include "tests/interleaving/Alive.h"
#include "tests/interleaving/Run.h"

namespace vellora::tests::interleaving {

/// A variable without synchronisation, for scenarios. That it is used by two threads, of which neither has
/// seen what the other did, is a data race and fails, also when the accesses are far from each other in time.
template <class T>
class Plain {
 public:
  Plain() = default;
  explicit Plain(T value) : value_(std::move(value)) {}
  Plain(const Plain&) = delete;
  Plain& operator=(const Plain&) = delete;

  [[nodiscard]] const T& get() const {
    Run& run = check();
    if (!run.hasSeen(writer_, written_)) run.fail("data race: a thread reads what another has just written");
    read_[run.self()] = run.progress(run.self());
    return value_;
  }

  /// To change the value.
  [[nodiscard]] T& changed() {
    Run& run = check();
    if (!run.hasSeen(writer_, written_)) run.fail("data race: two threads write the same");
    for (const auto& [reader, progress] : read_) {
      if (!run.hasSeen(reader, progress)) run.fail("data race: a thread writes what another has just read");
    }
    writer_ = run.self();
    written_ = run.progress(writer_);
    return value_;
  }

 private:
  Run& check() const {
    alive_.check(*Run::current());
    return *Run::current();
  }

  Alive alive_;
  T value_{};
  std::size_t writer_ = 0;
  std::uint32_t written_ = 0;
  mutable std::map<std::size_t, std::uint32_t> read_;  // by thread
};

}  // namespace vellora::tests::interleaving
